// What decoding settles about an instruction, as a compile-time value: each combination is a
// function of its own, so that executing tests nothing that decoding knows.
#pragma once

#include "core/conditions.h"
#include "core/flags.h"
#include "core/globals.h"
#include "core/it_state.h"
#include "core/my_insn.h"
#include "core/operands.h"
#include "core/registers.h"

namespace orvo {

// Flags of an instruction function's form.
enum FormFlag : unsigned {
  kConditional = 1,       // key with _cc
  kSetsFlags = 2,         // the "s" mnemonic
  kThreeOperands = 4,     // key with _3: destination, source, source
  kWriteback = 8,         // key with _writeback
  kFloatingPoint = 16,    // sets FPCA in CONTROL on completion
  kLink = 32,             // bl, blx
  kExchange = 64,         // bx, blx
  kDecrementBefore = 128, // stmdb
  kSwapHalves = 1024,     // the x forms of the dual multiplications
  kMayBranch = 2048,      // may write pc otherwise than by going on behind itself
};

// Where the operands stand. kAny reads them from the operand list with all their special cases;
// the others promise plain registers (R0 to R12, LR, S0 to S31) at rd, rn, rm, ra:
enum class Shape : unsigned char {
  kAny,
  kRegister,   // all operands are plain registers without a shift; last source at rm
  kImmediate,  // last source is imm
  kLsl,        // last source is *rm shifted by a constant, 1 to 32
  kLsr,
  kAsr,
  kStackSum,   // sources are sp and imm
  kStackStep,  // the same, and sp is the destination too
  kField,    // a bit field of *rn (of *rd for bfc): imm is its lsb, shift_amount its width
  kBase,     // memory at *rn + imm
  kStack,    // memory at sp + imm
  kIndex,    // memory at *rn + (*rm << shift_amount)
  kLiteral,  // memory at the address imm, which pc gave
  kList,     // a register list, one word each; base, if any, at *rn; a load may end with pc
  kCount,
};

struct Form {
  unsigned flags = 0;
  Shape shape = Shape::kAny;
  unsigned char size_bytes = 0;  // 2 or 4; 0: the record tells

  constexpr bool Has(FormFlag flag) const { return (flags & flag) != 0; }
};

// Fills rd, rn, rm, ra, imm and shift_amount of a decoded record and says what shape they have.
// Anything doubtful is kAny.
Shape SettleShape(my_insn_t& insn, bool writeback);

// pc += size.
template <Form f>
[[gnu::always_inline]] inline void Advance() {
  registers_->pc() += f.size_bytes != 0 ? f.size_bytes : CurrentInstruction().size;
}

// The condition of a conditional form. When it fails the instruction is over, pc moved on.
template <Form f>
[[nodiscard, gnu::always_inline]] inline bool SkippedByCondition() {
  if constexpr (f.Has(kConditional)) {
    if (InItBlock()) ItAdvance();
    if (!CodeCondition()) {
      Advance<f>();
      return true;
    }
  }
  return false;
}

// Whether the write of the result does the condition's work: the instruction computes, which has no
// other effect, and then keeps the old value. A branch would be mispredicted wherever the condition
// depends on data, which is what IT blocks are for.
template <Form f>
constexpr bool SelectsResult() {
  return f.Has(kConditional) && !f.Has(kSetsFlags) && f.shape != Shape::kAny &&
         f.shape != Shape::kStackStep;
}

// SkippedByCondition for instructions that do nothing but compute and write operand 0.
template <Form f>
[[nodiscard, gnu::always_inline]] inline bool SkippedBeforeResult() {
  if constexpr (SelectsResult<f>()) {
    if (InItBlock()) ItAdvance();
    return false;
  } else {
    return SkippedByCondition<f>();
  }
}

// First source: operand 1 of a three-operand form, otherwise operand 0.
template <Form f>
[[gnu::always_inline]] inline unsigned First() {
  if constexpr (f.shape == Shape::kAny) {
    return f.Has(kThreeOperands) ? get_op<1, kValue>() : get_op<0, kValue>();
  } else if constexpr (f.shape == Shape::kStackSum || f.shape == Shape::kStackStep) {
    return registers_->sp();
  } else {
    return *CurrentInstruction().rn;
  }
}

// Last source: operand 2 of a three-operand form, otherwise operand 1.
template <Form f>
[[gnu::always_inline]] inline unsigned Second() {
  const my_insn_t& insn = CurrentInstruction();
  if constexpr (f.shape == Shape::kAny) {
    return f.Has(kThreeOperands) ? get_op<2, kValue>() : get_op<1, kValue>();
  } else if constexpr (f.shape == Shape::kImmediate || f.shape == Shape::kStackSum ||
                       f.shape == Shape::kStackStep) {
    return insn.imm;
  } else if constexpr (f.shape == Shape::kLsl) {
    return static_cast<unsigned>(static_cast<unsigned long>(*insn.rm) << insn.shift_amount);
  } else if constexpr (f.shape == Shape::kLsr) {
    return static_cast<unsigned>(static_cast<unsigned long>(*insn.rm) >> insn.shift_amount);
  } else if constexpr (f.shape == Shape::kAsr) {
    return static_cast<unsigned>(static_cast<long>(static_cast<int>(*insn.rm)) >>
                                 insn.shift_amount);
  } else {
    return *insn.rm;
  }
}

// Operand 0 takes the value. No test for pc: a data-processing instruction that names pc stores
// the value and then adds the size.
template <Form f>
[[gnu::always_inline]] inline void WriteResult(unsigned value) {
  if constexpr (f.shape == Shape::kAny) {
    set_reg<0>(value);
  } else if constexpr (f.shape == Shape::kStackStep) {
    registers_->SetSP(value);
  } else {
    *CurrentInstruction().rd = value;
  }
}

template <Form f>
[[gnu::always_inline]] inline void MarkFloatingPoint() {
  if constexpr (f.Has(kFloatingPoint)) registers_->control() |= control::kFpContext;
}

// The same behind SkippedBeforeResult.
template <Form f>
[[gnu::always_inline]] inline void WriteSelected(unsigned value) {
  if constexpr (SelectsResult<f>()) {
    unsigned& rd = *CurrentInstruction().rd;
    const unsigned mask = 0u - CodeCondition();
    rd = (value & mask) | (rd & ~mask);
  } else {
    WriteResult<f>(value);
  }
}

template <Form f>
[[gnu::always_inline]] inline void WriteSelectedAndAdvance(unsigned value) {
  WriteSelected<f>(value);
  Advance<f>();
}

template <Form f>
[[gnu::always_inline]] inline void WriteAndAdvance(unsigned value) {
  WriteResult<f>(value);
  MarkFloatingPoint<f>();
  Advance<f>();
}

}  // namespace orvo
