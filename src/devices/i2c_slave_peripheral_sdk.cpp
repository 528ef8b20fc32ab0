#include "devices/i2c_slave_peripheral_sdk.h"

#include <nlohmann/json.hpp>

#include "control/protocol.h"
#include "devices/i2c_sdk_message.h"
#include "runner/errors.h"

namespace orvo {

I2cSlavePeripheralSdk::I2cSlavePeripheralSdk(Mcu* mcu, WireManager& wires,
                                             const JsonPlace& component)
    : ExternalPeripheralLegacy(mcu, wires, component), slave_(mcu, wires, component) {
  slave_.ReadCallback([this](unsigned char address, int index, unsigned char* byte) {
    return OnRead(address, index, byte);
  });
  slave_.WriteCallback([this](unsigned char address, unsigned char byte, int index) {
    return OnWrite(address, byte, index);
  });
  slave_.StopReadCallback([this] { Tell(kI2CSlaveEventStopRead); });
  slave_.StopWriteCallback([this] { Tell(kI2CSlaveEventStopWrite); });
}

void I2cSlavePeripheralSdk::DoCommand(const nlohmann::json& command) {
  const JsonPlace place(command, "command");
  const std::string& name = place[kCommand].String();
  if (name != kI2CSetDeviceAddress) {
    throw OrvoError("Unknown command type: " + name + " in I2cSlavePeripheralSdk");
  }
  device_address_ = I2cAddressOf(place[kI2CDeviceAddress]);
  if (place.Has(kI2CDeviceAddressMask)) {
    slave_.AddAddress(device_address_, I2cAddressOf(place[kI2CDeviceAddressMask]));
  } else {
    slave_.AddAddress(device_address_);
  }
  SendOkResponse();
}

nlohmann::json I2cSlavePeripheralSdk::Tell(const char* event_type, nlohmann::json keys) {
  keys[kI2CEventType] = event_type;
  keys[kI2CDeviceAddress] = device_address_;
  return AskSdk(mcu_, std::move(keys));
}

bool I2cSlavePeripheralSdk::OnRead(unsigned char address, int index, unsigned char* byte) {
  const nlohmann::json reply =
      Tell(kI2CSlaveEventRead, {{kI2CAddress, address}, {kI2CReadIndex, index}});
  const JsonPlace place(reply, "reply to on_read");
  if (!place[kI2CAck].Bool()) return false;
  *byte = ByteOf(place[kResponse]);
  return true;
}

bool I2cSlavePeripheralSdk::OnWrite(unsigned char address, unsigned char byte, int index) {
  const nlohmann::json reply = Tell(
      kI2CSlaveEventWrite, {{kI2CAddress, address}, {kI2CWriteIndex, index}, {kI2CData, byte}});
  return JsonPlace(reply, "reply to on_write")[kI2CAck].Bool();
}

}  // namespace orvo
