// Where this core differs from the architecture on purpose: what its result is instead.
#pragma once

#include "machine_state.h"
#include "samples.h"

namespace orvo {

struct DeliberateDifference {
  const char* reason;
  // Whether the row is about the encoding at all.
  bool (*concerns)(const Sample&);
  // Turns what the architecture gives into what this core gives. `before` is the state in front of
  // the instruction.
  void (*apply)(const Sample&, const MachineState& before, MachineState& result);
};

// Whether any row is about the encoding: those stand alone, not in blocks and sequences.
bool HasDeliberateDifference(const Sample& sample);
// Applies every row that is about the encoding.
void ApplyDeliberateDifferences(const Sample& sample, const MachineState& before,
                                MachineState& result);

}  // namespace orvo
