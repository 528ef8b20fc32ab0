#include <gmock/gmock.h>

#include <sstream>

#include "runner/args_manager.h"
#include "runner/errors.h"
#include "support/exception_bench.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct ExceptionEntryTest : testing::Test, ExceptionBench {};

// --- Masks and preemption ------------------------------------------------------------------------

struct MaskCase {
  const char* name;
  int number;
  unsigned char priority;
  unsigned primask, faultmask, basepri;
  bool taken;
};
void PrintTo(const MaskCase& c, std::ostream* stream) { *stream << c.name; }

class Masks : public testing::TestWithParam<MaskCase> {};

TEST_P(Masks, DecideByPriority) {
  const MaskCase& c = GetParam();
  ExceptionBench bench;
  if (c.number >= 0) bench.Enable(c.number, c.priority);
  bench.registers.word(kPrimask) = c.primask;
  bench.registers.word(kFaultmask) = c.faultmask;
  bench.registers.word(kBasepri) = c.basepri;
  bench.Raise(c.number);
  EXPECT_EQ(bench.Step(), c.taken);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(ExceptionEntry, Masks, testing::Values(
    MaskCase{"open",                   3,          0x40, 0, 0, 0,    true},
    MaskCase{"lowest_priority",        3,          0xff, 0, 0, 0,    false},
    MaskCase{"primask",                3,          0,    1, 0, 0,    false},
    MaskCase{"primask_hard_fault",     kHardFault, 0,    1, 0, 0,    true},
    MaskCase{"primask_nmi",            kNmi,       0,    1, 0, 0,    true},
    MaskCase{"faultmask_hard_fault",   kHardFault, 0,    0, 1, 0,    false},
    MaskCase{"faultmask_nmi",          kNmi,       0,    0, 1, 0,    true},
    MaskCase{"faultmask_over_primask", kHardFault, 0,    1, 1, 0,    false},
    MaskCase{"basepri_equal",          3,          0x40, 0, 0, 0x40, false},
    MaskCase{"basepri_above",          3,          0x3f, 0, 0, 0x40, true},
    MaskCase{"basepri_low_bits",       3,          0x40, 0, 0, 0x1f, true}),
    [](const auto& tested) { return std::string(tested.param.name); });
// clang-format on

struct PreemptionCase {
  const char* name;
  unsigned prigroup;
  unsigned char running, pending;
  bool preempts;
};
void PrintTo(const PreemptionCase& c, std::ostream* stream) { *stream << c.name; }

class Preemption : public testing::TestWithParam<PreemptionCase> {};

TEST_P(Preemption, ComparesGroups) {
  const PreemptionCase& c = GetParam();
  ExceptionBench bench;
  bench.mcu.memory().set<false>(0xe000ed0c, 0x05fa0000 | c.prigroup << 8);
  bench.Enable(1, c.running);
  bench.Raise(1);
  bench.Step();
  bench.Enable(2, c.pending);
  bench.Raise(2);
  EXPECT_EQ(bench.Step(), c.preempts);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(ExceptionEntry, Preemption, testing::Values(
    PreemptionCase{"higher",                   0, 0x40, 0x20, true},
    PreemptionCase{"equal_waits",              0, 0x40, 0x40, false},
    PreemptionCase{"lower_waits",              0, 0x40, 0x60, false},
    PreemptionCase{"same_group",               0, 0x41, 0x40, false},
    PreemptionCase{"group_of_the_upper_bits",  4, 0x20, 0x1f, true},
    PreemptionCase{"same_group_of_upper_bits", 4, 0x3f, 0x20, false},
    PreemptionCase{"no_group_bits",            7, 0xe0, 0x00, false},
    PreemptionCase{"three_is_never_split",     0, 0x08, 0x03, true},
    PreemptionCase{"three_stays_above_four",   0, 0x04, 0x03, false},
    PreemptionCase{"two_and_four",             0, 0x04, 0x02, false},
    PreemptionCase{"one_and_four",             0, 0x04, 0x01, true}),
    [](const auto& tested) { return std::string(tested.param.name); });
// clang-format on

TEST_F(ExceptionEntryTest, OnlyTheRunningExceptionIsComparedNotEveryActiveOne) {
  Enable(1, 0x40);
  Enable(2, 0x20);
  Enable(3, 0x30);
  Raise(1);
  Step();
  Raise(2);
  Step();
  interrupts.SetPriority(2, 0x80);  // lower now than interrupt 1, which it interrupted
  Raise(3);
  EXPECT_TRUE(Step());
}

// --- Frame and EXC_RETURN ------------------------------------------------------------------------

TEST_F(ExceptionEntryTest, TheFrameHoldsTheCallerSavedRegistersUpwards) {
  registers.set_xpsr(xpsr::kC | 0x01000000);
  registers.lr() = 0x1234;
  for (unsigned n = 0; n <= 12; ++n) registers.r(n) = 0x100 + n;
  Enable(7, 0x20);
  Raise(7);
  ASSERT_TRUE(Step());
  EXPECT_EQ(registers.sp(), kStackTop - 32);
  std::vector<unsigned> frame;
  for (unsigned n = 0; n < 8; ++n) frame.push_back(Word(registers.sp() + 4 * n));
  EXPECT_THAT(frame,
              ElementsAre(0x100, 0x101, 0x102, 0x103, 0x10c, 0x1234, kCode, xpsr::kC | 0x01000000));
  EXPECT_EQ(registers.pc(), HandlerOf(7));
  EXPECT_EQ(registers.xpsr(), xpsr::kC | 0x01000000 | 23u);
  EXPECT_EQ(Interrupts::mode_, kHandlerMode);

  for (unsigned n = 0; n <= 12; ++n) registers.r(n) = 0;
  Return();
  EXPECT_EQ(registers.pc(), kCode);
  EXPECT_EQ(registers.sp(), kStackTop);
  EXPECT_EQ(registers.lr(), 0x1234u);
  EXPECT_EQ(registers.xpsr(), xpsr::kC | 0x01000000);
  EXPECT_EQ(registers.r(12), 0x10cu);
  EXPECT_EQ(registers.r(3), 0x103u);
  EXPECT_EQ(registers.r(4), 0u);  // not in the frame
  EXPECT_EQ(Interrupts::mode_, kThreadMode);
}

TEST_F(ExceptionEntryTest, IcsrShowsTheActiveExceptionAndWhetherItInterruptedThreadMode) {
  Enable(1, 0x40);
  Enable(2, 0x20);
  Raise(1);
  Step();
  EXPECT_EQ(Icsr() & 0xfff, 17u | 1u << 11);
  Raise(2);
  Step();
  EXPECT_EQ(Icsr() & 0xfff, 18u);
  EXPECT_EQ(interrupts.ExceptionActiveCount(), 2);
  Return();
  EXPECT_EQ(Icsr() & 0x1ff, 17u);
  Return();
  EXPECT_EQ(Icsr() & 0x1ff, 0u);
}

struct ExcReturnCase {
  const char* name;
  bool nested;
  unsigned control;
  unsigned exc_return;
};
void PrintTo(const ExcReturnCase& c, std::ostream* stream) { *stream << c.name; }

class ExcReturn : public testing::TestWithParam<ExcReturnCase> {};

TEST_P(ExcReturn, NamesModeStackAndFloatingPointContext) {
  const ExcReturnCase& c = GetParam();
  ExceptionBench bench;
  bench.registers.word(kPsp) = ExceptionBench::kProcessStackTop;
  bench.Enable(1, 0x40);
  bench.Enable(2, 0x20);
  if (c.nested) {
    bench.Raise(1);
    bench.Step();
  }
  bench.registers.control() = c.control;
  bench.Raise(2);
  ASSERT_TRUE(bench.Step());
  EXPECT_EQ(bench.registers.lr(), c.exc_return);
  EXPECT_EQ(bench.registers.control() & 6, 0u);  // main stack, no context
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(ExceptionEntry, ExcReturn, testing::Values(
    ExcReturnCase{"thread_main",       false, 0, 0xfffffff9},
    ExcReturnCase{"thread_process",    false, 2, 0xfffffffd},
    ExcReturnCase{"thread_main_fp",    false, 4, 0xffffffe9},
    ExcReturnCase{"thread_process_fp", false, 6, 0xffffffed},
    ExcReturnCase{"unprivileged",      false, 1, 0xfffffff9},
    ExcReturnCase{"handler",           true,  0, 0xfffffff1},
    ExcReturnCase{"handler_fp",        true,  4, 0xffffffe1}),
    [](const auto& tested) { return std::string(tested.param.name); });
// clang-format on

TEST_F(ExceptionEntryTest, AThreadOnTheProcessStackIsStackedThereAndComesBackToIt) {
  registers.word(kPsp) = kProcessStackTop;
  registers.control() = control::kProcessStack;
  registers.r(0) = 42;
  Enable(1);
  Raise(1);
  Step();
  EXPECT_EQ(registers.word(kPsp), kProcessStackTop - 32);
  EXPECT_EQ(Word(kProcessStackTop - 32), 42u);
  EXPECT_EQ(registers.sp(), kStackTop);  // the handler's
  Return();
  EXPECT_EQ(registers.control(), control::kProcessStack);
  EXPECT_EQ(registers.sp(), kProcessStackTop);
}

TEST_F(ExceptionEntryTest, AHandlerMaySwitchTheThreadToTheProcessStack) {
  // What an operating system does for its first task: a frame on its stack, and 13 in lr.
  Enable(kSvCall);
  Raise(kSvCall);
  Step();
  registers.word(kPsp) = kProcessStackTop - 32;
  mcu.memory().set<false>(kProcessStackTop - 32 + 24, 0x5000);
  Return(0xfffffffd);
  EXPECT_EQ(registers.pc(), 0x5000u);
  EXPECT_EQ(registers.control() & control::kProcessStack, control::kProcessStack);
  EXPECT_EQ(registers.word(kPsp), kProcessStackTop);
}

TEST_F(ExceptionEntryTest, AReturnToHandlerModeLeavesAFloatingPointContext) {
  Enable(1, 0x40);
  Enable(2, 0x20);
  Raise(1);
  Step();
  Raise(2);
  Step();
  Return();
  EXPECT_EQ(Running(), 1);
  EXPECT_EQ(registers.control(), control::kFpContext);
  Return();
  EXPECT_EQ(registers.control(), 0u);
}

TEST_F(ExceptionEntryTest, EachReturnUnstacksAndTheNextExceptionStacksAnew) {
  Enable(1);
  Enable(2);
  Raise(1);
  Step();
  Raise(2);
  EXPECT_FALSE(Step());
  Return();
  EXPECT_EQ(registers.sp(), kStackTop);
  EXPECT_EQ(registers.pc(), kCode);
  EXPECT_TRUE(Step());
  EXPECT_EQ(Running(), 2);
  EXPECT_EQ(registers.sp(), kStackTop - 32);
}

// --- IT state ------------------------------------------------------------------------------------

TEST_F(ExceptionEntryTest, TheItStateIsStackedAndClearedAndComesBackWithTheReturn) {
  constexpr unsigned kItOf0x55 = 1u << 25 | 0x15u << 10;  // IT[1:0] and IT[7:2]
  registers.set_xpsr(kItOf0x55 | xpsr::kZ);
  Enable(1);
  Raise(1);
  Step();
  EXPECT_EQ(registers.xpsr(), xpsr::kZ | 17u);
  Return();
  EXPECT_EQ(registers.xpsr(), kItOf0x55 | xpsr::kZ);
}

// --- Illegal returns -----------------------------------------------------------------------------

TEST_F(ExceptionEntryTest, AReturnValueInThreadModeEndsTheRun) {
  registers.pc() = 0xf0000000;
  EXPECT_TRUE(interrupts.IsInterruptNeeded());
  try {
    interrupts.ReturnFromInterruptIfNeeded();
    FAIL() << "no error";
  } catch (const OrvoError& error) {
    EXPECT_EQ(error.message(), "Incorrect state, PC set to return but in main thread mode");
  }
  registers.pc() = 0xe0000000;
  EXPECT_NO_THROW(interrupts.ReturnFromInterruptIfNeeded());
}

TEST_F(ExceptionEntryTest, AReturnValueThatNamesNoModeEndsTheRun) {
  Enable(1);
  Raise(1);
  Step();
  try {
    Return(0xfffffff5);
    FAIL() << "no error";
  } catch (const OrvoError& error) {
    EXPECT_EQ(error.message(),
              "Unexpected return to mode: 5 in Interrupts::ReturnFromInterruptIfNeeded");
  }
}

struct NestedBench : ExceptionBench {
  NestedBench() {
    Enable(kUsageFault, 0x10);
    Enable(1, 0x40);
    Enable(2, 0x20);
    Raise(1);
    Step();
    Raise(2);
    Step();
  }
};

constexpr unsigned kInvPc = 1u << 18;

TEST_F(ExceptionEntryTest, AReturnToThreadPastAnActiveExceptionIsAUsageFault) {
  NestedBench bench;
  bench.Return(0xfffffff9);
  EXPECT_EQ(bench.Cfsr(), kInvPc);
  EXPECT_EQ(bench.Running(), kUsageFault);
  EXPECT_EQ(Interrupts::mode_, kHandlerMode);
}

TEST_F(ExceptionEntryTest, NonBaseThrdEnaAllowsAReturnToThreadPastAnActiveException) {
  NestedBench bench;
  bench.mcu.memory().set<false>(0xe000ed14, 1);
  bench.registers.SetSP(ExceptionBench::kStackTop - 32);  // the frame of interrupt 1
  bench.Return(0xfffffff9);
  EXPECT_EQ(bench.Cfsr(), 0u);
  EXPECT_EQ(bench.registers.pc(), ExceptionBench::kCode);
  EXPECT_EQ(Interrupts::mode_, kThreadMode);
}

TEST_F(ExceptionEntryTest, AFrameThatDisagreesWithTheModeIsAUsageFault) {
  NestedBench bench;
  const unsigned stacked_xpsr = bench.registers.sp() + 28;
  bench.mcu.memory().set<false>(stacked_xpsr, 0);
  bench.Return(0xfffffff1);
  EXPECT_EQ(bench.Cfsr(), kInvPc);
}

TEST_F(ExceptionEntryTest, AnIpsrThatDisagreesWithIcsrIsAUsageFault) {
  NestedBench bench;
  Interrupts::SetICSR(&bench.mcu, 17);
  bench.Return();
  EXPECT_EQ(bench.Cfsr(), kInvPc);
}

// --- Missing handlers ----------------------------------------------------------------------------

struct ExitCode {
  ExitCode()
      : connection(OrvoSignals::Get().terminate, [this](int value) { codes.push_back(value); }) {}
  std::vector<int> codes;
  Connection<int> connection;
};

TEST_F(ExceptionEntryTest, AnExceptionWithoutHandlerWarnsAndBecomesAHardFault) {
  SetVector(0, 6, 0);
  Enable(6);
  Raise(6);
  const ExitCode exit;
  testing::internal::CaptureStderr();
  EXPECT_TRUE(Step());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Warning: handler for interrupt for IRQ6 wasn't define. Please check your firmware "
            "handler configuration.\n");
  EXPECT_EQ(Running(), kHardFault);
  EXPECT_TRUE(interrupts.IsPending(6));
  EXPECT_FALSE(*interrupts.pending_empty());
  EXPECT_TRUE(exit.codes.empty());
}

TEST_F(ExceptionEntryTest, AnExceptionWithoutNameIsCalledByItsVectorAddress) {
  mcu.memory().set<false>(0, 0);  // what a vector address of 0 reads
  Enable(200);
  Raise(200);
  testing::internal::CaptureStderr();
  EXPECT_TRUE(Step());
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("handler for interrupt for address 0 wasn't define."));
}

struct LockupCase {
  const char* name;
  unsigned table;
  int number;
};
void PrintTo(const LockupCase& c, std::ostream* stream) { *stream << c.name; }

class Lockup : public testing::TestWithParam<LockupCase> {};

TEST_P(Lockup, EndsTheRunWhenTheHardFaultCannotBeTakenEither) {
  const LockupCase& c = GetParam();
  ExceptionBench bench;
  for (int number = kReset; number < 10; ++number) bench.SetVector(c.table, number, 0);
  bench.interrupts.LoadInterrupts(c.table);
  bench.Enable(5);
  bench.Raise(c.number);
  const ExitCode exit;
  testing::internal::CaptureStderr();
  EXPECT_TRUE(bench.Step());
  testing::internal::GetCapturedStderr();
  EXPECT_THAT(exit.codes, ElementsAre(1));
}

INSTANTIATE_TEST_SUITE_P(ExceptionEntry, Lockup,
                         testing::Values(LockupCase{"hard_fault", 0, kHardFault},
                                         LockupCase{"interrupt", 0, 5}, LockupCase{"nmi", 0, kNmi},
                                         LockupCase{"moved_table", 0x8000, 5}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(ExceptionEntryTest, AFaultDuringTheStackingDoesNotTakeThePlaceOfItsException) {
  Enable(kMemManage, 0x10);
  Enable(5, 0x40);
  Raise(5);
  registers.SetSP(0x90000000);  // nothing is there
  testing::internal::CaptureStderr();
  EXPECT_TRUE(Step());
  EXPECT_EQ(Running(), 5);
  EXPECT_TRUE(interrupts.IsPending(kMemManage));
  EXPECT_TRUE(Step());
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(Running(), kMemManage);
  // The stacking of the fault faults too: that one waits for the return.
  EXPECT_FALSE(Step());
  registers.SetSP(kStackTop - 32);
  mcu.memory().set<false>(kStackTop - 4, 5 + 16);  // xPSR
  Return();
  EXPECT_EQ(Running(), 5);
  EXPECT_TRUE(Step());
  EXPECT_EQ(Running(), kMemManage);
  EXPECT_TRUE(*interrupts.pending_empty());
}

// --- Reset and trace -----------------------------------------------------------------------------

TEST_F(ExceptionEntryTest, TheResetExceptionResetsTheChip) {
  Enable(5);
  Raise(5);
  Raise(kReset);
  registers.word(kPrimask) = 1;
  EXPECT_TRUE(Step());
  EXPECT_EQ(registers.pc(), HandlerOf(kReset));
  EXPECT_EQ(registers.sp(), kStackTop);
  EXPECT_EQ(registers.xpsr(), 0u);
  EXPECT_EQ(registers.word(kPrimask), 0u);
  EXPECT_EQ(Interrupts::mode_, kThreadMode);
  EXPECT_TRUE(*interrupts.pending_empty());
  EXPECT_EQ(Icsr(), 0u);
}

TEST_F(ExceptionEntryTest, TheTraceNamesEntriesAndReturns) {
  ArgsManager::Get().trace = "regs,interrupts";
  interrupts.SetTraceOutputDest();
  registers.word(kPsp) = kProcessStackTop;
  registers.control() = control::kProcessStack;
  Enable(3, 0x40);
  Enable(kPendSv, 0x20);
  testing::internal::CaptureStdout();
  Raise(3);
  Step();
  Raise(kPendSv);
  Step();
  Return();
  Return();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Calling IRQ handler for \"IRQ3\" (IRQ no. 3)\n"
            "Calling IRQ handler for \"Pendsv\" (IRQ no. -2)\n"
            "Returning from IRQ handler \"Pendsv\" (IRQ no. -2). Returns to handler mode, main "
            "stack pointer\n"
            "Returning from IRQ handler \"IRQ3\" (IRQ no. 3). Returns to thread mode (interrupt "
            "0), program stack pointer\n");
  ArgsManager::Get().trace.clear();
}

}  // namespace
}  // namespace orvo
