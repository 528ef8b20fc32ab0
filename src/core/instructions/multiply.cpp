// Multiplication and division. Source: ARMv7-M ARM, A7.7, under the headings that stand beside the
// assembly. RdLo is operand 0 and RdHi operand 1 of the long forms.

#include <climits>
#include <csignal>

#include "core/instruction_table.h"
#include "memory/memory.h"
#include "time/interrupts.h"

namespace orvo {
namespace {

constexpr unsigned kCcr = 0xe000ed14;
constexpr unsigned kCcrDiv0Trap = 1u << 4;  // DIV_0_TRP
constexpr unsigned kCfsr = 0xe000ed28;
constexpr unsigned kCfsrDivByZero = 1u << 25;

// Operand N of a form with four registers.
template <unsigned N, Form f>
unsigned Op() {
  if constexpr (f.shape == Shape::kAny) {
    return get_op<N, kValue>();
  } else {
    const my_insn_t& insn = CurrentInstruction();
    return *(N == 0 ? insn.rd : N == 1 ? insn.rn : N == 2 ? insn.rm : insn.ra);
  }
}

// The word pair RdHi:RdLo.
template <Form f>
unsigned long Accumulator() {
  return static_cast<unsigned long>(Op<1, f>()) << 32 | Op<0, f>();
}

template <Form f>
void WriteLongAndAdvance(unsigned long value) {
  const unsigned high = static_cast<unsigned>(value >> 32);
  WriteResult<f>(static_cast<unsigned>(value));
  if constexpr (f.shape == Shape::kAny) {
    set_reg<1>(high);
  } else {
    *CurrentInstruction().rn = high;
  }
  Advance<f>();
}

unsigned long SignExtended(unsigned value) {
  return static_cast<unsigned long>(static_cast<long>(static_cast<int>(value)));
}

long Low(unsigned value) { return static_cast<short>(value); }
long High(unsigned value) { return static_cast<short>(value >> 16); }

unsigned switchHalfWords(unsigned value) { return value << 16 | value >> 16; }

// The second factor of a dual multiplication, its halves swapped for the x forms.
template <Form f>
unsigned SecondFactor(unsigned value) {
  return f.Has(kSwapHalves) ? switchHalfWords(value) : value;
}

// Q is sticky: set by a sum that doesn't fit 32 bits, never cleared.
void UpdateStickyQ(long sum) {
  if (sum != static_cast<int>(sum)) updateCPSROnlyQ(true);
}

// MUL{S} Rd, Rn, Rm                   "MUL"
template <Form f>
void mul() {
  if (SkippedByCondition<f>()) return;
  const unsigned product = First<f>() * Second<f>();
  if constexpr (f.Has(kSetsFlags)) updateCPSROnlyNZ(product);
  WriteAndAdvance<f>(product);
}

// MLA Rd, Rn, Rm, Ra                  "MLA"
template <Form f>
void mla_4() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(Op<1, f>() * Op<2, f>() + Op<3, f>());
}

// MLS Rd, Rn, Rm, Ra                  "MLS"
template <Form f>
void mls_4() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(Op<3, f>() - Op<1, f>() * Op<2, f>());
}

// UMULL RdLo, RdHi, Rn, Rm            "UMULL"
template <Form f>
void umull_4() {
  if (SkippedByCondition<f>()) return;
  WriteLongAndAdvance<f>(static_cast<unsigned long>(Op<2, f>()) * Op<3, f>());
}

// SMULL RdLo, RdHi, Rn, Rm            "SMULL"
template <Form f>
void smull_4() {
  if (SkippedByCondition<f>()) return;
  WriteLongAndAdvance<f>(SignExtended(Op<2, f>()) * SignExtended(Op<3, f>()));
}

// UMLAL RdLo, RdHi, Rn, Rm            "UMLAL"
template <Form f>
void umlal_4() {
  if (SkippedByCondition<f>()) return;
  const unsigned long product = static_cast<unsigned long>(Op<2, f>()) * Op<3, f>();
  WriteLongAndAdvance<f>(Accumulator<f>() + product);
}

// SMLAL RdLo, RdHi, Rn, Rm            "SMLAL"
// Deliberate: the low word of the accumulator is sign-extended, so that one with bit 31 set turns
// the high word into all ones before the addition.
template <Form f>
void smlal_4() {
  if (SkippedByCondition<f>()) return;
  const unsigned long accumulator =
      static_cast<unsigned long>(Op<1, f>()) << 32 | SignExtended(Op<0, f>());
  const unsigned long product = SignExtended(Op<2, f>()) * SignExtended(Op<3, f>());
  WriteLongAndAdvance<f>(accumulator + product);
}

// SMULBB Rd, Rn, Rm                   "SMULBB, SMULBT, SMULTB, SMULTT"
template <Form f>
void smulbb() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(static_cast<unsigned>(Low(First<f>()) * Low(Second<f>())));
}

// SMLA<x><y> Rd, Rn, Rm, Ra           "SMLABB, SMLABT, SMLATB, SMLATT"
// Deliberate: an overflow of the addition doesn't set Q.
template <bool n_top, bool m_top, Form f>
void smlaxy() {
  if (SkippedByCondition<f>()) return;
  const long n = n_top ? High(Op<1, f>()) : Low(Op<1, f>());
  const long m = m_top ? High(Op<2, f>()) : Low(Op<2, f>());
  WriteAndAdvance<f>(static_cast<unsigned>(n * m) + Op<3, f>());
}

template <bool n_top, bool m_top>
constexpr auto kSmla = []<Form form>() -> Function { return &smlaxy<n_top, m_top, form>; };

// SMUAD{X} Rd, Rn, Rm                 "SMUAD, SMUADX"
template <Form f>
void smuad() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const unsigned b = SecondFactor<f>(Second<f>());
  const long sum = Low(a) * Low(b) + High(a) * High(b);
  UpdateStickyQ(sum);
  WriteAndAdvance<f>(static_cast<unsigned>(sum));
}

// SMUSD{X} Rd, Rn, Rm                 "SMUSD, SMUSDX"
template <Form f>
void smusd() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const unsigned b = SecondFactor<f>(Second<f>());
  WriteAndAdvance<f>(static_cast<unsigned>(Low(a) * Low(b) - High(a) * High(b)));
}

// SMLSD{X} Rd, Rn, Rm, Ra             "SMLSD, SMLSDX"
template <Form f>
void smlsd() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = Op<1, f>();
  const unsigned b = SecondFactor<f>(Op<2, f>());
  const long sum = Low(a) * Low(b) - High(a) * High(b) + static_cast<int>(Op<3, f>());
  UpdateStickyQ(sum);
  WriteAndAdvance<f>(static_cast<unsigned>(sum));
}

// SMLALD{X} RdLo, RdHi, Rn, Rm        "SMLALD, SMLALDX"
template <Form f>
void smlald() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = Op<2, f>();
  const unsigned b = SecondFactor<f>(Op<3, f>());
  const long sum = Low(a) * Low(b) + High(a) * High(b);
  WriteLongAndAdvance<f>(Accumulator<f>() + static_cast<unsigned long>(sum));
}

// UsageFault, if CCR asks for one     ARMv7-M ARM B3.2.8, B3.2.15
void divByZero() {
  memory_->set<false>(kCfsr, memory_->get<false>(kCfsr) | kCfsrDivByZero);
  interrupts_->RaiseInterrupt(kUsageFault, true);
}

// The result is 0 with and without the trap, and pc moves on.
template <Form f>
void FinishDivisionByZero() {
  WriteAndAdvance<f>(0);
  if ((memory_->get<false>(kCcr) & kCcrDiv0Trap) != 0) divByZero();
}

// UDIV Rd, Rn, Rm                     "UDIV"
template <Form f>
void udiv_3() {
  if (SkippedByCondition<f>()) return;
  const unsigned dividend = First<f>();
  const unsigned divisor = Second<f>();
  if (divisor == 0) return FinishDivisionByZero<f>();
  WriteAndAdvance<f>(dividend / divisor);
}

// SDIV Rd, Rn, Rm                     "SDIV"
// Deliberate: INT_MIN / -1 ends the process as a division trap of the host, where the chip gives
// INT_MIN.
template <Form f>
void sdiv_3() {
  if (SkippedByCondition<f>()) return;
  const int dividend = static_cast<int>(First<f>());
  const int divisor = static_cast<int>(Second<f>());
  if (divisor == 0) return FinishDivisionByZero<f>();
  if (dividend == INT_MIN && divisor == -1) {
    std::raise(SIGFPE);
    return WriteAndAdvance<f>(static_cast<unsigned>(INT_MIN));  // if SIGFPE is ignored
  }
  WriteAndAdvance<f>(static_cast<unsigned>(dividend / divisor));
}

}  // namespace

void AddMultiplications(InstructionTable& table) {
  // clang-format off
  AddThreeOperandForms<RegisterShape>             (table, "mul",     FAMILY(mul));
  AddThreeOperandForms<RegisterShape, kSetsFlags> (table, "muls",    FAMILY(mul));
  AddThreeOperandForms<RegisterShape>             (table, "smulbb",  FAMILY(smulbb));
  AddThreeOperandForms<RegisterShape>             (table, "smuad",   FAMILY(smuad));
  AddThreeOperandForms<RegisterShape, kSwapHalves>(table, "smuadx",  FAMILY(smuad));
  AddThreeOperandForms<RegisterShape>             (table, "smusd",   FAMILY(smusd));
  AddThreeOperandForms<RegisterShape, kSwapHalves>(table, "smusdx",  FAMILY(smusd));
  AddThreeOperandForms<RegisterShape>             (table, "udiv",    FAMILY(udiv_3));
  AddThreeOperandForms<RegisterShape>             (table, "sdiv",    FAMILY(sdiv_3));
  AddFourOperandForms<RegisterShape>              (table, "mla",     FAMILY(mla_4));
  AddFourOperandForms<RegisterShape>              (table, "mls",     FAMILY(mls_4));
  AddFourOperandForms<RegisterShape>              (table, "umull",   FAMILY(umull_4));
  AddFourOperandForms<RegisterShape>              (table, "smull",   FAMILY(smull_4));
  AddFourOperandForms<RegisterShape>              (table, "umlal",   FAMILY(umlal_4));
  AddFourOperandForms<RegisterShape>              (table, "smlal",   FAMILY(smlal_4));
  AddFourOperandForms<RegisterShape>              (table, "smlsd",   FAMILY(smlsd));
  AddFourOperandForms<RegisterShape, kSwapHalves> (table, "smlsdx",  FAMILY(smlsd));
  AddFourOperandForms<RegisterShape>              (table, "smlald",  FAMILY(smlald));
  AddFourOperandForms<RegisterShape, kSwapHalves> (table, "smlaldx", FAMILY(smlald));
  AddFourOperandForms<RegisterShape>              (table, "smlabb",  kSmla<false, false>);
  AddFourOperandForms<RegisterShape>              (table, "smlabt",  kSmla<false, true>);
  AddFourOperandForms<RegisterShape>              (table, "smlatb",  kSmla<true, false>);
  AddFourOperandForms<RegisterShape>              (table, "smlatt",  kSmla<true, true>);
  // clang-format on
}

}  // namespace orvo
