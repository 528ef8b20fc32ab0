#include "wires/port_pins.h"

#include <charconv>
#include <map>
#include <utility>

#include "config/configuration_file_handler.h"
#include "wires/wire_manager.h"

namespace orvo {

std::vector<unsigned> PortWires(WireManager& wires, unsigned pin_count, const PortPrefix& prefix) {
  const ConfigurationFileHandler& board = ConfigurationFileHandler::Get();
  const nlohmann::json& table = board.GetConfigPins();
  const JsonPlace pins = board.McuConfigPlace()["pins"];
  std::vector<unsigned> wire_of_pin(pin_count, 0);
  std::map<std::string, std::string> keys;  // by prefix and number
  for (const auto& [key, value] : table.items()) {
    const size_t prefix_length = prefix(key);
    if (prefix_length == 0) continue;
    const JsonPlace place = pins[key];
    const unsigned wire = wires.GetPinWireOf(pins, key);
    wires.AddPinName(key, wire);
    unsigned pin = 0;
    const char* const end = key.data() + key.size();
    const auto [rest, error] = std::from_chars(key.data() + prefix_length, end, pin);
    if (error != std::errc() || rest != end || pin >= pin_count) {
      place.Report(place.Place() + ": expected a pin number below " + std::to_string(pin_count) +
                   " behind " + key.substr(0, prefix_length));
      continue;
    }
    const std::string same = key.substr(0, prefix_length) + std::to_string(pin);
    if (const auto [earlier, is_new] = keys.emplace(same, key); !is_new) {
      place.Report(place.Place() + ": names the same pin as " + earlier->second);
    }
    wire_of_pin[pin] = wire;
  }
  return wire_of_pin;
}

}  // namespace orvo
