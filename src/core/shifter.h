// The barrel shifter (ARMv7-M ARM, A7.4.2): value, amount (its low 8 bits count) and carry out.
#pragma once

#include "core/my_insn.h"

namespace orvo {

struct ShiftedValue {
  unsigned value;
  bool carry;
  bool carry_counts = true;  // whether C may follow the carry
};

inline ShiftedValue Lsl(unsigned value, unsigned amount) {
  amount &= 0xff;
  if (amount == 0) return {value, false};
  if (amount > 32) return {0, false};
  const unsigned long wide = static_cast<unsigned long>(value) << amount;
  return {static_cast<unsigned>(wide), (wide >> 32 & 1u) != 0};
}

inline ShiftedValue Lsr(unsigned value, unsigned amount) {
  amount &= 0xff;
  if (amount == 0) return {value, false};
  if (amount > 32) return {0, false};
  const unsigned long wide = static_cast<unsigned long>(value) << 32 >> amount;
  return {static_cast<unsigned>(wide >> 32), (wide >> 31 & 1u) != 0};
}

// Deliberate: C keeps its value from 32 on, unlike lsl and lsr.
inline ShiftedValue Asr(unsigned value, unsigned amount) {
  amount &= 0xff;
  if (amount == 0) return {value, false};
  const int number = static_cast<int>(value);
  if (amount >= 32) return {static_cast<unsigned>(number >> 31), number < 0, false};
  return {static_cast<unsigned>(number >> amount), (value >> (amount - 1) & 1u) != 0};
}

inline ShiftedValue Ror(unsigned value, unsigned amount) {
  amount &= 0xff;
  if (amount == 0) return {value, false};
  const unsigned turn = amount & 31;
  const unsigned result = value >> turn | value << (-turn & 31);
  return {result, result >> 31 != 0};
}

// The same for operands: C of xPSR follows the carry of an amount that isn't 0, unless the
// instruction keeps it, see my_insn_t.
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
