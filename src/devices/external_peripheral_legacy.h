// The base of the devices that sit on the wires of the board.
#pragma once

#include <string>

#include "config/json_place.h"
#include "devices/peripheral.h"
#include "wires/wire_manager.h"

namespace orvo {

class ExternalPeripheralLegacy : public Peripheral {
 public:
  ExternalPeripheralLegacy(Mcu* mcu, WireManager& wires) : Peripheral(mcu), wires_(&wires) {}
  // Takes the component's data generators, as Peripheral does.
  ExternalPeripheralLegacy(Mcu* mcu, WireManager& wires, const JsonPlace& component)
      : Peripheral(mcu, component.value()), wires_(&wires) {}

 protected:
  // The wire of one of the device's pins: a member of the component's "pins", which may also stand
  // in its "config". Throws as WireManager::GetPinWire().
  unsigned PinWire(const JsonPlace& component, const std::string& pin) {
    const bool in_config = !component.Has("pins") && component.Has("config");
    const unsigned wire = wires_->GetPinWireOf(in_config ? component["config"] : component, pin);
    if (component.Has("name")) wires_->AddDevicePin(component["name"].String(), pin, wire);
    return wire;
  }

  WireManager* wires_;
};

}  // namespace orvo
