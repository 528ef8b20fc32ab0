// Condition codes (ARMv7-M ARM, A7.3), numbered as the disassembler does: 1 EQ .. 14 LE, 15 AL,
// 0 for none.
#pragma once

#include "core/globals.h"
#include "core/registers.h"

namespace orvo {

// For each value of the flags NZCV (N highest) a bit that tells whether the condition holds.
// Decoding stores the mask in the record, so that execution only picks a bit.
// Throws OrvoError for a cc above 15.
unsigned short ConditionMask(unsigned cc);

// Evaluates the condition of the current instruction. It comes from the record, not from the IT
// state: the disassembler has put the block's condition there.
inline bool CodeCondition() {
  return ((*current_instruction_)->cc_mask >> registers_->flags().nzcv()) & 1u;
}

// The same with the condition, 1 to 14, at compile time.
template <unsigned cc>
[[gnu::always_inline]] inline bool Condition() {
  const ConditionFlags& flags = registers_->flags();
  if constexpr (cc % 2 == 0) {
    return !Condition<cc - 1>();
  } else {
    switch (cc) {
      case 1: return flags.z();                                // EQ
      case 3: return flags.c;                                  // HS
      case 5: return flags.n();                                // MI
      case 7: return flags.v;                                  // VS
      case 9: return flags.c && !flags.z();                    // HI
      case 11: return flags.n() == flags.v;                    // GE
      default: return flags.n() == flags.v && !flags.z();      // GT
    }
  }
}

}  // namespace orvo
