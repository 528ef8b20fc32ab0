// The stack. Source: ARMv7-M ARM, A7.7, "PUSH", "POP", "VPUSH", "VPOP".
// The stack pointer is read once and written once, at the end.

#include "core/instruction_table.h"
#include "core/instructions/memory_operand.h"
#include "core/instructions/word_list.h"
#include "core/pc_write.h"
#include "memory/memory.h"
#include "runner/errors.h"

namespace orvo {
namespace {

// From the last register down, so that the highest-numbered one stands at the highest address.
void PushList(const my_insn_t& insn, unsigned sp) {
  for (unsigned n = insn.op_count; n-- > 0;) {
    const unsigned value = get_op(static_cast<int>(n));
    sp -= kWordBytes;
    memory_->set<true>(sp, value);
  }
}

void PopList(const my_insn_t& insn, unsigned sp) {
  for (unsigned n = 0; n < insn.op_count; ++n, sp += kWordBytes) {
    WriteRegister(get_reg_id(static_cast<int>(n)), memory_->get<true>(sp));
  }
}

// PUSH <registers>
template <Form f>
void push() {
  if (SkippedByCondition<f>()) return;
  const my_insn_t& insn = CurrentInstruction();
  const unsigned sp = registers_->sp();
  const unsigned lowest = sp - insn.op_count * kWordBytes;
  if (f.shape != Shape::kList || !StoreToRam(insn, 0, lowest)) PushList(insn, sp);
  registers_->SetSP(lowest);
  Advance<f>();
}

// POP <registers>
template <Form f>
void pop() {
  if (SkippedByCondition<f>()) return;
  const my_insn_t& insn = CurrentInstruction();
  const unsigned sp = registers_->sp();
  if (f.shape != Shape::kList || !LoadFromRam(insn, 0, sp)) PopList(insn, sp);
  registers_->SetSP(sp + insn.op_count * kWordBytes);
  // The run loop clears bit 0 of the value.
  if (insn.op_count != 0 && insn.op_records.back().word == &registers_->pc()) {
    return ReturnFromExceptionIfNeeded();
  }
  Advance<f>();
}

// VPUSH <registers>. Deliberate: D registers only.
template <Form f>
void vpush() {
  if (SkippedByCondition<f>()) return;
  const my_insn_t& insn = CurrentInstruction();
  unsigned sp = registers_->sp();
  for (unsigned n = insn.op_count; n-- > 0;) {
    const OperandRecord& record = insn.op_records[n];
    if (!IsDoubleRegister(record)) throw OrvoError("Arm instructions: Unsupported vpush");
    sp -= 2 * kWordBytes;
    memory_->set<true>(sp + kWordBytes, registers_->word(record.s_id + 1));
    memory_->set<true>(sp, registers_->word(record.s_id));
  }
  registers_->SetSP(sp);
  MarkFloatingPoint<f>();
  Advance<f>();
}

// VPOP <registers>. Deliberate: D registers only.
template <Form f>
void vpop() {
  if (SkippedByCondition<f>()) return;
  unsigned sp = registers_->sp();
  for (const OperandRecord& record : CurrentInstruction().op_records) {
    if (!IsDoubleRegister(record)) throw OrvoError("Arm instructions: Unsupported vpop");
    registers_->word(record.s_id) = memory_->get<true>(sp);
    registers_->word(record.s_id + 1) = memory_->get<true>(sp + kWordBytes);
    sp += 2 * kWordBytes;
  }
  registers_->SetSP(sp);
  MarkFloatingPoint<f>();
  Advance<f>();
}

}  // namespace

void AddStackInstructions(InstructionTable& table) {
  AddPair<ListShape>(table, "push", "", FAMILY(push));
  AddPair<ListShape, kMayBranch>(table, "pop", "", FAMILY(pop));
  AddPair<NoShapes, kFloatingPoint>(table, "vpush", "", FAMILY(vpush));
  AddPair<NoShapes, kFloatingPoint>(table, "vpop", "", FAMILY(vpop));
}

}  // namespace orvo
