// Devices of one pin, "in", whose level the control connection sets. The wire rests high: firmware
// reads a button as low while it is pressed.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "devices/external_peripheral_legacy.h"

namespace orvo {

class SimpleGpioPeripheral : public ExternalPeripheralLegacy {
 public:
  SimpleGpioPeripheral(Mcu* mcu, WireManager& wires, const JsonPlace& component);

  // Takes any command with a "pin_level", whatever its name.
  void DoCommand(const nlohmann::json& command) override;

 private:
  unsigned wire_;
};

class Button : public SimpleGpioPeripheral {
 public:
  using SimpleGpioPeripheral::SimpleGpioPeripheral;
};

// A sensor of whose output only the logic level is modelled.
class AnalogSensor : public SimpleGpioPeripheral {
 public:
  using SimpleGpioPeripheral::SimpleGpioPeripheral;
};

}  // namespace orvo
