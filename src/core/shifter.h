// The barrel shifter (ARMv7-M ARM, A7.4.2): value, amount (its low 8 bits count) and carry out.
// C of xPSR follows the carry only for instructions that don't keep it, see my_insn_t.
#pragma once

#include "core/my_insn.h"

namespace orvo {

using ShiftFunction = unsigned (*)(unsigned value, unsigned amount, bool* carry_out);

unsigned sft_none(unsigned value, unsigned amount, bool* carry_out);
unsigned sft_asr(unsigned value, unsigned amount, bool* carry_out);
unsigned sft_lsl(unsigned value, unsigned amount, bool* carry_out);
unsigned sft_lsr(unsigned value, unsigned amount, bool* carry_out);
unsigned sft_ror(unsigned value, unsigned amount, bool* carry_out);
// Works on its second argument, because the rrx instruction passes (operand 0, operand 1).
unsigned sft_rrx(unsigned value, unsigned second, bool* carry_out);

// Indexed by ShiftType.
inline constexpr ShiftFunction shift_type_to_function_[] = {sft_none, sft_asr, sft_lsl,
                                                            sft_lsr,  sft_ror, sft_rrx};

// Applies the shift of an operand.
inline unsigned Shifted(unsigned value, ShiftType type, unsigned amount) {
  bool carry_out = false;
  return shift_type_to_function_[static_cast<unsigned>(type)](value, amount, &carry_out);
}

}  // namespace orvo
