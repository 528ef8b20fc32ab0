// Supervisor calls, breakpoints, events, hints and the IT instruction.

#include <gtest/gtest.h>

#include "core/it_state.h"
#include "support/core_bench.h"
#include "support/tick_recorder.h"

namespace orvo {
namespace {

constexpr unsigned kCode = CoreBench::kCodeAddress;
constexpr unsigned kScr = 0xe000ed10;
constexpr unsigned kSevOnPend = 1u << 4;

// Registers of a chip that has executed nothing but the code.
struct PassCase {
  const char* name;
  Code code;
};

std::ostream& operator<<(std::ostream& out, const PassCase& c) { return out << c.name; }

class Pass : public testing::TestWithParam<PassCase> {};

TEST_P(Pass, MovesPcAndNothingElse) {
  CoreBench bench;
  Registers expected = bench.registers();
  expected.pc() = kCode + 2 * static_cast<unsigned>(GetParam().code.size());
  const unsigned long tick = bench.mcu().clock().TickCount();
  bench.Run(GetParam().code);
  for (unsigned id = 0; id < kRegisterCount; ++id) {
    EXPECT_EQ(bench.registers().word(id), expected.word(id)) << "register id " << id;
  }
  EXPECT_TRUE(*bench.interrupts().pending_empty());
  EXPECT_EQ(bench.mcu().clock().TickCount(), tick);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, Pass, testing::Values(
    PassCase{"wfi",            {0xbf30}},  // does not wait
    PassCase{"wfi_wide",       {0xf3af, 0x8003}},
    PassCase{"dsb",            {0xf3bf, 0x8f4f}},
    PassCase{"dmb",            {0xf3bf, 0x8f5f}},
    PassCase{"isb",            {0xf3bf, 0x8f6f}},
    PassCase{"nop",            {0xbf00}},
    PassCase{"nop_wide",       {0xf3af, 0x8000}},
    PassCase{"reserved_hint",  {0xbf50}},
    PassCase{"wide_hint",      {0xf3af, 0x8005}},
    PassCase{"pld",            {0xf891, 0xf000}},
    PassCase{"clrex",          {0xf3bf, 0x8f2f}},
    PassCase{"sev",            {0xbf40}},
    PassCase{"it_eq_svc",      {0xbf08, 0xdf03}}),
    [](const auto& row) { return row.param.name; });
// clang-format on

TEST(SupervisorCall, PendsSvcAndMovesOn) {
  CoreBench bench;
  bench.Run({0xdf03});
  EXPECT_TRUE(bench.interrupts().IsPending(kSvCall));
  EXPECT_EQ(bench.pc(), kCode + 2);
}

TEST(Undefined, RaisesUsageFaultAndMovesOn) {
  // udf #1; udf #0xfe, which has a name of its own; udf.w #3
  for (const Code& code : {Code{0xde01}, Code{0xdefe}, Code{0xf7f0, 0xa003}}) {
    CoreBench bench;
    bench.Run(code);
    EXPECT_TRUE(bench.interrupts().IsPending(kHardFault));  // UsageFault is not enabled
    EXPECT_EQ(bench.pc(), kCode + 2 * code.size());
  }
}

TEST(Undefined, PatternThatIsNoInstructionStaysWhereItIs) {
  CoreBench bench;
  bench.Load({0xf83f, 0xf000});
  bench.Step();
  EXPECT_TRUE(bench.interrupts().IsPending(kHardFault));
  EXPECT_EQ(bench.pc(), kCode);
}

TEST(Breakpoint, AsksForAPauseAndMovesOn) {
  CoreBench bench;
  bench.Run({0xbe07});
  EXPECT_TRUE(bench.mcu().IsPauseState());
  EXPECT_EQ(bench.pc(), kCode + 2);
}

TEST(Events, WaitConsumesALatchedEventAtOnce) {
  CoreBench bench;
  bench.mcu().SetEventHappened(true);
  const unsigned long tick = bench.mcu().clock().TickCount();
  bench.Run({0xbf20});  // wfe
  EXPECT_EQ(bench.mcu().clock().TickCount(), tick);
  EXPECT_EQ(bench.pc(), kCode + 2);
}

TEST(Events, WaitSleepsUntilTheTickOfTheEventAndLeavesItLatched) {
  CoreBench bench;
  CallLog log;
  TickRecorder wake("wake", &log, [&](unsigned long) {
    bench.mcu().SetEventHappened(true);
    return 0ul;
  });
  const unsigned long start = bench.mcu().clock().TickCount();
  bench.mcu().clock().AttachToTick(start + 100, &wake, false);
  bench.Run({0xbf20});
  EXPECT_EQ(bench.mcu().clock().TickCount(), start + 100);
  bench.Run({0xbf20});
  EXPECT_EQ(bench.mcu().clock().TickCount(), start + 100);
}

// SEV latches the event only with SCR.SEVONPEND.
TEST(Events, SendNeedsSevOnPend) {
  CoreBench bench;
  bench.memory().set<false>(kScr, kSevOnPend);
  bench.Run({0xbf40, 0xbf20});  // sev; wfe
  EXPECT_EQ(bench.mcu().clock().TickCount(), 0ul);
  EXPECT_EQ(bench.pc(), kCode + 4);
}

TEST(ChangeProcessorState, ReachesPrimaskOnly) {
  CoreBench bench;
  // cpsid i, cpsie i, cpsid f, cpsie f
  for (const auto& [code, primask] :
       {std::pair<unsigned short, unsigned>{0xb672, 1}, {0xb662, 0}, {0xb671, 1}, {0xb661, 0}}) {
    bench.Run({code});
    EXPECT_EQ(bench.registers().word(kPrimask), primask) << std::hex << code;
    EXPECT_EQ(bench.registers().word(kFaultmask), 0u);
  }
}

TEST(It, TakesTheLowByteOfItsEncoding) {
  CoreBench bench;
  bench.registers().xpsr() = ~0u;
  bench.Run({0xbf1d});
  EXPECT_EQ(GetItReg(), 0x1du);
  EXPECT_EQ(bench.pc(), kCode + 2);
}

}  // namespace
}  // namespace orvo
