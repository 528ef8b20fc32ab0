#include "wires/device_pin.h"

namespace orvo {

namespace {

JsonPlace HolderOfPins(const JsonPlace& component) {
  const bool in_config = !component.Has("pins") && component.Has("config");
  return in_config ? component["config"] : component;
}

}  // namespace

bool IsPinInJson(const JsonPlace& component, const std::string& pin) {
  const JsonPlace holder = HolderOfPins(component);
  return holder.Has("pins") ? holder["pins"].Has(pin) : holder.Has(pin);
}

unsigned DevicePinWire(WireManager& wires, const JsonPlace& component, const std::string& pin) {
  const unsigned wire = wires.GetPinWireOf(HolderOfPins(component), pin);
  if (component.Has("name")) wires.AddDevicePin(component["name"].String(), pin, wire);
  return wire;
}

unsigned DeviceBusWire(WireManager& wires, const JsonPlace& component, const std::string& pin) {
  const unsigned wire = DevicePinWire(wires, component, pin);
  if (WireManager::IsSupply(wire)) {
    component.Warn("pin " + pin + " stands on vdd or gnd, where no bus reaches the device");
  }
  return wire;
}

void WarnOfOtherDevicePins(const WireManager& wires, const JsonPlace& component) {
  const JsonPlace holder = HolderOfPins(component);
  if (!holder.Has("pins")) return;
  std::vector<std::string_view> known;
  const auto device = wires.device_pins().find(component["name"].String());
  if (device != wires.device_pins().end()) {
    for (const auto& [pin, wire] : device->second) known.push_back(pin);
  }
  holder["pins"].WarnOfOtherKeys(known);
}

}  // namespace orvo
