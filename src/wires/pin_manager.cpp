// The translation of a port's pins to wires.
#include "wires/pin_manager.h"

namespace orvo {

PinManager::PinManager(const std::vector<unsigned>& wires, WireManager* wire_manager,
                       ConnectionManager*, pin_direction_t direction)
    : wire_manager_(wire_manager) {
  pins_.reserve(wires.size());
  for (const unsigned wire : wires) pins_.push_back({direction, wire, kNoPull});
}

void PinManager::SetPinLevel(unsigned pin, bool level, bool silent,
                             Observer<WireLogicLevelEvent>* source) {
  if (pins_[pin].direction == kPinInput) return;
  wire_manager_->SetWireLevel(pins_[pin].wire, level, pin, silent, source, false);
}

void PinManager::SetMultiplePinLevel(std::vector<WireChange>* changes, bool silent,
                                     Observer<WireLogicLevelEvent>* source) {
  std::erase_if(*changes, [this](const WireChange& change) {
    return pins_[change.pin_number].direction == kPinInput;
  });
  for (WireChange& change : *changes) change.wire_number = pins_[change.pin_number].wire;
  wire_manager_->SetMultipleWireLevel(changes, silent, source, false);
}

void PinManager::ForcePinLeveL(unsigned pin, bool level) {
  wire_manager_->SetWireLevel(pins_[pin].wire, level, pin, false, nullptr, false);
}

void PinManager::ConfigurePin(unsigned pin, pin_direction_t direction, pin_pullup_t pull,
                              Observer<WireLogicLevelEvent>* source) {
  pins_[pin].direction = direction;
  pins_[pin].pull = pull;
  wire_manager_->SetDirection(source, pins_[pin].wire, pin, direction, pull);
}

void PinManager::SendDataToPin(unsigned pin, const unsigned char* data, unsigned long size,
                               Observer<WireDataEvent>* source) {
  wire_manager_->SendDataOverWire(pins_[pin].wire, pin, data, size, source);
}

void PinManager::AttachToPinData(Observer<WireDataEvent>* observer, unsigned pin) {
  wire_manager_->ConnectToWireData(observer, pins_[pin].wire, pin);
}

void PinManager::AttachToPinLogicState(Observer<WireLogicLevelEvent>* observer, unsigned pin) {
  wire_manager_->ConnectToWireLogicState(observer, pins_[pin].wire, pin);
}

void PinManager::AttachToPinVoltage(Observer<WireLogicLevelEvent>* observer, unsigned pin) {
  wire_manager_->ConnectToWireVoltage(observer, pins_[pin].wire, pin);
}

void PinManager::DetachFromPinLogicState(Observer<WireLogicLevelEvent>* observer, unsigned pin) {
  wire_manager_->DisconnectFromWireLogicState(observer, pins_[pin].wire, pin);
}

}  // namespace orvo
