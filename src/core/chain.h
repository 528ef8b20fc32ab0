// Instructions that go on to the next one by themselves. The step between two instructions is taken
// by the first of them, if nothing is due at it and no exception waits, and the function of the next
// is called in its place: nothing can be told from the run loop's own steps, but each instruction
// costs one jump instead of a call, a return and the loop's. Where something is to be done the
// function returns, and the loop goes on as ever.
#pragma once

#include "core/globals.h"
#include "core/my_insn.h"
#include "core/registers.h"
#include "mcu/mcu.h"
#include "time/interrupts.h"

namespace orvo {

// The next function has to take the place of this one on the stack. Compilers do that when they
// optimise, but not where the thread sanitiser wants to see the end of each function.
#if defined(__OPTIMIZE__) && !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
inline constexpr bool kTailCalls = true;
#else
inline constexpr bool kTailCalls = false;
#endif

// What the run loop does between two instructions, if it would find nothing to do.
[[gnu::always_inline]] inline bool TakeQuietStep() {
  return *interrupts_->pending_empty() && mcu_->clock().TakeQuietStep();
}

[[gnu::always_inline]] inline void GoOnAt(my_insn_t* here, long distance_bytes) {
  const Function function = here->entry[distance_bytes];  // both tables go by byte offset
  *current_instruction_ = here + distance_bytes;
  function();
}

// On behind an instruction; decoding has seen to it that the loop needn't look at the next one.
[[gnu::always_inline]] inline void GoOnBehind(my_insn_t* here, unsigned size_bytes) {
  if (!TakeQuietStep()) [[unlikely]]
    return;
  GoOnAt(here, size_bytes);
}

// On at pc, wherever that is.
[[gnu::always_inline]] inline void GoOnAtPc(my_insn_t* here) {
  const unsigned pc = registers_->pc() & ~1u;
  const unsigned offset = pc & ~flash_address_;
  if (offset > program_len_ || pc == mcu_->stop_pc || !TakeQuietStep()) [[unlikely]]
    return;
  registers_->pc() = pc;
  GoOnAt(here, static_cast<long>(offset) -
                   static_cast<long>(static_cast<unsigned>(here->address) & ~flash_address_));
}

// The chained form of an instruction.
template <Function instruction, unsigned size_bytes, bool may_branch>
void Chained() {
  my_insn_t* const here = *current_instruction_;
  instruction();
  if constexpr (may_branch) {
    GoOnAtPc(here);
  } else {
    GoOnBehind(here, size_bytes);
  }
}

}  // namespace orvo
