#include "devices/short.h"

namespace orvo {

Short::Short(Mcu* mcu, WireManager& wires) : ExternalPeripheralLegacy(mcu, wires) {}

Short::Short(Mcu* mcu, WireManager& wires, unsigned wire0, unsigned wire1) : Short(mcu, wires) {
  ShortInit(wires, wire0, wire1);
}

Short::Short(Mcu* mcu, WireManager& wires, const JsonPlace& component)
    : ExternalPeripheralLegacy(mcu, wires, component) {
  const unsigned wire0 = PinWire(component, "pin0");
  ShortInit(wires, wire0, PinWire(component, "pin1"));
}

void Short::ShortInit(WireManager& wires, unsigned wire0, unsigned wire1) {
  wires_ = &wires;
  Connect(0, wire0);
  Connect(1, wire1);
  HandleFirstConnection();
}

void Short::Connect(unsigned side, unsigned wire) {
  wire_[side] = wire;
  connected_[side] = true;
  wires_->ConnectToWireLogicState(this, wire, wire);
}

void Short::Leave(unsigned side) {
  if (connected_[side]) wires_->DisconnectFromWireLogicState(this, wire_[side], wire_[side]);
  connected_[side] = false;
}

// Side 1 gives its level if somebody else may have driven it and nobody else drives side 0.
void Short::HandleFirstConnection() {
  if (!IsConnected()) return;
  const pin_direction_t d0 = wires_->GetPinDirectionOnWire(this, wire_[0], wire_[0]);
  const pin_direction_t d1 = wires_->GetPinDirectionOnWire(this, wire_[1], wire_[1]);
  const bool both_idle = d0 == kPinAnalog && d1 == kPinAnalog;
  if (d0 != kPinInput && d1 != kPinOutput && !both_idle) {
    SetLevel(wire_[0], wires_->GetWireLevel(wire_[1]));
  } else {
    SetLevel(wire_[1], wires_->GetWireLevel(wire_[0]));
  }
}

// Deliberate: of changes of both wires in one batch the first counts. A change of a wire that a
// side has left in the course of the same batch goes nowhere.
void Short::Update(std::vector<WireLogicLevelEvent>* events) {
  if (!IsConnected()) return;
  const WireLogicLevelEvent& event = events->front();
  if (event.pin_number == wire_[0]) {
    SetLevel(wire_[1], event.level != 0);
  } else if (event.pin_number == wire_[1]) {
    SetLevel(wire_[0], event.level != 0);
  }
}

void Short::SetPin(ShortPinNumber side, unsigned wire) {
  if (connected_[side] && wire_[side] == wire) return;
  Leave(side);
  Connect(side, wire);
  HandleFirstConnection();
}

void Short::DisableShort() {
  Leave(0);
  Leave(1);
}

}  // namespace orvo
