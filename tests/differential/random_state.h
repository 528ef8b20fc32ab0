// Values for registers: corners as often as anything, and addresses that lead into RAM.
#pragma once

#include <random>

#include "machine_state.h"
#include "samples.h"
#include "support/test_mcu.h"

namespace orvo {

inline constexpr unsigned kRamMiddle = TestMcu::kRamStart + TestMcu::kRamSizeBytes / 2;

class RandomState {
 public:
  explicit RandomState(std::mt19937_64& random) : random_(random) {}

  unsigned Word();
  unsigned FloatWord();
  MachineState State();
  // Bases of the sample's accesses point into RAM, indexes stay small.
  void Aim(const Sample& sample, MachineState& state);

 private:
  std::mt19937_64& random_;
};

// The word of a register of a sample's operand; null for pc and others.
unsigned* WordOf(MachineState& state, unsigned id);

}  // namespace orvo
