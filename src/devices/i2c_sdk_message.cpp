#include "devices/i2c_sdk_message.h"

#include <nlohmann/json.hpp>

#include "control/connection_manager.h"
#include "control/protocol.h"
#include "mcu/mcu.h"
#include "runner/errors.h"

namespace orvo {

namespace {

unsigned char Below(const JsonPlace& place, unsigned limit, const char* expected) {
  const unsigned number = place.Unsigned32();
  if (number >= limit) place.Fail(expected);
  return static_cast<unsigned char>(number);
}

}  // namespace

unsigned char ByteOf(const JsonPlace& place) { return Below(place, 256, "a byte"); }

unsigned char I2cAddressOf(const JsonPlace& place) {
  return Below(place, 128, "an I2C address of 7 bits");
}

nlohmann::json AskSdk(Mcu* mcu, nlohmann::json keys) {
  ConnectionManager* connection = mcu->GetConnectionManager();
  if (connection == nullptr) throw UserError("There is no SDK to ask: " + keys.dump());
  keys[kDescription] = kI2CEvent;
  return connection->SendJsonCommand(keys);
}

}  // namespace orvo
