#include "core/form.h"

#include <bit>
#include <string_view>

#include "core/mnemonic.h"

namespace orvo {
namespace {

bool IsPlainId(unsigned id) {
  return (id >= kR0 && id <= kR12) || id == kLr || (id >= kS0 && id <= kS31);
}

bool IsPlainRegister(const Operand& operand) {
  return operand.type == OperandType::kRegister && IsPlainId(operand.reg);
}

bool IsPlainUnshifted(const Operand& operand) {
  return IsPlainRegister(operand) && operand.shift_type == ShiftType::kNone;
}

// A constant shift that changes no flag.
Shape ShapeOfShift(const my_insn_t& insn, const Operand& operand) {
  if (operand.shift_type == ShiftType::kNone) return Shape::kRegister;
  if (!insn.shifter_keeps_carry || operand.shift_amount == 0 || operand.shift_amount > 32)
    return Shape::kAny;
  switch (operand.shift_type) {
    case ShiftType::kLsl: return Shape::kLsl;
    case ShiftType::kLsr: return Shape::kLsr;
    case ShiftType::kAsr: return Shape::kAsr;
    default: return Shape::kAny;
  }
}

bool IsField(const Operand& lsb, const Operand& width) {
  return lsb.type == OperandType::kImmediate && width.type == OperandType::kImmediate;
}

// ubfx, sbfx, bfi with four operands, bfc with three.
Shape SettleField(my_insn_t& insn) {
  const unsigned lsb = insn.op_count - 2u;
  for (unsigned n = 0; n < lsb; ++n) {
    if (!IsPlainUnshifted(insn.operands[n])) return Shape::kAny;
  }
  insn.rd = insn.op_records[0].word;
  insn.rn = insn.op_records[lsb - 1].word;
  insn.imm = static_cast<unsigned>(insn.operands[lsb].imm);
  insn.shift_amount = static_cast<unsigned char>(insn.operands[lsb + 1].imm);
  return Shape::kField;
}

// The address of memory operand n, and the step behind it if the form is post-indexed: then imm is
// what the base advances by.
Shape SettleAddress(my_insn_t& insn, unsigned n, bool writeback) {
  const Operand& shift_holder = insn.operands[0];
  const MemoryOperand& memory = insn.operands[n].mem;
  insn.imm = static_cast<unsigned>(memory.displacement);
  if (n + 1u < insn.op_count) {
    const Operand& step = insn.operands[n + 1];
    if (step.type != OperandType::kImmediate || memory.displacement != 0) return Shape::kAny;
    insn.imm = static_cast<unsigned>(step.imm);
  }
  if (memory.index != kNoRegister) {
    const bool shift_fits =
        shift_holder.shift_type == ShiftType::kNone ||
        (shift_holder.shift_type == ShiftType::kLsl && shift_holder.shift_amount < 32);
    if (writeback || memory.displacement != 0 || !shift_fits || !IsPlainId(memory.index) ||
        !IsPlainId(memory.base))
      return Shape::kAny;
    insn.rn = &registers_->word(memory.base);
    insn.rm = &registers_->word(memory.index);
    insn.shift_amount = static_cast<unsigned char>(shift_holder.shift_amount);
    return Shape::kIndex;
  }
  if (memory.base == kSp) return writeback ? Shape::kAny : Shape::kStack;
  if (memory.base == kPc) {
    if (writeback) return Shape::kAny;
    insn.imm += (static_cast<unsigned>(insn.address) + 4) & ~3u;
    return Shape::kLiteral;
  }
  if (!IsPlainId(memory.base)) return Shape::kAny;
  insn.rn = &registers_->word(memory.base);
  return Shape::kBase;
}

Shape SettleMemory(my_insn_t& insn, bool writeback) {
  if (!IsPlainRegister(insn.operands[0])) return Shape::kAny;
  insn.rd = insn.op_records[0].word;
  return SettleAddress(insn, 1, writeback);
}

// Two registers at once: the second at ra.
Shape SettleDualMemory(my_insn_t& insn, bool writeback) {
  if (!IsPlainRegister(insn.operands[0]) || !IsPlainRegister(insn.operands[1])) return Shape::kAny;
  insn.rd = insn.op_records[0].word;
  insn.ra = insn.op_records[1].word;
  return SettleAddress(insn, 2, writeback);
}

bool IsStackPointer(const Operand& operand) {
  return operand.type == OperandType::kRegister && operand.reg == kSp;
}

// add and sub of sp and an immediate: the commonest uses of sp as a plain register.
Shape SettleStackSum(my_insn_t& insn) {
  const Operand& destination = insn.operands[0];
  insn.imm = static_cast<unsigned>(insn.operands.back().imm);
  if (IsStackPointer(destination)) return Shape::kStackStep;
  if (!IsPlainRegister(destination)) return Shape::kAny;
  insn.rd = insn.op_records[0].word;
  return Shape::kStackSum;
}

Shape SettleList(my_insn_t& insn) {
  const std::string_view name(insn.mnemonic.data());
  const bool is_load = name.find("pop") != name.npos || name.find("ldm") != name.npos;
  const size_t last = insn.operands.size() - 1;
  for (size_t n = 0; n <= last; ++n) {
    const bool ends_with_pc = is_load && n == last && insn.operands[n].reg == kPc;
    if (!IsPlainRegister(insn.operands[n]) && !ends_with_pc) return Shape::kAny;
  }
  insn.rn = insn.op_records[0].word;
  return Shape::kList;
}

}  // namespace

Shape SettleShape(my_insn_t& insn, bool writeback) {
  const unsigned count = insn.op_count;
  if (count != 0 && IsListInstruction(insn.mnemonic.data())) return SettleList(insn);
  if (count == 0 || count > 4) return Shape::kAny;
  if ((count == 2 || count == 3) && insn.operands[1].type == OperandType::kMemory)
    return SettleMemory(insn, writeback);
  if (count >= 3 && insn.operands[2].type == OperandType::kMemory)
    return SettleDualMemory(insn, writeback);
  if (count >= 3 && IsField(insn.operands[count - 2], insn.operands[count - 1]))
    return SettleField(insn);

  const unsigned last = count == 4 ? 3 : count - 1;
  if ((count == 2 || count == 3) && IsStackPointer(insn.operands[count - 2]) &&
      insn.operands[last].type == OperandType::kImmediate)
    return SettleStackSum(insn);
  for (unsigned n = 0; n < last; ++n) {
    if (!IsPlainUnshifted(insn.operands[n])) return Shape::kAny;
  }
  const std::vector<OperandRecord>& records = insn.op_records;
  insn.rd = records[0].word;
  insn.rn = records[count >= 3 ? 1 : 0].word;
  const Operand& source = insn.operands[last];
  if (count == 4) {
    if (!IsPlainUnshifted(source)) return Shape::kAny;
    insn.rm = records[2].word;
    insn.ra = records[3].word;
    return Shape::kRegister;
  }
  if (source.type == OperandType::kImmediate) {
    insn.imm = static_cast<unsigned>(source.imm);
    return Shape::kImmediate;
  }
  if (source.type == OperandType::kFloat) {
    insn.imm = std::bit_cast<unsigned>(static_cast<float>(source.fp));
    return Shape::kImmediate;
  }
  if (!IsPlainRegister(source)) return Shape::kAny;
  insn.rm = records[last].word;
  insn.shift_amount = static_cast<unsigned char>(source.shift_amount);
  return ShapeOfShift(insn, source);
}

}  // namespace orvo
