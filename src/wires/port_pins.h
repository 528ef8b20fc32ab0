// Which wires the pins of a chip's port are soldered to: the port's part of the board's pin table.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orvo {

class WireManager;

// How many of the first characters of a key say that it names a pin of the port; 0 if it doesn't.
using PortPrefix = std::function<size_t(const std::string& key)>;

// The wire of each pin of the port. A pin that the board doesn't name is on wire 0. The names enter
// the look-up of the wires. Throws UserError with file and key for a pin without a number, beyond
// the port, or named twice with one prefix; otherwise as WireManager::GetPinWire().
std::vector<unsigned> PortWires(WireManager& wires, unsigned pin_count, const PortPrefix& prefix);

}  // namespace orvo
