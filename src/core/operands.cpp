#include "core/operands.h"

#include <bit>

#include "core/shifter.h"
#include "memory/memory.h"
#include "runner/errors.h"

namespace orvo {
namespace {

// A register as an operand shows it.
unsigned ReadRegister(unsigned id) { return id == kPc ? VisiblePc() : registers_->get(id); }

unsigned EffectiveAddress(const MemoryOperand& memory, const Operand& shift_holder, bool raw_pc) {
  unsigned address = static_cast<unsigned>(memory.displacement);
  if (memory.base == kPc && raw_pc) {
    address += registers_->pc();
  } else if (memory.base != kNoRegister) {
    address += ReadRegister(memory.base);
  }
  if (memory.index != kNoRegister) {
    address +=
        Shifted(registers_->get(memory.index), shift_holder.shift_type, shift_holder.shift_amount);
  }
  return address;
}

}  // namespace

unsigned ReadOperand(unsigned n, OperandFlags flags) {
  const my_insn_t& insn = CurrentInstruction();
  const Operand& operand = *insn.op_ptr[n];
  switch (operand.type) {
    case OperandType::kRegister: {
      const unsigned value = ReadRegister(operand.reg);
      return n == 0 ? value : Shifted(value, operand.shift_type, operand.shift_amount);
    }
    case OperandType::kImmediate:
      return static_cast<unsigned>(operand.imm);
    case OperandType::kMemory: {
      const unsigned address =
          EffectiveAddress(operand.mem, *insn.op_ptr[0], flags == kAddressRawPc);
      return flags == kValue ? memory_->get<true>(address) : address;
    }
    case OperandType::kFloat:
      return std::bit_cast<unsigned>(static_cast<float>(operand.fp));
    case OperandType::kSystemRegister:
      return registers_->get(operand.reg);
    default:
      throw OrvoError("Arm instructions: get_op unknown type");
  }
}

unsigned get_op(int n) {
  const Operand& operand = CurrentInstruction().operands[static_cast<unsigned>(n)];
  if (operand.type != OperandType::kRegister) throw OrvoError("Arm instructions: get_op(int id)");
  return ReadRegister(operand.reg);
}

unsigned get_op_reg_0() { return get_op(0); }

unsigned get_reg_id(int n) {
  const Operand& operand = CurrentInstruction().operands[static_cast<unsigned>(n)];
  if (operand.type != OperandType::kRegister && operand.type != OperandType::kSystemRegister)
    throw OrvoError("Arm instructions: get_reg_id");
  return operand.reg;
}

}  // namespace orvo
