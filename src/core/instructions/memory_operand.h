// Addresses and base registers of loads and stores (ARMv7-M ARM, A6.3: offset, pre-indexed and
// post-indexed addressing). Memory takes any alignment: an unaligned access reads or writes just
// there, and CCR.UNALIGN_TRP has no effect.
#pragma once

#include "core/form.h"
#include "core/registers.h"

namespace orvo {

// The key has one operand more than the plain form: the step that the base advances by after the
// access. Without kWriteback the step counts for nothing.
template <Form f>
constexpr bool IsPostIndexed() {
  return f.Has(kWriteback) && f.Has(kThreeOperands);
}

// Address of the access by memory operand N.
template <Form f, unsigned N>
[[gnu::always_inline]] inline unsigned AccessAddress() {
  const my_insn_t& insn = CurrentInstruction();
  if constexpr (f.shape == Shape::kBase) {
    return IsPostIndexed<f>() ? *insn.rn : *insn.rn + insn.imm;
  } else if constexpr (f.shape == Shape::kStack) {
    return registers_->sp() + insn.imm;
  } else if constexpr (f.shape == Shape::kIndex) {
    return *insn.rn + (*insn.rm << insn.shift_amount);
  } else if constexpr (f.shape == Shape::kLiteral) {
    return insn.imm;
  } else {
    return get_op_mem<N, kAddress>();
  }
}

// Moves the base of memory operand N, after an access at the address or before it.
template <Form f, unsigned N>
[[gnu::always_inline]] inline void WriteBack(unsigned address) {
  if constexpr (f.Has(kWriteback)) {
    const my_insn_t& insn = CurrentInstruction();
    if constexpr (f.shape == Shape::kBase) {
      *insn.rn = IsPostIndexed<f>() ? address + insn.imm : address;
    } else {
      if constexpr (IsPostIndexed<f>()) address += get_op<N + 1, kValue>();
      WriteRegister(insn.op_ptr[N]->mem.base, address);
    }
  }
}

// Whether an operand is D0 to D15, two S registers from s_id on.
inline bool IsDoubleRegister(const OperandRecord& record) {
  return record.s_id >= kS0 && record.s_id < kS31;
}

}  // namespace orvo
