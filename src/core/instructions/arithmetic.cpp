// Addition, subtraction and comparison. Source: ARMv7-M ARM, A7.7.
// The flags of all of them come from AddWithCarry; carry-ins are sampled before the operands are
// read, so that a shifter's update of C does not reach them.

#include "core/instruction_table.h"

namespace orvo {
namespace {

// ADD{S} Rd, Rn, <operand>; ADDW      ARMv7-M ARM A7.7.3, A7.7.4
template <Form f>
void add() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const Sum sum = AddWithCarry(a, Second<f>(), 0);
  if constexpr (f.Has(kSetsFlags)) SetFlagsCVNZ(sum);
  WriteAndAdvance<f>(sum.value);
}

// SUB{S} Rd, Rn, <operand>; SUBW      ARMv7-M ARM A7.7.172, A7.7.174
template <Form f>
void subs() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const Sum sum = AddWithCarry(a, ~Second<f>(), 1);
  if constexpr (f.Has(kSetsFlags)) SetFlagsCVNZ(sum);
  WriteAndAdvance<f>(sum.value);
}

// RSB{S} Rd, Rn, <operand>            ARMv7-M ARM A7.7.117, A7.7.118
template <Form f>
void rsbs() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const Sum sum = AddWithCarry(Second<f>(), ~a, 1);
  if constexpr (f.Has(kSetsFlags)) SetFlagsCVNZ(sum);
  WriteAndAdvance<f>(sum.value);
}

// ADC{S} Rd, Rn, <operand>            ARMv7-M ARM A7.7.1, A7.7.2
template <Form f>
void adc() {
  if (SkippedByCondition<f>()) return;
  const unsigned carry = CarryFlag();
  const unsigned a = First<f>();
  const Sum sum = AddWithCarry(a, Second<f>(), carry);
  if constexpr (f.Has(kSetsFlags)) SetFlagsCVNZ(sum);
  WriteAndAdvance<f>(sum.value);
}

// SBC{S} Rd, Rn, <operand>            ARMv7-M ARM A7.7.123, A7.7.124
template <Form f>
void sbc() {
  if (SkippedByCondition<f>()) return;
  const unsigned carry = CarryFlag();
  const unsigned a = First<f>();
  const Sum sum = AddWithCarry(a, ~Second<f>(), carry);
  if constexpr (f.Has(kSetsFlags)) SetFlagsCVNZ(sum);
  WriteAndAdvance<f>(sum.value);
}

// CMP Rn, <operand>                   ARMv7-M ARM A7.7.28, A7.7.29
template <Form f>
void cmp() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  SetFlagsCVNZ(AddWithCarry(a, ~Second<f>(), 1));
  Advance<f>();
}

// CMN Rn, <operand>                   ARMv7-M ARM A7.7.26, A7.7.27
template <Form f>
void cmn() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  SetFlagsCVNZ(AddWithCarry(a, Second<f>(), 0));
  Advance<f>();
}

// ADR Rd, <label>                     ARMv7-M ARM A7.7.7
template <Form f>
void adr() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(((registers_->pc() + 4) & ~3u) + Second<f>());
}

}  // namespace

void AddArithmetic(InstructionTable& table) {
  AddForms<DataShapes>(table, "add", FAMILY(add));
  AddForms<DataShapes, kSetsFlags>(table, "adds", FAMILY(add));
  AddThreeOperandForms<RegisterOrImmediate>(table, "addw", FAMILY(add));
  AddForms<DataShapes>(table, "sub", FAMILY(subs));
  AddForms<DataShapes, kSetsFlags>(table, "subs", FAMILY(subs));
  AddThreeOperandForms<RegisterOrImmediate>(table, "subw", FAMILY(subs));
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
}

}  // namespace orvo
