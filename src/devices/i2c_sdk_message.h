// What the two ends of an I2C bus that a client of the control connection plays have in common.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "config/json_place.h"

namespace orvo {

class Mcu;

// Throw UserError for a number out of range. An address, or a mask for it, has 7 bits.
unsigned char ByteOf(const JsonPlace& place);
unsigned char I2cAddressOf(const JsonPlace& place);

// Sends the keys as a command to the client, and returns its reply. The simulation stands until it
// comes. Throws as ConnectionManager::SendJsonCommand().
nlohmann::json AskSdk(Mcu* mcu, nlohmann::json keys);

}  // namespace orvo
