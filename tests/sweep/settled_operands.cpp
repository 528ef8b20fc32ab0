#include "settled_operands.h"

#include <bit>

namespace orvo {
namespace {

enum Slot : unsigned { kRd = 1, kRn = 2, kRm = 4, kRa = 8, kImm = 16, kAmount = 32 };

// What the functions of each shape read. kRa is the second register of ldrd and strd too.
constexpr struct {
  Shape shape;
  unsigned slots;
} kRead[] = {{Shape::kRegister, kRd | kRn | kRm | kRa},
             {Shape::kImmediate, kRd | kRn | kImm},
             {Shape::kLsl, kRd | kRn | kRm | kAmount},
             {Shape::kLsr, kRd | kRn | kRm | kAmount},
             {Shape::kAsr, kRd | kRn | kRm | kAmount},
             {Shape::kStackSum, kRd | kImm},
             {Shape::kStackStep, kImm},
             {Shape::kField, kRd | kRn | kImm | kAmount},
             {Shape::kBase, kRd | kRn | kRa | kImm},
             {Shape::kStack, kRd | kRa | kImm},
             {Shape::kIndex, kRd | kRn | kRm | kAmount},
             {Shape::kLiteral, kRd | kRa | kImm},
             {Shape::kList, kRn}};

struct Slots {
  unsigned rd = 0, rn = 0, rm = 0, ra = 0;  // ids; 0 for none
  unsigned imm = 0, amount = 0;
  bool fits = true;  // the shape says the truth
};

unsigned Immediate(const Operand& operand) {
  if (operand.type == OperandType::kFloat)
    return std::bit_cast<unsigned>(static_cast<float>(operand.fp));
  return static_cast<unsigned>(operand.imm);
}

Slots SlotsOfAddress(const my_insn_t& insn, Shape shape, size_t n, bool writeback) {
  const std::vector<Operand>& operands = insn.operands;
  const MemoryOperand& memory = operands[n].mem;
  const bool has_step = operands.size() > n + 1;
  Slots slots{operands[0].reg, memory.base, memory.index, n == 2 ? operands[1].reg : 0};
  slots.imm = has_step ? Immediate(operands[n + 1]) : static_cast<unsigned>(memory.displacement);
  slots.amount = operands[0].shift_amount;
  if (shape == Shape::kLiteral) slots.imm += (static_cast<unsigned>(insn.address) + 4) & ~3u;
  slots.fits = (shape == Shape::kIndex) == (memory.index != kNoRegister) &&
               (shape == Shape::kLiteral) == (memory.base == kPc) &&
               (shape == Shape::kStack) == (memory.base == kSp) &&
               (shape == Shape::kBase || !writeback) &&
               (memory.displacement == 0 || (!has_step && shape != Shape::kIndex));
  return slots;
}

Slots SlotsOf(const my_insn_t& insn, Shape shape, bool writeback) {
  const std::vector<Operand>& operands = insn.operands;
  const size_t count = operands.size();
  for (size_t n = 0; n < count; ++n) {
    if (operands[n].type == OperandType::kMemory) return SlotsOfAddress(insn, shape, n, writeback);
  }
  const Operand& last = operands.back();
  if (shape == Shape::kList)
    return {0, insn.mnemonic[0] == 'p' ? 0 : operands[0].reg};  // push, pop
  if (shape == Shape::kField)
    return {operands[0].reg, operands[count - 3].reg, 0, 0, Immediate(operands[count - 2]),
            Immediate(last)};
  if (count == 4) return {operands[0].reg, operands[1].reg, operands[2].reg, last.reg};
  Slots slots{operands[0].reg,  operands[count >= 3 ? 1 : 0].reg, last.reg, 0, Immediate(last),
              last.shift_amount};
  if (count == 1) slots.rd = slots.rn = 0;
  const ShiftType shift = shape == Shape::kLsl   ? ShiftType::kLsl
                          : shape == Shape::kLsr ? ShiftType::kLsr
                          : shape == Shape::kAsr ? ShiftType::kAsr
                                                 : ShiftType::kNone;
  const bool is_register = last.type == OperandType::kRegister;
  const bool wants_register = shape == Shape::kRegister || shift != ShiftType::kNone;
  const bool sums_sp = shape == Shape::kStackSum || shape == Shape::kStackStep;
  slots.fits = last.shift_type == shift &&
               (shift == ShiftType::kNone || insn.shifter_keeps_carry) &&
               is_register == wants_register && (!sums_sp || slots.rn == kSp) &&
               (shape != Shape::kStackStep || slots.rd == kSp);
  return slots;
}

// A slot points to the word of a register that is nothing but a word.
bool PointsTo(const unsigned* slot, unsigned id) {
  const bool plain = (id >= kR0 && id <= kR12) || id == kLr || (id >= kS0 && id <= kS31);
  return id == 0 || (plain && slot == &registers_->word(id));
}

bool RecordsHold(const my_insn_t& insn) {
  for (size_t n = 0; n < insn.operands.size(); ++n) {
    const Operand& operand = insn.operands[n];
    const OperandRecord& record = insn.op_records[n];
    const unsigned s_id = operand.type == OperandType::kRegister ? operand.reg * 2 + 51 : 0;
    if (record.type != operand.type || record.s_id != s_id || operand.reg >= kRegisterCount)
      return false;
    const bool has_word = operand.reg != 0 && operand.reg != kSp;
    if (record.word != (has_word ? &registers_->word(operand.reg) : nullptr)) return false;
    if (n < insn.op_ptr.size() && (insn.op_ptr[n] != &operand || insn.rec_ptr[n] != &record))
      return false;
  }
  return true;
}

}  // namespace

bool IsSettled(const my_insn_t& insn, Shape shape, bool writeback) {
  if (!RecordsHold(insn)) return false;
  if (shape == Shape::kAny) return true;
  const Slots slots = SlotsOf(insn, shape, writeback);
  for (const auto& [read_shape, read] : kRead) {
    if (shape != read_shape) continue;
    return slots.fits && ((read & kRd) == 0 || PointsTo(insn.rd, slots.rd)) &&
           ((read & kRn) == 0 || PointsTo(insn.rn, slots.rn)) &&
           ((read & kRm) == 0 || PointsTo(insn.rm, slots.rm)) &&
           ((read & kRa) == 0 || PointsTo(insn.ra, slots.ra)) &&
           ((read & kImm) == 0 || insn.imm == slots.imm) &&
           ((read & kAmount) == 0 || insn.shift_amount == slots.amount);
  }
  return false;
}

}  // namespace orvo
