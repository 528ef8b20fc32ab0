// Addition, subtraction and comparison. Source: ARMv7-M ARM, A7.7.
// The flags of all of them come from AddWithCarry; carry-ins are sampled before the operands are
// read, so that a shifter's update of C does not reach them.

#include "core/branch_pair.h"
#include "core/instruction_table.h"

namespace orvo {
namespace {

// ADD{S} Rd, Rn, <operand>; ADDW      ARMv7-M ARM A7.7.3, A7.7.4
template <Form f>
void add() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned a = First<f>();
  const Sum sum = Add(a, Second<f>());
  if constexpr (f.Has(kSetsFlags)) SetFlagsCVNZ(sum);
  WriteSelectedAndAdvance<f>(sum.value);
}

// SUB{S} Rd, Rn, <operand>; SUBW      ARMv7-M ARM A7.7.172, A7.7.174
template <Form f>
void subs() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned a = First<f>();
  const Sum sum = Subtract(a, Second<f>());
  if constexpr (f.Has(kSetsFlags)) SetFlagsCVNZ(sum);
  WriteSelectedAndAdvance<f>(sum.value);
}

// RSB{S} Rd, Rn, <operand>            ARMv7-M ARM A7.7.117, A7.7.118
template <Form f>
void rsbs() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned a = First<f>();
  const Sum sum = Subtract(Second<f>(), a);
  if constexpr (f.Has(kSetsFlags)) SetFlagsCVNZ(sum);
  WriteSelectedAndAdvance<f>(sum.value);
}

// ADC{S} Rd, Rn, <operand>            ARMv7-M ARM A7.7.1, A7.7.2
template <Form f>
void adc() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned carry = CarryFlag();
  const unsigned a = First<f>();
  const Sum sum = AddWithCarry(a, Second<f>(), carry);
  if constexpr (f.Has(kSetsFlags)) SetFlagsCVNZ(sum);
  WriteSelectedAndAdvance<f>(sum.value);
}

// SBC{S} Rd, Rn, <operand>            ARMv7-M ARM A7.7.123, A7.7.124
template <Form f>
void sbc() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned carry = CarryFlag();
  const unsigned a = First<f>();
  const Sum sum = AddWithCarry(a, ~Second<f>(), carry);
  if constexpr (f.Has(kSetsFlags)) SetFlagsCVNZ(sum);
  WriteSelectedAndAdvance<f>(sum.value);
}

// CMP Rn, <operand>                   ARMv7-M ARM A7.7.28, A7.7.29
template <Form f>
void cmp() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  SetFlagsCVNZ(Subtract(a, Second<f>()));
  Advance<f>();
}

// CMN Rn, <operand>                   ARMv7-M ARM A7.7.26, A7.7.27
template <Form f>
void cmn() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  SetFlagsCVNZ(Add(a, Second<f>()));
  Advance<f>();
}

// ADR Rd, <label>                     ARMv7-M ARM A7.7.7
template <Form f>
void adr() {
  if (SkippedBeforeResult<f>()) return;
  WriteSelectedAndAdvance<f>(((registers_->pc() + 4) & ~3u) + Second<f>());
}

}  // namespace

void AddArithmetic(InstructionTable& table) {
  AddForms<SumShapes>(table, "add", FAMILY(add));
  AddForms<DataShapes, kSetsFlags>(table, "adds", FAMILY(add));
  AddThreeOperandForms<SumShapes>(table, "addw", FAMILY(add));
  AddForms<SumShapes>(table, "sub", FAMILY(subs));
  AddForms<DataShapes, kSetsFlags>(table, "subs", FAMILY(subs));
  AddThreeOperandForms<SumShapes>(table, "subw", FAMILY(subs));
  AddForms<DataShapes>(table, "adc", FAMILY(adc));
  AddForms<DataShapes, kSetsFlags>(table, "adcs", FAMILY(adc));
  AddForms<DataShapes>(table, "sbc", FAMILY(sbc));
  AddForms<DataShapes, kSetsFlags>(table, "sbcs", FAMILY(sbc));
  AddForms<DataShapes, kSetsFlags>(table, "rsbs", FAMILY(rsbs));
  AddThreeOperandForms<DataShapes>(table, "rsb", FAMILY(rsbs));
  table.Add("rsb_2", DataShapes::Of<0>(FAMILY(rsbs)));
  // Deliberate: no mnemonic makes this key, so that a conditional rsb of two operands stays
  // without a function.
  table.Add("rsb_2_cc", DataShapes::Of<kConditional>(FAMILY(rsbs)));
  AddTwoOperandForms<DataShapes>(table, "cmp", FAMILY(cmp));
  AddTwoOperandForms<DataShapes>(table, "cmn", FAMILY(cmn));
  AddTwoOperandForms<RegisterOrImmediate>(table, "adr", FAMILY(adr));

  AddBranchPairs<0, Shape::kRegister, Shape::kImmediate>(table, FAMILY(cmp));
  AddBranchPairs<0, Shape::kImmediate>(table, FAMILY(cmn));
  AddBranchPairs<kSetsFlags, Shape::kImmediate>(table, FAMILY(subs));
  AddBranchPairs<kSetsFlags | kThreeOperands, Shape::kRegister, Shape::kImmediate>(table,
                                                                                   FAMILY(subs));
  AddBranchPairs<kSetsFlags, Shape::kImmediate>(table, FAMILY(add));
  AddBranchPairs<kSetsFlags | kThreeOperands, Shape::kImmediate>(table, FAMILY(add));
}

}  // namespace orvo
