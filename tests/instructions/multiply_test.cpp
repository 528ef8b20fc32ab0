// Multiplication and division, and what a division by 0 tells the system control block.

#include <csignal>

#include "instructions/instruction_case.h"

namespace orvo {
namespace {

// clang-format off
const InstructionCase kMultiplication[] = {
  {"mul r0,r1,r2",        0xfb01f002, {0, 0x10001, 0x10001},       "N-C-",  {0x20001},    "N-C-"},
  {"muls r0,r1,r0",       0x4348,     {~0u, 1},                    "-ZCV",  {~0u},        "N-CV"},
  {"mla r0,r1,r2,r3",     0xfb013002, {0, 3, 4, 5},                "-Z--",  {17},         "-Z--"},
  {"mls r0,r1,r2,r3",     0xfb013012, {0, 3, 4, 5},                "----",  {0xfffffff9}, "----"},
  {"smulbb r0,r1,r2",     0xfb11f002, {0, 0x1ffff, 0x20003},       "----",  {0xfffffffd}, "----"},
  {"smlabb r0,r1,r2,r3",  0xfb113002, {0, 0x20003, 0x40005, 100},  "----",  {115},        "----"},
  {"smlabt r0,r1,r2,r3",  0xfb113012, {0, 0x20003, 0x40005, 100},  "----",  {112},        "----"},
  {"smlatb r0,r1,r2,r3",  0xfb113022, {0, 0x20003, 0x40005, 100},  "----",  {110},        "----"},
  {"smlatt r0,r1,r2,r3",  0xfb113032, {0, 0x20003, 0x40005, 100},  "----",  {108},        "----"},
  // The chip would set Q.
  {"smlabb r0,r1,r2,r3",  0xfb113002, {0, 3, 5, 0x7fffffff},       "----",  {0x8000000e}, "----"},
  {"smuad r0,r1,r2",      0xfb21f002, {0, 0x20003, 0x40005},       "----",  {23},         "----"},
  {"smuad r0,r1,r2",      0xfb21f002, {0, 0x80008000, 0x80008000}, "----",  {0x80000000}, "----Q"},
  {"smuad r0,r1,r2",      0xfb21f002, {0, 1, 1},                   "----Q", {1},          "----Q"},
  {"smuadx r0,r1,r2",     0xfb21f012, {0, 0x20003, 0x40005},       "----",  {22},         "----"},
  {"smusd r0,r1,r2",      0xfb41f002, {0, 0x20003, 0x40005},       "----",  {7},          "----"},
  {"smusdx r0,r1,r2",     0xfb41f012, {0, 0x20003, 0x40005},       "----",  {2},          "----"},
  {"smlsd r0,r1,r2,r3",   0xfb413002, {0, 0x20003, 0x40005, 3},    "----",  {10},         "----"},
  {"smlsd r0,r1,r2,r3",   0xfb413002, {0, 3, 5, 0x7fffffff},       "----",  {0x8000000e}, "----Q"},
  {"smlsdx r0,r1,r2,r3",  0xfb413012, {0, 0x20003, 0x40005, 3},    "----",  {5},          "----"},
  {"smlald r0,r1,r2,r3",  0xfbc201c3, {~0u, 0, 0x20003, 0x40005},  "----",  {22, 1},      "----"},
  {"smlald r0,r1,r2,r3",  0xfbc201c3, {0, 0, 0xffff, 1},           "----",  {~0u, ~0u},   "----"},
  {"smlaldx r0,r1,r2,r3", 0xfbc201d3, {~0u, 0, 0x20003, 0x40005},  "----",  {21, 1},      "----"},
  {"udiv r0,r1,r2",       0xfbb1f0f2, {0, 0xfffffffe, 3},          "----",  {0x55555554}, "----"},
  {"sdiv r0,r1,r2",       0xfb91f0f2, {0, 0xfffffff9, 2},          "-Z--",  {0xfffffffd}, "-Z--"},
  {"sdiv r0,r1,r2",       0xfb91f0f2, {0, 0x80000000, 1},          "----",  {0x80000000}, "----"},
  {"udiv r0,r1,r2",       0xfbb1f0f2, {7, 7, 0},                   "N---",  {0},          "N---"},
  {"sdiv r0,r1,r2",       0xfb91f0f2, {7, 0x80000000, 0},          "----",  {0},          "----"},
};
// clang-format on

class Multiplication : public InstructionTest {};

TEST_P(Multiplication, GivesResultFlagsAndNextPc) { RunAndCompare(); }

INSTANTIATE_TEST_SUITE_P(Table, Multiplication, testing::ValuesIn(kMultiplication), CaseName);

// clang-format off
const InstructionCase kLongMultiplication[] = {
  {"umull r0,r1,r2,r3", 0xfba20103, {0, 0, ~0u, ~0u},      "----", {1, ~1u},          "----"},
  {"umull r0,r1,r0,r1", 0xfba00101, {0x80000000, 6},       "----", {0, 3},            "----"},
  {"smull r0,r1,r2,r3", 0xfb820103, {7, 7, ~0u, 5},        "----", {~4u, ~0u},        "----"},
  {"smull r0,r1,r2,r3", 0xfb820103, {0, 0, ~0u, ~0u},      "----", {1, 0},            "----"},
  {"umlal r0,r1,r2,r3", 0xfbe20103, {~0u, 0, 1, 1},        "----", {0, 1},            "----"},
  {"umlal r0,r1,r2,r3", 0xfbe20103, {0x80000000, 1, 0, 0}, "----", {0x80000000, 1},   "----"},
  {"smlal r0,r1,r2,r3", 0xfbc20103, {5, 1, 3, ~0u},        "----", {2, 1},            "----"},
  // The low word is sign-extended over the high word.
  {"smlal r0,r1,r2,r3", 0xfbc20103, {0x80000000, 0, 0, 0}, "----", {0x80000000, ~0u}, "----"},
};
// clang-format on

class LongMultiplication : public InstructionTest {};

TEST_P(LongMultiplication, GivesResultFlagsAndNextPc) { RunAndCompare(); }

INSTANTIATE_TEST_SUITE_P(Table, LongMultiplication, testing::ValuesIn(kLongMultiplication),
                         CaseName);

constexpr unsigned kCcr = 0xe000ed14;
constexpr unsigned kShcsr = 0xe000ed24;
constexpr unsigned kCfsr = 0xe000ed28;
constexpr unsigned kDiv0Trap = 1u << 4;
constexpr unsigned kUsageFaultEnable = 1u << 18;
constexpr unsigned kInvPc = 1u << 18;
constexpr unsigned kDivByZero = 1u << 25;

// udiv and sdiv r0, r1, r2.
class Division : public testing::TestWithParam<Code> {
 protected:
  CoreBench bench;
};

TEST_P(Division, ByZeroWithoutTrapIsNoFault) {
  bench.memory().set<false>(kShcsr, kUsageFaultEnable);
  bench.r(1) = 7;
  bench.Run(GetParam());
  EXPECT_FALSE(bench.interrupts().IsPending(kUsageFault));
  EXPECT_EQ(bench.memory().get<false>(kCfsr), 0u);
}

TEST_P(Division, ByZeroWithTrapIsAUsageFaultBehindTheInstruction) {
  bench.memory().set<false>(kShcsr, kUsageFaultEnable);
  bench.memory().set<false>(kCcr, bench.memory().get<false>(kCcr) | kDiv0Trap);
  bench.memory().set<false>(kCfsr, kInvPc);
  bench.r(0) = bench.r(1) = 7;
  bench.Run(GetParam());
  EXPECT_TRUE(bench.interrupts().IsPending(kUsageFault));
  EXPECT_EQ(bench.memory().get<false>(kCfsr), kInvPc | kDivByZero);
  EXPECT_EQ(bench.r(0), 0u);
  EXPECT_EQ(bench.pc(), CoreBench::kCodeAddress + 4);
}

TEST_P(Division, ByOtherThanZeroDoesNotTrap) {
  bench.memory().set<false>(kCcr, bench.memory().get<false>(kCcr) | kDiv0Trap);
  bench.r(1) = 7;
  bench.r(2) = 2;
  bench.Run(GetParam());
  EXPECT_EQ(bench.r(0), 3u);
  EXPECT_EQ(bench.memory().get<false>(kCfsr), 0u);
}

INSTANTIATE_TEST_SUITE_P(Table, Division,
                         testing::Values(Code{0xfbb1, 0xf0f2}, Code{0xfb91, 0xf0f2}));

TEST(DivisionDeathTest, OfTheMostNegativeWordByMinusOneEndsTheProcess) {
  CoreBench bench;
  bench.r(1) = 0x80000000;
  bench.r(2) = ~0u;
  EXPECT_EXIT(
      {
        std::signal(SIGFPE, SIG_DFL);  // a sanitiser has a handler of its own
        bench.Run({0xfb91, 0xf0f2});   // sdiv r0, r1, r2
      },
      testing::KilledBySignal(SIGFPE), "");
}

}  // namespace
}  // namespace orvo
