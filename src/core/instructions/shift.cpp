// Shifts and rotations as instructions of their own. Source: ARMv7-M ARM, A7.7, "ASR", "LSL", "LSR"
// and "ROR", each "(immediate)" and "(register)", and "RRX".
// The shift functions themselves are in core/shifter.h.

#include "core/instruction_table.h"
#include "core/shifter.h"

namespace orvo {
namespace {

// These instructions take C themselves, after the write, so that the shifter leaves it alone.
template <ShiftType type>
ShiftedValue Apply(unsigned value, unsigned amount) {
  switch (type) {
    case ShiftType::kAsr: return Asr(value, amount);
    case ShiftType::kLsl: return Lsl(value, amount);
    case ShiftType::kLsr: return Lsr(value, amount);
    case ShiftType::kRor: return Ror(value, amount);
    default: return {CarryFlag() << 31 | amount >> 1, (amount & 1u) != 0};
  }
}

// ASR{S}, LSL{S}, LSR{S}, ROR{S} Rd, Rn, <Rm|#amount>; RRX{S} Rd, Rm
// rrx comes here with Rd as its source and Rm as its amount, which is the one that it rotates.
template <ShiftType type, Form f>
void shift() {
  if (SkippedBeforeResult<f>()) return;
  const unsigned value = First<f>();
  const unsigned amount = Second<f>();
  const ShiftedValue result = Apply<type>(value, amount);
  WriteSelected<f>(result.value);
  if constexpr (f.Has(kSetsFlags)) {
    // Deliberate: the amount is read again, after the write. A shift into its own amount register
    // tests the low byte of the result, and rrxs tests that of the rotated word.
    if ((Second<f>() & 0xff) != 0 && result.carry_counts) updateCPSROnlyC(result.carry);
    updateCPSROnlyNZ(result.value);
  }
  Advance<f>();
}

template <ShiftType type>
constexpr auto kFamily = []<Form form>() -> Function { return &shift<type, form>; };

constexpr auto kAsr = kFamily<ShiftType::kAsr>;
constexpr auto kLsl = kFamily<ShiftType::kLsl>;
constexpr auto kLsr = kFamily<ShiftType::kLsr>;
constexpr auto kRor = kFamily<ShiftType::kRor>;
constexpr auto kRrx = kFamily<ShiftType::kRrx>;

}  // namespace

void AddShifts(InstructionTable& table) {
  // clang-format off
  AddForms<RegisterOrImmediate>            (table, "asr",  kAsr);
  AddForms<RegisterOrImmediate, kSetsFlags>(table, "asrs", kAsr);
  AddForms<RegisterOrImmediate>            (table, "lsl",  kLsl);
  AddForms<RegisterOrImmediate, kSetsFlags>(table, "lsls", kLsl);
  AddThreeOperandForms<RegisterOrImmediate>(table, "lsr",  kLsr);
  AddForms<RegisterOrImmediate, kSetsFlags>(table, "lsrs", kLsr);
  AddForms<RegisterOrImmediate>            (table, "ror",  kRor);
  AddForms<RegisterOrImmediate, kSetsFlags>(table, "rors", kRor);
  AddForms<RegisterShape>                  (table, "rrx",  kRrx);
  AddForms<RegisterShape, kSetsFlags>      (table, "rrxs", kRrx);
  // clang-format on
  table.Add("lsr_cc_2", RegisterShape::Of<kConditional>(kLsr));
  // Deliberate: no mnemonic makes this key, so that an unconditional lsr of two operands stays
  // without a function.
  table.Add("lsr", RegisterShape::Of<0>(kLsr));
}

}  // namespace orvo
