// ADG1404 analog switch, 4 to 1. Source: Analog Devices data sheet, "Truth Table". What it joins
// has no resistance, and switching takes no time. Levels pass; a voltage between them doesn't.
#pragma once

#include <array>
#include <vector>

#include "devices/short.h"

namespace orvo {

class ADG1404_internal : public ExternalPeripheralLegacy, public Observer<WireLogicLevelEvent> {
 public:
  // The pins are "pinS1" to "pinS4", "pinA0", "pinA1", "pinEn" and "pinOutput".
  ADG1404_internal(Mcu* mcu, WireManager& wires, const JsonPlace& component);
  ~ADG1404_internal() override { wires_->Forget(this); }

  void Update(std::vector<WireLogicLevelEvent>* events) override;

 private:
  void SetAdg1404Short();

  std::array<unsigned, 4> sources_;
  unsigned a0_;
  unsigned a1_;
  unsigned enable_;
  unsigned output_;
  Short short_;
};

}  // namespace orvo
