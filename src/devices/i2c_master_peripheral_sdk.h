// A master on an I2C bus that a client of the control connection drives: a test plays the host of a
// chip that listens as a slave.
#pragma once

#include "devices/external_peripheral_legacy.h"
#include "wires/i2c_master_high_level.h"

namespace orvo {

class I2cMasterPeripheralSdk : public ExternalPeripheralLegacy {
 public:
  // The pin is "sda".
  I2cMasterPeripheralSdk(Mcu* mcu, WireManager& wires, const JsonPlace& component);

  // "master_set_frequency", and the transfers "master_write", "master_read" and
  // "master_write_read". The end of a transfer is told by a command to the client, on whose reply
  // the chip waits. Throws OrvoError for any other command, UserError for a malformed one and while
  // a transfer is under way.
  void DoCommand(const nlohmann::json& command) override;

 private:
  I2cMasterHighLevel master_;
  unsigned sda_wire_;
};

}  // namespace orvo
