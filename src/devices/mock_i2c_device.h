// The simplest slave on an I2C bus, to try a master with: address 1, every byte read is 'A', every
// byte written is refused.
#pragma once

#include "devices/external_peripheral_legacy.h"
#include "wires/i2c_slave_base.h"

namespace orvo {

class MockI2CDevice : public ExternalPeripheralLegacy {
 public:
  // The pin is "sda".
  MockI2CDevice(Mcu* mcu, WireManager& wires, const JsonPlace& component);

 private:
  bool OnMasterRead(unsigned char* byte) const;
  bool OnMasterWrite() const { return false; }

  unsigned char address_ = 1;
  unsigned char read_byte_ = 'A';
  I2cSlaveBase slave_;
};

}  // namespace orvo
