// Moves to and from the special registers. Source: ARMv7-M ARM, B5.2, "MRS", "MSR", and A7.7,
// "VMRS", "VMSR". The registers that are missing here end the run.

#include "core/fpu.h"
#include "core/instruction_table.h"
#include "runner/errors.h"

namespace orvo {
namespace {

constexpr unsigned kApsr = kXpsr;
constexpr unsigned kApsrG = 257;
constexpr unsigned kGeBits = 0xfu << 16;
constexpr unsigned kImplementedFpscr = 0xf7c0009f;
constexpr unsigned kLowByte = 0xff;

unsigned Merge(unsigned old_value, unsigned value, unsigned mask) {
  return (old_value & ~mask) | (value & mask);
}

// Deliberate: GE only; N, Z, C, V and Q can't be written, not even by `msr apsr_nzcvq, r0`.
void updateASPRG(unsigned value) {
  registers_->status() = Merge(registers_->status(), value, kGeBits);
}

// Handler mode keeps its stack; unprivileged code changes nothing.
void updateControl(unsigned value) {
  unsigned mask = control::kUnprivileged | control::kFpContext;
  if (Interrupts::mode_ == kThreadMode) {
    if ((registers_->control() & control::kUnprivileged) != 0) return;
    mask |= control::kProcessStack;
  }
  registers_->control() = Merge(registers_->control(), value, mask);
}

// MSR <special register>, Rn; VMSR FPSCR, Rt
template <Form f>
void msr() {
  if (SkippedByCondition<f>()) return;
  const unsigned id = get_reg_id<0>();
  const unsigned value = get_op<1, kValue>();
  switch (id) {
    case kFpscr:
      registers_->fpscr() = value & kImplementedFpscr;
      break;
    case kApsr:
    case kApsrG:
      updateASPRG(value);
      break;
    // Deliberate: as written, without a test of privilege and without a mask.
    case kMsp:
    case kPsp:
    case kPrimask:
      registers_->word(id) = value;
      break;
    case kBasepri:
      if (registers_->IsPrivileged())
        registers_->word(kBasepri) = Merge(registers_->word(kBasepri), value, kLowByte);
      break;
    case kControl:
      updateControl(value);
      break;
    default:
      throw OrvoError("Arm instructions: msr_2 unknown type: " + std::to_string(id));
  }
  MarkFloatingPoint<f>();
  Advance<f>();
}

// MRS Rd, <special register>; VMRS Rt|APSR_nzcv, FPSCR
template <Form f>
void mrs() {
  if (SkippedByCondition<f>()) return;
  const unsigned id = get_reg_id<1>();
  const bool privileged = registers_->IsPrivileged();
  switch (id) {
    // Deliberate: MSP without a test of privilege, and the whole of xPSR.
    case kMsp:
    case kXpsr:
    case kControl:
      set_reg<0>(registers_->get(id));
      break;
    case kFpscr:
      if (get_reg_id<0>() == kApsrNzcv) {
        updateCPSRWithFPSCR();
      } else {
        set_reg<0>(registers_->fpscr());
        registers_->control() |= control::kFpContext;
      }
      break;
    case kIpsr:
      set_reg<0>(privileged ? registers_->status() & kLowByte : 0);
      break;
    case kPsp:
    case kPrimask:
    case kBasepri:
      set_reg<0>(privileged ? registers_->word(id) : 0);
      break;
    default:
      throw OrvoError("Arm instructions: mrs unknown type: " + std::to_string(id));
  }
  Advance<f>();
}

}  // namespace

void AddSpecialRegisterMoves(InstructionTable& table) {
  AddTwoOperandForms<NoShapes>(table, "msr", FAMILY(msr));
  AddTwoOperandForms<NoShapes>(table, "mrs", FAMILY(mrs));
  AddTwoOperandForms<NoShapes, kFloatingPoint>(table, "vmsr", FAMILY(msr));
  AddTwoOperandForms<NoShapes>(table, "vmrs", FAMILY(mrs));
}

}  // namespace orvo
