// The traffic between the board's wires and those inside the chip.
#include "wires/gpio_base.h"

#include <string>
#include <utility>
#include <vector>

#include "wires/port_pins.h"

namespace orvo {

GPIOBase::InternalGPIO::InternalGPIO(GPIOBase& port) : port_(port) {
  ForEachWireOfPort([this](unsigned pin, const InternalWire& wire) {
    if (wire.carries_data) {
      port_.internal_wires_.ConnectToWireData(this, wire.wire_number, pin);
    } else {
      port_.internal_wires_.ConnectToWireLogicState(this, wire.wire_number, pin);
    }
  });
}

GPIOBase::InternalGPIO::~InternalGPIO() {
  ForEachWireOfPort([this](unsigned pin, const InternalWire& wire) {
    if (wire.carries_data) {
      port_.internal_wires_.DisconnectFromWireData(this, wire.wire_number, pin);
    } else {
      port_.internal_wires_.DisconnectFromWireLogicState(this, wire.wire_number, pin);
    }
  });
}

template <class Action>
void GPIOBase::InternalGPIO::ForEachWireOfPort(Action action) {
  for (const auto& [key, wire] : *port_.pin_mux_) {
    if (std::get<0>(key) == port_.port_name_) action(std::get<1>(key), wire);
  }
}

void GPIOBase::InternalGPIO::Update(std::vector<WireLogicLevelEvent>* events) {
  for (const WireLogicLevelEvent& event : *events) {
    if (GetInternalWireNumber(event.pin_number) != event.wire_number) continue;
    port_.pin_manager_->SetPinLevel(event.pin_number, event.level != 0, false, &port_);
  }
}

void GPIOBase::InternalGPIO::Update(std::vector<WireDataEvent>* events) {
  for (const WireDataEvent& event : *events) {
    if (GetInternalWireNumber(event.pin_number) != event.wire_number) continue;
    port_.pin_manager_->SendDataToPin(event.pin_number, event.data, event.size, &port_);
  }
}

void GPIOBase::InternalGPIO::SetInternalWireLevel(unsigned pin, bool level) {
  const unsigned wire = GetInternalWireNumber(pin);
  if (wire == kNoWire) return;
  port_.internal_wires_.SetWireLevel(wire, level, pin, false, this, false);
}

void GPIOBase::InternalGPIO::SetInternalWireData(unsigned pin, const unsigned char* data,
                                                 unsigned long size) {
  const unsigned wire = GetInternalWireNumber(pin);
  if (wire == kNoWire) return;
  port_.internal_wires_.SendDataOverWire(wire, pin, data, size, this);
}

bool GPIOBase::InternalGPIO::GetInternalWireLevel(unsigned pin) const {
  const unsigned wire = GetInternalWireNumber(pin);
  return wire == kNoWire ? port_.pin_manager_->GetPinLevel(pin)
                         : port_.internal_wires_.GetWireLevel(wire);
}

unsigned GPIOBase::InternalGPIO::GetInternalWireNumber(unsigned pin) const {
  if (port_.pin_manager_->GetPinDirection(pin) != kPinAlternateFunction) return kNoWire;
  const auto wire = port_.pin_mux_->find({port_.port_name_, pin, port_.GetAlternateFunction(pin)});
  return wire == port_.pin_mux_->end() ? kNoWire : wire->second.wire_number;
}

GPIOBase::GPIOBase(std::string port_name, WireManager& internal_wires, WireManager* board_wires,
                   ConnectionManager* connection, unsigned pin_count, pin_direction_t direction,
                   const PinMux* pin_mux)
    : port_name_(std::move(port_name)),
      internal_wires_(internal_wires),
      board_wires_(board_wires),
      pin_mux_(pin_mux),
      internal_gpio_(*this) {
  InitPinManager(connection, pin_count, direction);
}

GPIOBase::~GPIOBase() {
  for (unsigned pin = 0; pin < pin_manager_->PinCount(); ++pin) {
    const unsigned wire = pin_manager_->GetWire(pin);
    if (!WireManager::IsSupply(wire)) board_wires_->DisconnectFromWireData(this, wire, pin);
  }
}

void GPIOBase::InitPinManager(ConnectionManager* connection, unsigned pin_count,
                              pin_direction_t direction) {
  const char port_letter = port_name_.back();
  const auto wires = PortWires(*board_wires_, pin_count, [=](const std::string& key) -> size_t {
    return !key.empty() && key.front() == port_letter ? 1 : 0;
  });
  pin_manager_ = std::make_unique<PinManager>(wires, board_wires_, connection, direction);
  for (unsigned pin = 0; pin < pin_count; ++pin) pin_manager_->AttachToPinData(this, pin);
}

}  // namespace orvo
