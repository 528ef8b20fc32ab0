#include "core/shifter.h"

#include "core/flags.h"
#include "core_state.h"

namespace orvo {
namespace {

enum Carry { kUnchanged, kClear, kSet };

struct ShiftCase {
  const char* name;
  ShiftFunction function;
  unsigned value;
  unsigned amount;
  unsigned result;
  Carry carry;
};

std::ostream& operator<<(std::ostream& out, const ShiftCase& c) { return out << c.name; }

class Shifter : public CoreState, public testing::WithParamInterface<ShiftCase> {};

TEST_P(Shifter, GivesResultAndCarry) {
  const ShiftCase& c = GetParam();
  for (const unsigned before : {0u, xpsr::kC}) {
    bool carry_out = false;
    instruction.shifter_keeps_carry = false;
    registers.set_xpsr(before);
    EXPECT_EQ(c.function(c.value, c.amount, &carry_out), c.result);
    const unsigned wanted = c.carry == kUnchanged ? before : c.carry == kSet ? xpsr::kC : 0;
    EXPECT_EQ(registers.xpsr(), wanted);

    instruction.shifter_keeps_carry = true;
    registers.set_xpsr(before);
    EXPECT_EQ(c.function(c.value, c.amount, &carry_out), c.result);
    EXPECT_EQ(registers.xpsr(), before);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Amounts, Shifter,
    testing::Values(ShiftCase{"none", sft_none, 0x80000001, 7, 0x80000001, kUnchanged},
                    ShiftCase{"lsl_0", sft_lsl, 0x80000001, 0, 0x80000001, kUnchanged},
                    ShiftCase{"lsl_1", sft_lsl, 0x80000001, 1, 0x00000002, kSet},
                    ShiftCase{"lsl_31", sft_lsl, 0x00000003, 31, 0x80000000, kSet},
                    ShiftCase{"lsl_32", sft_lsl, 0x80000001, 32, 0, kSet},
                    ShiftCase{"lsl_33", sft_lsl, 0xffffffff, 33, 0, kClear},
                    ShiftCase{"lsl_256", sft_lsl, 0xffffffff, 256, 0xffffffff, kUnchanged},
                    ShiftCase{"lsr_1", sft_lsr, 0x80000001, 1, 0x40000000, kSet},
                    ShiftCase{"lsr_32", sft_lsr, 0x80000001, 32, 0, kSet},
                    ShiftCase{"lsr_33", sft_lsr, 0xffffffff, 33, 0, kClear},
                    ShiftCase{"asr_1", sft_asr, 0x80000001, 1, 0xc0000000, kSet},
                    ShiftCase{"asr_31", sft_asr, 0x80000000, 31, 0xffffffff, kClear},
                    ShiftCase{"asr_32", sft_asr, 0x80000000, 32, 0xffffffff, kUnchanged},
                    ShiftCase{"asr_200", sft_asr, 0x7fffffff, 200, 0, kUnchanged},
                    ShiftCase{"ror_0", sft_ror, 0x80000001, 0, 0x80000001, kUnchanged},
                    ShiftCase{"ror_1", sft_ror, 0x80000001, 1, 0xc0000000, kSet},
                    ShiftCase{"ror_32", sft_ror, 0x80000001, 32, 0x80000001, kSet},
                    ShiftCase{"ror_36", sft_ror, 0x00000008, 36, 0x80000000, kSet}),
    [](const auto& suite) { return std::string(suite.param.name); });

TEST_F(CoreState, RrxWorksOnItsSecondArgument) {
  bool carry = false;
  instruction.shifter_keeps_carry = true;
  registers.set_xpsr(xpsr::kC);
  EXPECT_EQ(sft_rrx(0x55555555, 0x00000003, &carry), 0x80000001u);
  EXPECT_TRUE(carry);
  EXPECT_EQ(registers.xpsr(), xpsr::kC);
}

TEST_F(CoreState, RrxThatSetsCarryUsesTheNewCarry) {
  bool carry = false;
  instruction.shifter_keeps_carry = false;
  registers.set_xpsr(xpsr::kC);
  EXPECT_EQ(sft_rrx(0, 0x00000002, &carry), 0x00000001u);
  EXPECT_EQ(registers.xpsr(), 0u);
}

TEST_F(CoreState, OperandWrittenWithRrxYieldsOnlyTheOldCarry) {
  instruction.shifter_keeps_carry = true;
  registers.set_xpsr(xpsr::kC);
  EXPECT_EQ(Shifted(0x12345678, ShiftType::kRrx, 0), 0x80000000u);
}

struct SumCase {
  unsigned a, b, carry_in, value;
  bool carry, overflow;
};

TEST(AddWithCarry, FollowsTheManual) {
  constexpr SumCase kCases[] = {
      {1, 2, 0, 3, false, false},
      {0xffffffff, 1, 0, 0, true, false},
      {0x7fffffff, 1, 0, 0x80000000, false, true},
      {0x80000000, 0x80000000, 0, 0, true, true},
      {0xffffffff, 0xffffffff, 1, 0xffffffff, true, false},
      {5, ~5u, 1, 0, true, false},
      {0, ~1u, 1, 0xffffffff, false, false},
      {0x80000000, ~1u, 1, 0x7fffffff, true, true},
  };
  for (const SumCase& c : kCases) {
    const Sum sum = AddWithCarry(c.a, c.b, c.carry_in);
    EXPECT_EQ(sum.value, c.value) << c.a << "+" << c.b;
    EXPECT_EQ(sum.carry, c.carry) << c.a << "+" << c.b;
    EXPECT_EQ(sum.overflow, c.overflow) << c.a << "+" << c.b;
  }
}

TEST_F(CoreState, ImmediateCarryComesFromARotatedConstantOnly) {
  registers.set_xpsr(xpsr::kC);
  updateCPSRFromImmOnlyC(0x0ff);  // plain byte
  EXPECT_EQ(registers.xpsr(), xpsr::kC);
  updateCPSRFromImmOnlyC(0x3ff);  // byte in every lane
  EXPECT_EQ(registers.xpsr(), xpsr::kC);
  updateCPSRFromImmOnlyC(0xf00);  // 0x80 turned right by 30: 0x00000200
  EXPECT_EQ(registers.xpsr(), 0u);
  updateCPSRFromImmOnlyC(0x400);  // 0x80 turned right by 8: 0x80000000
  EXPECT_EQ(registers.xpsr(), xpsr::kC);
}

}  // namespace
}  // namespace orvo
