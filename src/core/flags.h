// The flags of xPSR, and addition with carry (ARMv7-M ARM, A2.2.1, A2.3.2).
#pragma once

#include "core/globals.h"
#include "core/registers.h"

namespace orvo {

struct Sum {
  unsigned value;
  bool carry;
  bool overflow;
};

inline Sum Add(unsigned a, unsigned b) {
  const unsigned value = a + b;
  return {value, value < a, (((a ^ value) & (b ^ value)) >> 31) != 0};
}

// a + ~b + 1: carry means no borrow.
inline Sum Subtract(unsigned a, unsigned b) {
  const unsigned value = a - b;
  return {value, a >= b, (((a ^ b) & (a ^ value)) >> 31) != 0};
}

inline Sum AddWithCarry(unsigned a, unsigned b, unsigned carry_in) {
  const unsigned long wide = static_cast<unsigned long>(a) + b + carry_in;
  const unsigned value = static_cast<unsigned>(wide);
  return {value, (wide >> 32) != 0, (((a ^ value) & (b ^ value)) >> 31) != 0};
}

inline unsigned CarryFlag() { return registers_->flags().c; }

// N and Z from the low 32 bits.
inline void updateCPSROnlyNZ(unsigned long result) {
  registers_->flags().SetNZ(static_cast<unsigned>(result));
}
inline void updateCPSROnlyC(bool on) { registers_->flags().c = on; }
inline void updateCPSROnlyV(bool on) { registers_->flags().v = on; }
// N keeps its value.
inline void updateCPSROnlyZ(bool on) {
  ConditionFlags& flags = registers_->flags();
  flags.Set((flags.n() ? xpsr::kN : 0u) | (on ? xpsr::kZ : 0u) | (flags.c ? xpsr::kC : 0u) |
            (flags.v ? xpsr::kV : 0u));
}
// Bits of xPSR other than N, Z, C and V.
inline void SetStatusBit(unsigned bit, bool on) {
  unsigned& status = registers_->status();
  status = on ? status | bit : status & ~bit;
}
inline void updateCPSROnlyQ(bool on) { SetStatusBit(xpsr::kQ, on); }

// GE bits, one per byte lane 0 to 3; throws OrvoError for a higher lane.
void updateCPSROnlyGp8(unsigned lane, bool on);
bool getCPSROnlyGp(unsigned lane);

// C of a modified immediate constant: bit 31 of the rotated value if imm12[11:10] rotate at all.
void updateCPSRFromImmOnlyC(unsigned short imm12);

inline void SetFlagsCVNZ(const Sum& sum) {
  ConditionFlags& flags = registers_->flags();
  flags.c = sum.carry;
  flags.v = sum.overflow;
  flags.SetNZ(sum.value);
}

}  // namespace orvo
