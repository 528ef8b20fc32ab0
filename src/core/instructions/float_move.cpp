// Moves of floating point registers. Source: ARMv7-M ARM, A7.7, "VMOV".

#include "core/instruction_table.h"
#include "core/instructions/memory_operand.h"
#include "runner/errors.h"

namespace orvo {
namespace {

// VMOV.F32 Sd, Sm|#imm; VMOV Sn, Rt; VMOV Rt, Sn: one word between any two registers.
template <Form f>
void vmov() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(Second<f>());
}

// VMOV Dm, Rt, Rt2; VMOV Rt, Rt2, Dm
template <Form f>
void vmov_3() {
  if (SkippedByCondition<f>()) return;
  const my_insn_t& insn = CurrentInstruction();
  if (IsDoubleRegister(*insn.rec_ptr[0])) {
    const unsigned s_id = insn.rec_ptr[0]->s_id;
    registers_->word(s_id) = get_op<1, kValue>();
    registers_->word(s_id + 1) = get_op<2, kValue>();
  } else if (IsDoubleRegister(*insn.rec_ptr[2])) {
    const unsigned s_id = insn.rec_ptr[2]->s_id;
    set_reg<0>(registers_->word(s_id));
    set_reg<1>(registers_->word(s_id + 1));
  } else {
    throw OrvoError("Arm instructions: vmov_3");
  }
  MarkFloatingPoint<f>();
  Advance<f>();
}

}  // namespace

void AddFloatMoves(InstructionTable& table) {
  AddTwoOperandForms<RegisterOrImmediate, kFloatingPoint>(table, "vmov", FAMILY(vmov));
  AddTwoOperandForms<RegisterOrImmediate, kFloatingPoint>(table, "vmov_f32", FAMILY(vmov));
  AddThreeOperandForms<NoShapes, kFloatingPoint>(table, "vmov", FAMILY(vmov_3));
}

}  // namespace orvo
