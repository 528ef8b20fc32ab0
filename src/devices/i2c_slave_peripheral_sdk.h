// A slave on an I2C bus whose answers come from a client of the control connection: a test plays a
// device that has no model. The chip waits for each answer.
#pragma once

#include "devices/external_peripheral_legacy.h"
#include "wires/i2c_slave_base.h"

namespace orvo {

class I2cSlavePeripheralSdk : public ExternalPeripheralLegacy {
 public:
  // The pin is "sda". No address is answered at first.
  I2cSlavePeripheralSdk(Mcu* mcu, WireManager& wires, const JsonPlace& component);

  // "set_device_address": one address more, and the bits of it that count. Throws OrvoError for any
  // other command, UserError for a malformed one.
  void DoCommand(const nlohmann::json& command) override;

 private:
  // What happened on the bus, for the client. Returns its reply.
  nlohmann::json Tell(const char* event_type, nlohmann::json keys = {});
  bool OnRead(unsigned char address, int index, unsigned char* byte);
  bool OnWrite(unsigned char address, unsigned char byte, int index);

  I2cSlaveBase slave_;
  unsigned char device_address_ = 0;  // the last that was set
};

}  // namespace orvo
