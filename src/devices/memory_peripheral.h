// A device whose registers the control connection reads and writes: "get_reg_value" and
// "set_reg_value".
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "devices/external_peripheral_legacy.h"

namespace orvo {

class MemoryPeripheral : public ExternalPeripheralLegacy {
 public:
  using ExternalPeripheralLegacy::ExternalPeripheralLegacy;

  // Commands other than the two are those of Peripheral.
  void DoCommand(const nlohmann::json& command) override;
  // Throw OrvoError for an address that the device doesn't have.
  virtual void SetRegister(unsigned address, unsigned value) = 0;
  virtual unsigned GetRegister(unsigned address) = 0;
};

}  // namespace orvo
