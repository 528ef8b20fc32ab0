// Supervisor calls, events, hints, special registers and exclusive accesses.

#include <gtest/gtest.h>

#include "core/it_state.h"
#include "runner/errors.h"
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
    [](const auto& info) { return info.param.name; });
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

// --- Special registers ---------------------------------------------------------------------------

struct WriteCase {
  const char* name;
  unsigned sysm;  // low byte of the second halfword
  unsigned id;    // of the register that takes the value
  unsigned before;
  unsigned value;
  unsigned after;
  unsigned control = 0;
  mcu_mode_t mode = kThreadMode;
};

std::ostream& operator<<(std::ostream& out, const WriteCase& c) { return out << c.name; }

class SpecialRegisterWrite : public testing::TestWithParam<WriteCase> {};

TEST_P(SpecialRegisterWrite, TakesItsBits) {
  const WriteCase& row = GetParam();
  CoreBench bench;
  bench.registers().control() = row.control;
  bench.registers().word(row.id) = row.before;
  bench.r(1) = row.value;
  Interrupts::mode_ = row.mode;
  bench.Run({0xf381, static_cast<unsigned short>(0x8800 | row.sysm)});  // msr <register>, r1
  Interrupts::mode_ = kThreadMode;
  EXPECT_EQ(bench.registers().word(row.id), row.after);
  EXPECT_EQ(bench.pc(), kCode + 4);
}

// clang-format off
constexpr unsigned kUnprivileged = control::kUnprivileged;
INSTANTIATE_TEST_SUITE_P(Table, SpecialRegisterWrite, testing::Values(
    // GE and nothing else, although the name asks for the flags.
    WriteCase{"apsr_nzcvq",  0x00, kXpsr, 0x50000000, 0xafffffff, 0x500f0000},
    WriteCase{"apsr_clears", 0x00, kXpsr, 0x580f0000, 0,          0x58000000},
    WriteCase{"msp",         0x08, kMsp,      1, 0x20000003, 0x20000003},
    WriteCase{"psp",         0x09, kPsp,      1, 0x20000003, 0x20000003, kUnprivileged},
    WriteCase{"primask",     0x10, kPrimask,  0, 0xffffffff, 0xffffffff},
    WriteCase{"primask_unprivileged", 0x10, kPrimask, 0, 1,  1, kUnprivileged},
    WriteCase{"basepri",     0x11, kBasepri,  0xabcdef10, 0x12345620, 0xabcdef20},
    WriteCase{"basepri_unprivileged", 0x11, kBasepri, 0x10, 0x20, 0x10, kUnprivileged},
    WriteCase{"basepri_handler", 0x11, kBasepri, 0x10, 0x20, 0x20, kUnprivileged, kHandlerMode},
    WriteCase{"control",     0x14, kControl,  0, 0xff, 7},
    WriteCase{"control_clears", 0x14, kControl, 6, 0, 0, 6},
    WriteCase{"control_unprivileged", 0x14, kControl, 1, 0, 1, 1},
    WriteCase{"control_handler", 0x14, kControl, 1, 6, 4, 1, kHandlerMode},
    WriteCase{"control_handler_keeps_stack", 0x14, kControl, 2, 1, 3, 2, kHandlerMode}),
    [](const auto& info) { return info.param.name; });

struct ReadCase {
  const char* name;
  unsigned sysm;
  unsigned value;
  unsigned unprivileged_value;
};

std::ostream& operator<<(std::ostream& out, const ReadCase& c) { return out << c.name; }

class SpecialRegisterRead : public testing::TestWithParam<ReadCase> {};

INSTANTIATE_TEST_SUITE_P(Table, SpecialRegisterRead, testing::Values(
    ReadCase{"whole_xpsr", 0x00, 0x0f001122, 0x0f001122},
    ReadCase{"ipsr",       0x05, 0x22,       0},
    ReadCase{"msp",        0x08, 0x20000010, 0x20000010},
    ReadCase{"psp",        0x09, 0x20000020, 0},
    ReadCase{"primask",    0x10, 1,          0},
    ReadCase{"basepri",    0x11, 0x40,       0},
    ReadCase{"control",    0x14, 4,          5}),
    [](const auto& info) { return info.param.name; });
// clang-format on

TEST_P(SpecialRegisterRead, DependsOnPrivilege) {
  const ReadCase& row = GetParam();
  for (const unsigned unprivileged : {0u, kUnprivileged}) {
    CoreBench bench;
    Registers& registers = bench.registers();
    registers.xpsr() = 0x0f001122;
    registers.word(kMsp) = 0x20000010;
    registers.word(kPsp) = 0x20000020;
    registers.word(kPrimask) = 1;
    registers.word(kBasepri) = 0x40;
    registers.control() = control::kFpContext | unprivileged;
    bench.Run({0xf3ef, static_cast<unsigned short>(0x8000 | row.sysm)});  // mrs r0, <register>
    EXPECT_EQ(bench.r(0), unprivileged != 0 ? row.unprivileged_value : row.value);
  }
}

TEST(SpecialRegisters, ThatAreMissingEndTheRun) {
  const std::pair<Code, std::string> kMissing[] = {
      {{0xf381, 0x8803}, "Arm instructions: msr_2 unknown type: 266"},  // xpsr_nzcvq
      {{0xf381, 0x8c00}, "Arm instructions: msr_2 unknown type: 259"},  // apsr_nzcvqg
      {{0xf381, 0x8812}, "Arm instructions: msr_2 unknown type: 276"},  // basepri_max
      {{0xf381, 0x8813}, "Arm instructions: msr_2 unknown type: 277"},  // faultmask
      {{0xf3ef, 0x8003}, "Arm instructions: mrs unknown type: 266"},    // xpsr
      {{0xf3ef, 0x8012}, "Arm instructions: mrs unknown type: 276"},    // basepri_max
      {{0xf3ef, 0x8013}, "Arm instructions: mrs unknown type: 277"},    // faultmask
      {{0xeef0, 0x0a10}, "Arm instructions: mrs unknown type: 8"},      // vmrs r0, fpsid
  };
  for (const auto& [code, message] : kMissing) {
    CoreBench bench;
    try {
      bench.Run(code);
      FAIL() << "no error for: " << message;
    } catch (const OrvoError& error) {
      EXPECT_EQ(error.message(), message);
    }
  }
}

TEST(SpecialRegisters, FpscrKeepsItsImplementedBitsAndGivesFlags) {
  CoreBench bench;
  bench.r(0) = ~0u;
  bench.Run({0xeee1, 0x0a10});  // vmsr fpscr, r0
  EXPECT_EQ(bench.registers().fpscr(), 0xf7c0009fu);
  EXPECT_EQ(bench.registers().control(), control::kFpContext);

  bench.registers().control() = 0;
  bench.registers().fpscr() = 0x60000010;
  bench.SetFlags("N--VQ");
  bench.Run({0xeef1, 0xfa10});  // vmrs apsr_nzcv, fpscr
  EXPECT_EQ(bench.flags(), "-ZC-Q");
  EXPECT_EQ(bench.registers().control(), 0u);

  bench.Run({0xeef1, 0x0a10});  // vmrs r0, fpscr
  EXPECT_EQ(bench.r(0), 0x60000010u);
  EXPECT_EQ(bench.registers().control(), control::kFpContext);
}

// --- Exclusive accesses --------------------------------------------------------------------------

class Exclusive : public testing::Test {
 protected:
  static constexpr unsigned kPlace = TestMcu::kRamStart + 0x40;

  Exclusive() {
    bench.memory().set<false>(kPlace, 0x8899aabb);
    bench.r(0) = 5;
    bench.r(1) = kPlace;
    bench.r(2) = 99;
  }
  unsigned Place() { return bench.memory().get<false>(kPlace); }

  CoreBench bench;
};

TEST_F(Exclusive, PairStoresAndReportsSuccessOnce) {
  bench.Run({0xe851, 0x3f00});  // ldrex r3, [r1]
  EXPECT_EQ(bench.r(3), 0x8899aabbu);
  bench.Run({0xe841, 0x0200});  // strex r2, r0, [r1]
  EXPECT_EQ(bench.r(2), 0u);
  EXPECT_EQ(Place(), 5u);
  bench.Run({0xe841, 0x0200});
  EXPECT_EQ(bench.r(2), 1u);
}

TEST_F(Exclusive, OffsetCounts) {
  bench.r(1) = kPlace - 4;
  bench.Run({0xe851, 0x3f01, 0xe841, 0x0201});  // ldrex r3, [r1, #4]; strex r2, r0, [r1, #4]
  EXPECT_EQ(bench.r(2), 0u);
  EXPECT_EQ(Place(), 5u);
}

TEST_F(Exclusive, StoreWithoutLoadOrAfterClrexFails) {
  bench.Run({0xe841, 0x0200});
  EXPECT_EQ(bench.r(2), 1u);
  bench.Run({0xe851, 0x3f00, 0xf3bf, 0x8f2f, 0xe841, 0x0200});  // ldrex; clrex; strex
  EXPECT_EQ(bench.r(2), 1u);
  EXPECT_EQ(Place(), 0x8899aabbu);
}

TEST_F(Exclusive, NarrowPairsTouchTheirBytesOnly) {
  bench.Run({0xe8d1, 0x3f4f, 0xe8c1, 0x0f42});  // ldrexb r3, [r1]; strexb r2, r0, [r1]
  EXPECT_EQ(bench.r(3), 0xbbu);
  EXPECT_EQ(Place(), 0x8899aa05u);
  bench.r(0) = 0x123456;
  bench.Run({0xe8d1, 0x3f5f, 0xe8c1, 0x0f52});  // ldrexh, strexh
  EXPECT_EQ(bench.r(3), 0xaa05u);
  EXPECT_EQ(Place(), 0x88993456u);
}

TEST_F(Exclusive, SkippedPairLeavesStatusAndMemory) {
  bench.SetFlags("----");
  bench.Run({0xbf04, 0xe851, 0x3f00, 0xe841, 0x0200});  // itt eq; ldrexeq; strexeq
  EXPECT_EQ(bench.r(2), 99u);
  EXPECT_EQ(Place(), 0x8899aabbu);
}

}  // namespace
}  // namespace orvo
