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

}  // namespace orvo
