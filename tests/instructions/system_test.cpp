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
    EXPECT_EQ(bench.registers().get(id), expected.get(id)) << "register id " << id;
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

// What the first tasks of an operating system do: a process stack, a float, a supervisor call.
TEST(SupervisorCall, OutOfAThreadWithAProcessStackAndAFloatComesBackThere) {
  constexpr unsigned kMainTop = TestMcu::kRamStart + 0x1000, kProcessTop = kMainTop + 0x1000;
  CoreBench bench;
  Registers& registers = bench.registers();
  bench.memory().set<false>(4 * 11, kCode + 0x101);  // the vector of SVCall
  registers.word(kMsp) = kMainTop;
  bench.r(0) = kProcessTop;
  bench.r(1) = 2;
  // msr psp, r0; msr control, r1; vadd.f32 s0, s0, s0; svc #0
  bench.Run({0xf380, 0x8809, 0xf381, 0x8814, 0xee30, 0x0a00, 0xdf00});
  EXPECT_EQ(registers.control(), control::kProcessStack | control::kFpContext);
  ASSERT_TRUE(bench.interrupts().ExecuteInterruptIfNeeded());
  EXPECT_EQ(registers.lr(), 0xffffffedu);
  EXPECT_EQ(registers.word(kPsp), kProcessTop - 32);
  EXPECT_EQ(registers.sp(), kMainTop);
  EXPECT_EQ(registers.control(), 0u);
  bench.Run({0x4770}, kCode + 0x100);  // bx lr
  EXPECT_EQ(bench.pc(), kCode + 14);
  EXPECT_EQ(registers.sp(), kProcessTop);
  EXPECT_EQ(registers.control(), control::kProcessStack);  // FPCA is gone
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
  bench.registers().set_xpsr(~0u);
  bench.Run({0xbf1d});
  EXPECT_EQ(GetItReg(), 0x1du);
  EXPECT_EQ(bench.pc(), kCode + 2);
}

}  // namespace
}  // namespace orvo
