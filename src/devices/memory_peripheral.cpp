#include "devices/memory_peripheral.h"

#include <nlohmann/json.hpp>

#include "control/connection_manager.h"
#include "control/protocol.h"
#include "mcu/mcu.h"

namespace orvo {

void MemoryPeripheral::DoCommand(const nlohmann::json& command) {
  const JsonPlace place(command, "command");
  const std::string& name = place[kCommand].String();
  if (name == kSetRegisterValue) {
    SetRegister(place[kI2CAddress].Unsigned32(), place[kValue].Unsigned32());
    SendOkResponse();
  } else if (name == kGetRegisterValue) {
    const nlohmann::json reply{{kType, kResponse},
                               {kDescription, kValueResponse},
                               {kValue, GetRegister(place[kI2CAddress].Unsigned32())}};
    if (ConnectionManager* connection = mcu_->GetConnectionManager()) {
      connection->SendJsonMessage(reply);
    }
  } else {
    ExternalPeripheralLegacy::DoCommand(command);
  }
}

}  // namespace orvo
