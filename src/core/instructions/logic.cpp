// Moves, bitwise logic and its tests. Source: ARMv7-M ARM, A7.7, under the headings that stand
// beside the assembly.
// Which of them take C from an immediate is deliberately uneven: ands reads it off the encoding,
// tst, teq and mvns off the value, all others leave C alone.

#include "core/branch_pair.h"
#include "core/instruction_table.h"

namespace orvo {
namespace {

// Whether the last source is an immediate; decoding knows for all shapes but the general one.
template <Form f>
bool LastIsImmediate() {
  if constexpr (f.shape == Shape::kAny) {
    constexpr unsigned kLast = f.Has(kThreeOperands) ? 2 : 1;
    return CurrentInstruction().op_ptr[kLast]->type == OperandType::kImmediate;
  } else {
    return f.shape == Shape::kImmediate;
  }
}

// i:imm3:imm8 of a 32-bit encoding.
unsigned short Imm12OfEncoding() {
  const auto& bytes = CurrentInstruction().bytes;
  return static_cast<unsigned short>(((bytes[1] & 0xfcu) << 9 & 0x800u) |
                                     ((bytes[3] & 0xf0u) * 16 & 0x700u) | bytes[2]);
}

// Deliberate: only the value is looked at. An immediate of 255 or below never touches C, and of
// the larger ones those that repeat a byte do, although they are not rotated.
template <Form f>
void UpdateCarryFromLargeImmediate(unsigned value) {
  if (LastIsImmediate<f>() && value > 255) updateCPSROnlyC((value >> 31) != 0);
}

// MOV{S} Rd, <operand>; MOVW         "MOV (immediate)", "MOV (register)"
// Deliberate: movs with an immediate leaves C alone.
template <Form f>
void mov() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned result = Second<f>();
  if constexpr (f.Has(kSetsFlags)) updateCPSROnlyNZ(result);
  WriteSelectedAndAdvance<f>(result);
}

// MOVT Rd, #imm16                    "MOVT"
template <Form f>
void movt() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned low_half = First<f>() & 0xffffu;
  WriteSelectedAndAdvance<f>(low_half | Second<f>() << 16);
}

// MVN{S} Rd, <operand>               "MVN (immediate)", "MVN (register)"
template <Form f>
void mvn() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned b = Second<f>();
  if constexpr (f.Has(kSetsFlags)) {
    UpdateCarryFromLargeImmediate<f>(b);
    updateCPSROnlyNZ(~b);
  }
  WriteSelectedAndAdvance<f>(~b);
}

// AND{S} Rd, Rn, <operand>           "AND (immediate)", "AND (register)"
// Deliberate: of the logic instructions this is the only one that takes C from an immediate, and
// only with three operands.
template <Form f>
void and_3() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned a = First<f>();
  const unsigned result = a & Second<f>();
  if constexpr (f.Has(kSetsFlags)) {
    updateCPSROnlyNZ(result);
    if constexpr (f.Has(kThreeOperands)) {
      if (LastIsImmediate<f>()) updateCPSRFromImmOnlyC(Imm12OfEncoding());
    }
  }
  WriteSelectedAndAdvance<f>(result);
}

// ORR{S} Rd, Rn, <operand>           "ORR (immediate)", "ORR (register)"
template <Form f>
void orrs() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned a = First<f>();
  const unsigned result = a | Second<f>();
  if constexpr (f.Has(kSetsFlags)) updateCPSROnlyNZ(result);
  WriteSelectedAndAdvance<f>(result);
}

// ORN{S} Rd, Rn, <operand>           "ORN (immediate)", "ORN (register)"
template <Form f>
void orn() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned a = First<f>();
  const unsigned result = a | ~Second<f>();
  if constexpr (f.Has(kSetsFlags)) updateCPSROnlyNZ(result);
  WriteSelectedAndAdvance<f>(result);
}

// EOR{S} Rd, Rn, <operand>           "EOR (immediate)", "EOR (register)"
template <Form f>
void eors() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned a = First<f>();
  const unsigned result = a ^ Second<f>();
  if constexpr (f.Has(kSetsFlags)) updateCPSROnlyNZ(result);
  WriteSelectedAndAdvance<f>(result);
}

// BIC{S} Rd, Rn, <operand>           "BIC (immediate)", "BIC (register)"
template <Form f>
void bic() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned a = First<f>();
  const unsigned result = a & ~Second<f>();
  if constexpr (f.Has(kSetsFlags)) updateCPSROnlyNZ(result);
  WriteSelectedAndAdvance<f>(result);
}

// TST Rn, <operand>                  "TST (immediate)", "TST (register)"
template <Form f>
void tst() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const unsigned b = Second<f>();
  updateCPSROnlyNZ(a & b);
  UpdateCarryFromLargeImmediate<f>(b);
  Advance<f>();
}

// TEQ Rn, <operand>                  "TEQ (immediate)", "TEQ (register)"
template <Form f>
void teq() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const unsigned b = Second<f>();
  updateCPSROnlyNZ(a ^ b);
  UpdateCarryFromLargeImmediate<f>(b);
  Advance<f>();
}

}  // namespace

// The flag-setting forms take C from a shifted operand: those shapes stay general.
void AddLogic(InstructionTable& table) {
  // clang-format off
  AddTwoOperandForms<RegisterOrImmediate>            (table, "mov",  FAMILY(mov));
  AddTwoOperandForms<RegisterOrImmediate, kSetsFlags>(table, "movs", FAMILY(mov));
  AddTwoOperandForms<ImmediateShape>                 (table, "movw", FAMILY(mov));
  AddTwoOperandForms<ImmediateShape>                 (table, "movt", FAMILY(movt));
  AddTwoOperandForms<DataShapes>                     (table, "mvn",  FAMILY(mvn));
  AddTwoOperandForms<RegisterOrImmediate, kSetsFlags>(table, "mvns", FAMILY(mvn));
  AddForms<DataShapes>                               (table, "and",  FAMILY(and_3));
  AddForms<RegisterOrImmediate, kSetsFlags>          (table, "ands", FAMILY(and_3));
  AddForms<DataShapes>                               (table, "orr",  FAMILY(orrs));
  AddForms<RegisterOrImmediate, kSetsFlags>          (table, "orrs", FAMILY(orrs));
  AddForms<DataShapes>                               (table, "orn",  FAMILY(orn));
  AddForms<RegisterOrImmediate, kSetsFlags>          (table, "orns", FAMILY(orn));
  AddForms<DataShapes>                               (table, "eor",  FAMILY(eors));
  AddForms<RegisterOrImmediate, kSetsFlags>          (table, "eors", FAMILY(eors));
  AddForms<DataShapes>                               (table, "bic",  FAMILY(bic));
  AddForms<RegisterOrImmediate, kSetsFlags>          (table, "bics", FAMILY(bic));
  AddTwoOperandForms<RegisterOrImmediate>            (table, "tst",  FAMILY(tst));
  AddTwoOperandForms<RegisterOrImmediate>            (table, "teq",  FAMILY(teq));
  // clang-format on

  AddBranchPairs<0, Shape::kRegister, Shape::kImmediate>(table, FAMILY(tst));
  AddBranchPairs<kSetsFlags | kThreeOperands, Shape::kRegister, Shape::kImmediate>(table,
                                                                                   FAMILY(and_3));
}

}  // namespace orvo
