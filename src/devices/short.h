// Two wires joined by a resistance of zero: what drives one drives the other. A short to vdd or gnd
// holds an idle wire; the run ends when another drives that wire against the supply.
#pragma once

#include <array>
#include <vector>

#include "devices/external_peripheral_legacy.h"
#include "devices/i_short.h"
#include "memory/observer.h"

namespace orvo {

class Short : public ExternalPeripheralLegacy, public Observer<WireLogicLevelEvent>, public iShort {
 public:
  // Joins nothing yet.
  Short(Mcu* mcu, WireManager& wires);
  Short(Mcu* mcu, WireManager& wires, unsigned wire0, unsigned wire1);
  // The pins are "pin0" and "pin1".
  Short(Mcu* mcu, WireManager& wires, const JsonPlace& component);
  ~Short() override { wires_->Forget(this); }

  void Update(std::vector<WireLogicLevelEvent>* events) override;
  // Joins the wires as soon as both sides have one. Nothing happens if the side stands on it.
  void SetPin(ShortPinNumber side, unsigned wire) override;
  void DisableShort() override;

 private:
  void ShortInit(WireManager& wires, unsigned wire0, unsigned wire1);
  void Connect(unsigned side, unsigned wire);
  void Leave(unsigned side);
  bool IsConnected() const { return connected_[0] && connected_[1]; }
  // Gives both wires one level.
  void HandleFirstConnection();
  void SetLevel(unsigned wire, bool level) {
    wires_->SetWireLevel(wire, level, wire, false, this, false);
  }

  // By side.
  std::array<bool, 2> connected_{};
  std::array<unsigned, 2> wire_{};
};

}  // namespace orvo
