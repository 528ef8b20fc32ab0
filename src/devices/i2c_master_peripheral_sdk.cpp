#include "devices/i2c_master_peripheral_sdk.h"

#include <nlohmann/json.hpp>
#include <vector>

#include "control/protocol.h"
#include "devices/i2c_sdk_message.h"
#include "runner/errors.h"

namespace orvo {

namespace {

std::vector<unsigned char> BytesOf(const JsonPlace& data) {
  std::vector<unsigned char> bytes;
  for (const JsonPlace& element : data.Elements()) bytes.push_back(ByteOf(element));
  return bytes;
}

}  // namespace

I2cMasterPeripheralSdk::I2cMasterPeripheralSdk(Mcu* mcu, WireManager& wires,
                                               const JsonPlace& component)
    : ExternalPeripheralLegacy(mcu, wires, component),
      master_(mcu, wires),
      sda_wire_(DeviceBusWire(wires, component, "sda")) {
  master_.WriteFinishedCallback([this] {
    AskSdk(mcu_, {{kI2CEventType, kI2CEventWriteFinished}});
  });
  master_.ReadFinishedCallback([this](const std::vector<unsigned char>& data) {
    AskSdk(mcu_, {{kI2CEventType, kI2CEventReadFinished}, {kI2CData, data}});
  });
}

void I2cMasterPeripheralSdk::DoCommand(const nlohmann::json& command) {
  const JsonPlace place(command, "command");
  const std::string& name = place[kCommand].String();
  const auto address = [&place] { return I2cAddressOf(place[kI2CAddress]); };
  const auto data = [&place] { return BytesOf(place[kI2CData]); };
  const auto count = [&place] { return place[kI2CNumBytesToRead].Unsigned32(); };
  if (name == kI2CMasterWrite) {
    master_.Write(address(), sda_wire_, data());
  } else if (name == kI2CMasterRead) {
    master_.Read(address(), sda_wire_, count());
  } else if (name == kI2CMasterWriteRead) {
    master_.WriteRead(address(), sda_wire_, data(), count());
  } else if (name == kI2CMasterSetFrequency) {
    master_.SetI2cFrequency(place[kI2CFrequency].Unsigned32());
  } else {
    throw OrvoError("Unknown command type: " + name + " in I2cMasterPeripheralSdk");
  }
  SendOkResponse();
}

}  // namespace orvo
