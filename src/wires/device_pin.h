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
// The same for the wire of a bus; a check of the board warns of one on vdd or gnd.
unsigned DeviceBusWire(WireManager& wires, const JsonPlace& component, const std::string& pin);
// In a check of the board warns of the pins that the device of this component hasn't asked for.
void WarnOfOtherDevicePins(const WireManager& wires, const JsonPlace& component);

}  // namespace orvo
