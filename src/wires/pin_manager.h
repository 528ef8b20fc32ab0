// One port of the chip on the wires: which wire each pin is soldered to, with the pin's direction
// and pull. Pin numbers are those of the port and are not checked.
#pragma once

#include <vector>

#include "wires/wire_manager.h"

namespace orvo {

class PinManager {
 public:
  // One wire number per pin. Every pin starts with the direction given and no pull.
  PinManager(const std::vector<unsigned>& wires, WireManager* wire_manager,
             ConnectionManager* connection, pin_direction_t direction);

  // Does nothing while the pin is an input.
  void SetPinLevel(unsigned pin, bool level, bool silent, Observer<WireLogicLevelEvent>* source);
  // The changes carry no wire numbers yet: they get them here. Those of input pins are taken out,
  // the rest is one batch.
  void SetMultiplePinLevel(std::vector<WireChange>* changes, bool silent,
                           Observer<WireLogicLevelEvent>* source);
  // Drives the wire whatever the direction: how the control connection and a scenario act on a pin.
  void ForcePinLeveL(unsigned pin, bool level);
  void ConfigurePin(unsigned pin, pin_direction_t direction, pin_pullup_t pull,
                    Observer<WireLogicLevelEvent>* source);

  pin_direction_t GetPinDirection(unsigned pin) const { return pins_[pin].direction; }
  unsigned GetWire(unsigned pin) const { return pins_[pin].wire; }
  unsigned PinCount() const { return static_cast<unsigned>(pins_.size()); }
  bool GetPinLevel(unsigned pin) const { return wire_manager_->GetWireLevel(GetWire(pin)); }
  double GetPinVoltage(unsigned pin) const { return wire_manager_->GetWireVoltage(GetWire(pin)); }
  const std::vector<unsigned char>& GetPinData(unsigned pin) const {
    return wire_manager_->GetWireData(GetWire(pin));
  }

  // Whatever the direction.
  void SendDataToPin(unsigned pin, const unsigned char* data, unsigned long size,
                     Observer<WireDataEvent>* source);

  void AttachToPinData(Observer<WireDataEvent>* observer, unsigned pin);
  void AttachToPinLogicState(Observer<WireLogicLevelEvent>* observer, unsigned pin);
  void AttachToPinVoltage(Observer<WireLogicLevelEvent>* observer, unsigned pin);
  void DetachFromPinLogicState(Observer<WireLogicLevelEvent>* observer, unsigned pin);

  WireManager* wire_manager() const { return wire_manager_; }

 private:
  struct Pin {
    pin_direction_t direction;
    unsigned wire;
    pin_pullup_t pull;
  };

  WireManager* wire_manager_;
  std::vector<Pin> pins_;
};

}  // namespace orvo
