#include "devices/memory_peripheral.h"

#include <nlohmann/json.hpp>

#include "control/connection_manager.h"
#include "control/protocol.h"
#include "mcu/mcu.h"

namespace orvo {

void MemoryPeripheral::DoCommand(const nlohmann::json& command) {
  const JsonPlace place(command, "command");
  const std::string& name = place[kCommand].String();
  nlohmann::json reply{{kType, kResponse}};
  if (name == kSetRegisterValue) {
    SetRegister(place[kI2CAddress].Unsigned32(), place[kValue].Unsigned32());
    reply[kResponse] = kOk;
  } else if (name == kGetRegisterValue) {
    reply[kDescription] = kValueResponse;
    reply[kValue] = GetRegister(place[kI2CAddress].Unsigned32());
  } else {
    return ExternalPeripheralLegacy::DoCommand(command);
  }
  if (ConnectionManager* connection = mcu_->GetConnectionManager()) {
    connection->SendJsonMessage(reply);
  }
}

}  // namespace orvo
