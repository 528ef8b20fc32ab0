// Reading and writing the operands of the current instruction, whatever they are. Variants whose
// operands were settled at decode time (core/form.h) don't come here.
#pragma once

#include "core/globals.h"
#include "core/my_insn.h"
#include "core/registers.h"

namespace orvo {

// What a memory operand yields.
enum OperandFlags : unsigned {
  kValue = 0,           // the word at its address
  kAddress = 256,       // the address
  kAddressRawPc = 768,  // the address with the plain pc as base: tbb and tbh
};

inline my_insn_t& CurrentInstruction() { return **current_instruction_; }

// pc as an instruction sees it: Align(pc + 4, 4), but pc + 4 for add and sub of the plain register.
inline unsigned VisiblePc() {
  const unsigned pc = registers_->pc();
  return CurrentInstruction().pc_read_unaligned ? pc + 4 : (pc + 4) & ~3u;
}

// Value of an operand; registers from operand 1 on pass through their shift.
unsigned ReadOperand(unsigned n, OperandFlags flags);

template <unsigned N, unsigned Flags>
unsigned get_op() {
  return ReadOperand(N, static_cast<OperandFlags>(Flags));
}
// Value of a register operand, unshifted; throws OrvoError for any other type.
unsigned get_op(int n);
// Effective address of memory operand N.
template <unsigned N, unsigned Flags>
unsigned get_op_mem() {
  return ReadOperand(N, static_cast<OperandFlags>(Flags));
}
// Register operand 0 for a store: the raw value.
unsigned get_op_reg_0();
// Register id of an operand; throws OrvoError if it is no register.
unsigned get_reg_id(int n);
template <unsigned N>
unsigned get_reg_id() {
  return get_reg_id(static_cast<int>(N));
}
// Writes the register of an id, the stack pointer through its bank.
inline void WriteRegister(unsigned id, unsigned value) {
  if (id == kSp) {
    registers_->SetSP(value);
  } else {
    registers_->word(id) = value;
  }
}
template <unsigned N>
void set_reg(unsigned value) {
  WriteRegister(get_reg_id<N>(), value);
}

}  // namespace orvo
