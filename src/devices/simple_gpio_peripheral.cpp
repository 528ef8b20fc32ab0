#include "devices/simple_gpio_peripheral.h"

#include <nlohmann/json.hpp>

#include "control/protocol.h"

namespace orvo {

// Silent: that it rests high is no event, and a first command that says so is none either.
SimpleGpioPeripheral::SimpleGpioPeripheral(Mcu* mcu, WireManager& wires, const JsonPlace& component)
    : ExternalPeripheralLegacy(mcu, wires, component), wire_(PinWire(component, "in")) {
  wires.SetWireLevel(wire_, true, wire_, true, nullptr, false);
}

void SimpleGpioPeripheral::DoCommand(const nlohmann::json& command) {
  const bool level = JsonPlace(command, "command")[kPinLevel].Level();
  wires_->SetWireLevel(wire_, level, wire_, false, nullptr, false);
  SendOkResponse();
}

}  // namespace orvo
