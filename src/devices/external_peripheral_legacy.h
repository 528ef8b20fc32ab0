// The base of the devices that sit on the wires of the board.
#pragma once

#include <string>

#include "config/json_place.h"
#include "devices/peripheral.h"
#include "wires/device_pin.h"
#include "wires/wire_manager.h"

namespace orvo {

class ExternalPeripheralLegacy : public Peripheral {
 public:
  ExternalPeripheralLegacy(Mcu* mcu, WireManager& wires) : Peripheral(mcu), wires_(&wires) {}
  // Takes the component's data generators, as Peripheral does.
  ExternalPeripheralLegacy(Mcu* mcu, WireManager& wires, const JsonPlace& component)
      : Peripheral(mcu, component), wires_(&wires) {}

 protected:
  // The wire of one of the device's pins. Throws as WireManager::GetPinWire().
  unsigned PinWire(const JsonPlace& component, const std::string& pin) {
    return DevicePinWire(*wires_, component, pin);
  }

  WireManager* wires_;
};

}  // namespace orvo
