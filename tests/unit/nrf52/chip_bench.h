// A whole nRF52 as firmware would address it, without a program.
#pragma once

#include <string>

#include "config/scenario_file_handler.h"
#include "mcu/nrf52.h"
#include "support/board_pins.h"
#include "wires/wire_manager.h"

namespace orvo {

template <class Chip>
struct ChipBench {
  explicit ChipBench(const nlohmann::json& pins = nullptr) : board(pins) {
    mcu.CreateMemorySections();
    mcu.SetFrequency();
    mcu.interrupts().LoadInterrupts(0);
  }
  unsigned Get(unsigned address) { return mcu.memory().template get<true>(address); }
  void Set(unsigned address, unsigned value) { mcu.memory().template set<true>(address, value); }
  void Advance(int ticks) { mcu.clock().Tickrement(ticks); }
  std::string SectionAt(unsigned address) {
    const MemorySection* section = mcu.memory().LookUpSection(address);
    return section == nullptr ? "none" : section->name();
  }

  BoardPins board;
  ScenarioFileHandler scenario;
  WireManager wires{nullptr, 200, false, true};
  Chip mcu{scenario, &wires, nullptr};
};
using Bench832 = ChipBench<Nrf52832>;
using Bench840 = ChipBench<Nrf52840>;

}  // namespace orvo
