// What a division by 0 tells the system control block, and the one division that the host traps.

#include <csignal>

#include "support/core_bench.h"

namespace orvo {
namespace {

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
