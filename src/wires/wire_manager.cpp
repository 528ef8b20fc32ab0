// The levels, the ownership and the mailboxes of the wires, and the look-up of a board's pin names.
#include "wires/wire_manager.h"

#include <algorithm>
#include <cctype>
#include <iostream>
#include <nlohmann/json.hpp>

#include "config/json_place.h"
#include "control/connection_manager.h"
#include "runner/errors.h"
#include "runner/logger.h"

namespace orvo {

WireManager::WireManager(ConnectionManager* connection, unsigned wires, bool print, bool quiet)
    : print_(print),
      quiet_(quiet),
      wires_(wires),
      data_observers_(wires),
      level_observers_(wires),
      connection_(connection) {}

bool WireManager::Apply(const WireChange& change, Observer<WireLogicLevelEvent>* source,
                        bool keep_driver) {
  WireState& wire = wires_[change.wire_number];
  const bool owns =
      wire.has_driver && wire.driver == source && wire.driver_pin == change.pin_number;
  if (!owns) {
    if (wire.has_driver && keep_driver) return false;
    wire.has_driver = true;
    wire.driver_pin = change.pin_number;
    wire.driver = source;
  }
  if (change.level == wire.level && !wire.floating) return false;
  wire.floating = false;
  wire.level = change.level;
  wire.voltage = change.level * kSupplyVoltage;
  return true;
}

void WireManager::SetLevels(std::span<const WireChange> changes, bool silent,
                            Observer<WireLogicLevelEvent>* source, bool keep_driver) {
  std::vector<WireLogicLevelEvent> batch;
  for (const WireChange& change : changes) {
    CheckWireNumberValidation(change.wire_number);
    if (Apply(change, source, keep_driver)) {
      batch.push_back({change.level, change.wire_number, change.pin_number,
                       wires_[change.wire_number].voltage});
    }
  }
  if (silent || batch.empty()) return;
  SendPinsStatesToNetwork(&batch);
  level_observers_.Deliver(batch, source);
}

void WireManager::SetMultipleWireLevel(std::vector<WireChange>* changes, bool silent,
                                       Observer<WireLogicLevelEvent>* source, bool keep_driver) {
  SetLevels(*changes, silent, source, keep_driver);
}

void WireManager::SetWireLevel(unsigned wire, bool level, unsigned pin, bool silent,
                               Observer<WireLogicLevelEvent>* source, bool keep_driver) {
  const WireChange change{wire, level, pin};
  SetLevels({&change, 1}, silent, source, keep_driver);
}

void WireManager::SetDirection(Observer<WireLogicLevelEvent>* source, unsigned wire, unsigned pin,
                               pin_direction_t direction, pin_pullup_t pull) {
  if (IsSupply(wire)) return;
  if (direction == kPinOutput) {
    SetWireLevel(wire, pull == kPullHigh, pin, false, source, false);
    return;
  }
  WireState& state = wires_[wire];
  if (state.has_driver && state.driver == source && state.driver_pin == pin) {
    // Deliberate: a released wire keeps its last level and doesn't float again.
    state.driver = nullptr;
    state.has_driver = false;
  }
}

pin_direction_t WireManager::GetPinDirectionOnWire(const Observer<WireLogicLevelEvent>* source,
                                                   unsigned wire, unsigned pin) const {
  if (IsSupply(wire)) return kPinInput;
  const WireState& state = wires_[wire];
  if (!state.has_driver) return kPinAnalog;
  return state.driver == source && state.driver_pin == pin ? kPinOutput : kPinInput;
}

bool WireManager::GetWireLevel(unsigned wire) const {
  return IsSupply(wire) ? wire == kVdd : wires_[wire].level;
}

double WireManager::GetWireVoltage(unsigned wire) const {
  if (IsSupply(wire)) return wire == kVdd ? kSupplyVoltage : 0.0;
  return wires_[wire].voltage;
}

const std::vector<unsigned char>& WireManager::GetWireData(unsigned wire) const {
  CheckWireNumberValidation(wire);
  return wires_[wire].data;
}

void WireManager::SendDataOverWire(unsigned wire, unsigned pin, const unsigned char* data,
                                   unsigned long size, Observer<WireDataEvent>* source) {
  CheckWireNumberValidation(wire);
  std::vector<unsigned char>& mailbox = wires_[wire].data;
  std::vector<unsigned char> copy;
  if (!mailbox.empty() && data >= mailbox.data() && data < mailbox.data() + mailbox.size()) {
    // Sent on from the mailbox itself, which an answer overwrites during the delivery.
    copy.assign(data, data + size);
    data = copy.data();
  }
  mailbox.assign(data, data + size);
  const WireDataEvent event{static_cast<unsigned>(size), data, wire, pin};
  data_observers_.Deliver({&event, 1}, source);
}

void WireManager::SendDataOverWire(unsigned wire, unsigned pin,
                                   const std::vector<unsigned char>& data,
                                   Observer<WireDataEvent>* source) {
  SendDataOverWire(wire, pin, data.data(), data.size(), source);
}

void WireManager::ConnectToWireLogicState(Observer<WireLogicLevelEvent>* observer, unsigned wire,
                                          unsigned pin) {
  if (!IsSupply(wire)) level_observers_.Connect(observer, wire, pin);
}

void WireManager::ConnectToWireVoltage(Observer<WireLogicLevelEvent>* observer, unsigned wire,
                                       unsigned pin) {
  ConnectToWireLogicState(observer, wire, pin);
}

void WireManager::DisconnectFromWireLogicState(Observer<WireLogicLevelEvent>* observer,
                                               unsigned wire, unsigned pin) {
  if (!IsSupply(wire)) level_observers_.Disconnect(observer, wire, pin);
}

void WireManager::ConnectToWireData(Observer<WireDataEvent>* observer, unsigned wire,
                                    unsigned pin) {
  try {
    CheckWireNumberValidation(wire);
  } catch (const OrvoError&) {
    logger::debug("WireManager") << "Trying to connect to wire data but wire is VCC/GND";
    return;
  }
  data_observers_.Connect(observer, wire, pin);
}

void WireManager::DisconnectFromWireData(Observer<WireDataEvent>* observer, unsigned wire,
                                         unsigned pin) {
  CheckWireNumberValidation(wire);
  data_observers_.Disconnect(observer, wire, pin);
}

void WireManager::Forget(const Observer<WireLogicLevelEvent>* observer) {
  level_observers_.Forget(observer);
}

unsigned WireManager::GetPinWire(const std::string& name, const nlohmann::json& config) const {
  return GetPinWireOf(JsonPlace(config, "board.json"), name);
}

unsigned WireManager::GetPinWireOf(const JsonPlace& config, const std::string& name) const {
  const JsonPlace pins = config.Has("pins") ? config["pins"] : config;
  pins.Object();
  if (!pins.value().is_object()) return 0;
  if (!pins.value().contains(name)) {
    pins.Missing(name, "board.json: Missing pin " + name);
    return 0;
  }
  const JsonPlace pin = pins[name];
  const nlohmann::json& value = pin.value();
  if (value.is_string()) {
    const std::string& text = pin.String();
    std::string lower = text;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    if (lower == "vdd") return kVdd;
    if (lower == "gnd") return kGnd;
    const auto named = wire_of_pin_.find(text);
    if (named != wire_of_pin_.end()) return named->second;
    pin.Report("Pin_name: " + text + " is invalid pin number");
    return 0;
  }
  if (!value.is_number_integer()) {
    pin.ReportExpected("a wire number or the name of a pin");
    return 0;
  }
  // Deliberate: the last two wires of the table are out of a board's reach.
  const unsigned long limit = wires_.size() - 2;
  if (!value.is_number_unsigned() || value.get<unsigned long>() >= limit) {
    pin.Report("wire number " + value.dump() + " is invalid, wire number should be lesser than " +
               std::to_string(limit) + ". Please check your bsp.json file");
    return 0;
  }
  return value.get<unsigned>();
}

unsigned WireManager::Pin2Wire(const std::string& name) const {
  const auto pin = wire_of_pin_.find(name);
  if (pin == wire_of_pin_.end()) throw UserError("Pin_name: " + name + " is invalid pin number");
  return pin->second;
}

void WireManager::AddPinName(const std::string& name, unsigned wire) { wire_of_pin_[name] = wire; }

void WireManager::CheckWireNumberValidation(unsigned wire) {
  if (IsSupply(wire)) {
    throw OrvoError("Only wire level and wire voltage can be read from vdd/gnd wires");
  }
}

void WireManager::SendPinStateToNetwork(WireLogicLevelEvent* event) {
  if (connection_ != nullptr) connection_->SendPinLogicLevelEvent(event);
  if (print_) {
    std::cout << "pin_number: " << event->wire_number << "   pin_level: " << event->level
              << std::endl;
  }
}

void WireManager::SendPinsStatesToNetwork(std::vector<WireLogicLevelEvent>* events) {
  if (quiet_) return;
  for (WireLogicLevelEvent& event : *events) SendPinStateToNetwork(&event);
}

}  // namespace orvo
