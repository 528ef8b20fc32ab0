// What the handlers of the nRF52 blocks have in common, over their register classes: events, and
// the one interrupt of the block. Source: nRF52832 Product Specification, "Peripheral interface".
// INTENSET, INTENCLR and, where the block has it, INTEN all hold the one effective value.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <utility>

#include "mcu/mcu.h"
#include "memory/peripheral_memory.h"

namespace orvo {

// Values that firmware and the PPI write into a task, and that an event that happened reads as.
inline constexpr unsigned kTrigger = 1;
inline constexpr unsigned kGenerated = 1;

// Bit of an event in INTEN, INTENSET and INTENCLR: the events' words stand in the bits' order.
constexpr unsigned InterruptBit(unsigned event_offset) { return 1u << (event_offset - 0x100) / 4; }

template <class Registers>
class Nrf52Handler : public Registers {
 public:
  // The interrupt is the one of the block's own name.
  Nrf52Handler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
               const InterruptMap& interrupts, const nlohmann::json& configuration)
      : Nrf52Handler(mcu, name, start, size_bytes, interrupts, configuration, name) {}
  // The same with the interrupt's name in the vector table.
  Nrf52Handler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
               const InterruptMap& interrupts, const nlohmann::json& configuration,
               const std::string& interrupt_name)
      : Registers(mcu, std::move(name), start, size_bytes, interrupts, configuration),
        interrupt_number_(InterruptNumberOf(interrupts, interrupt_name)) {}

  // A block that catches up on events that happened before they were enabled overrides the first,
  // calls it, then RaiseIfPending.
  void set_INTENSET(unsigned, unsigned value) override {
    StoreInterruptEnable(MemorySection::get(Registers::INTENSET) | value);
  }
  void set_INTENCLR(unsigned, unsigned value) override {
    StoreInterruptEnable(MemorySection::get(Registers::INTENSET) & ~value);
  }

 protected:
  bool IsEnabled(unsigned interrupt_bits) {
    return (MemorySection::get(Registers::INTENSET) & interrupt_bits) != 0;
  }
  void RaiseInterrupt() { this->mcu_->interrupts().RaiseInterrupt(interrupt_number_, true); }
  void RaiseIfEnabled(unsigned interrupt_bits) {
    if (IsEnabled(interrupt_bits)) RaiseInterrupt();
  }
  // The event happens: firmware and the PPI see it, and its interrupt follows if enabled.
  void Generate(unsigned event_offset) {
    MemorySection::set(event_offset, kGenerated);
    RaiseIfEnabled(InterruptBit(event_offset));
  }
  // Raises once if one of the events has happened and is enabled.
  void RaiseIfPending(std::span<const unsigned> event_offsets) {
    for (const unsigned event : event_offsets) {
      if (!IsEnabled(InterruptBit(event)) || MemorySection::get(event) == 0) continue;
      RaiseInterrupt();
      return;
    }
  }
  void StoreInterruptEnable(unsigned value) {
    if constexpr (requires { Registers::INTEN; }) MemorySection::set(Registers::INTEN, value);
    MemorySection::set(Registers::INTENSET, value);
    MemorySection::set(Registers::INTENCLR, value);
  }

 private:
  int interrupt_number_;
};

}  // namespace orvo
