// The wires of a board component's pins: members of its "pins", which may also stand in its
// "config".
#pragma once

#include <string>

#include "config/json_place.h"
#include "wires/wire_manager.h"

namespace orvo {

bool IsPinInJson(const JsonPlace& component, const std::string& pin);
// Remembers the pin under the component's name, if it has one. Throws as WireManager::GetPinWire().
unsigned DevicePinWire(WireManager& wires, const JsonPlace& component, const std::string& pin);

}  // namespace orvo
