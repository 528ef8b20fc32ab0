#include "devices/mock_i2c_device.h"

namespace orvo {

MockI2CDevice::MockI2CDevice(Mcu* mcu, WireManager& wires, const JsonPlace& component)
    : ExternalPeripheralLegacy(mcu, wires, component), slave_(mcu, wires, component) {
  slave_.AddAddress(address_);
  slave_.ReadCallback(
      [this](unsigned char, int, unsigned char* byte) { return OnMasterRead(byte); });
  slave_.WriteCallback([this](unsigned char, unsigned char, int) { return OnMasterWrite(); });
}

bool MockI2CDevice::OnMasterRead(unsigned char* byte) const {
  *byte = read_byte_;
  return true;
}

}  // namespace orvo
