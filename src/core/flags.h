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

// Subtraction is AddWithCarry(a, ~b, 1): carry then means no borrow.
inline Sum AddWithCarry(unsigned a, unsigned b, unsigned carry_in) {
  const unsigned long wide = static_cast<unsigned long>(a) + b + carry_in;
  const unsigned value = static_cast<unsigned>(wide);
  return {value, (wide >> 32) != 0, (((a ^ value) & (b ^ value)) >> 31) != 0};
}

inline unsigned CarryFlag() { return (registers_->xpsr() >> 29) & 1u; }

namespace flags_detail {
inline void SetOrClear(unsigned bit, bool on) {
  unsigned& psr = registers_->xpsr();
  psr = on ? psr | bit : psr & ~bit;
}
inline unsigned NZ(unsigned value) {
  return (value & xpsr::kN) | (value == 0 ? xpsr::kZ : 0u);
}
}  // namespace flags_detail

// N and Z from the low 32 bits.
inline void updateCPSROnlyNZ(unsigned long result) {
  unsigned& psr = registers_->xpsr();
  psr = (psr & ~(xpsr::kN | xpsr::kZ)) | flags_detail::NZ(static_cast<unsigned>(result));
}
inline void updateCPSROnlyC(bool on) { flags_detail::SetOrClear(xpsr::kC, on); }
inline void updateCPSROnlyV(bool on) { flags_detail::SetOrClear(xpsr::kV, on); }
inline void updateCPSROnlyZ(bool on) { flags_detail::SetOrClear(xpsr::kZ, on); }
inline void updateCPSROnlyQ(bool on) { flags_detail::SetOrClear(xpsr::kQ, on); }

// GE bits, one per byte lane 0 to 3; throws OrvoError for a higher lane.
void updateCPSROnlyGp8(unsigned lane, bool on);
bool getCPSROnlyGp(unsigned lane);

// C of a modified immediate constant: bit 31 of the rotated value if imm12[11:10] rotate at all.
void updateCPSRFromImmOnlyC(unsigned short imm12);

inline void SetFlagsCVNZ(const Sum& sum) {
  unsigned& psr = registers_->xpsr();
  psr = (psr & ~(xpsr::kN | xpsr::kZ | xpsr::kC | xpsr::kV)) | flags_detail::NZ(sum.value) |
        (sum.carry ? xpsr::kC : 0u) | (sum.overflow ? xpsr::kV : 0u);
}

}  // namespace orvo
