#include "devices/adg1404.h"

namespace orvo {

ADG1404_internal::ADG1404_internal(Mcu* mcu, WireManager& wires, const JsonPlace& component)
    : ExternalPeripheralLegacy(mcu, wires, component),
      sources_{PinWire(component, "pinS1"), PinWire(component, "pinS2"),
               PinWire(component, "pinS3"), PinWire(component, "pinS4")},
      a0_(PinWire(component, "pinA0")),
      a1_(PinWire(component, "pinA1")),
      enable_(PinWire(component, "pinEn")),
      output_(PinWire(component, "pinOutput")),
      short_(mcu, wires) {
  for (const unsigned wire : {a0_, a1_, enable_}) wires.ConnectToWireLogicState(this, wire, wire);
  SetAdg1404Short();
}

void ADG1404_internal::Update(std::vector<WireLogicLevelEvent>*) { SetAdg1404Short(); }

void ADG1404_internal::SetAdg1404Short() {
  if (!wires_->GetWireLevel(enable_)) {
    short_.DisableShort();
    return;
  }
  const unsigned index = wires_->GetWireLevel(a1_) * 2u + wires_->GetWireLevel(a0_);
  short_.SetPin(kShortPin1, sources_[index]);
  short_.SetPin(kShortPin0, output_);
}

}  // namespace orvo
