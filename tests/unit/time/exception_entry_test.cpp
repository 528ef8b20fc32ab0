// Entry and return beyond what the firmware programs priorities.c, tasks.c and fault_handlers.c
// show: the frame, the masks that they don't set, illegal returns and missing handlers.
#include <gmock/gmock.h>

#include "support/error_of.h"
#include "support/exception_bench.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

struct ExceptionEntryTest : testing::Test, ExceptionBench {};

// --- Masks and preemption ------------------------------------------------------------------------

TEST(ExceptionEntry, FaultmaskLetsOnlyNmiThroughAndBasepriHasThreeBits) {
  struct MaskCase {
    int number;
    unsigned primask, faultmask, basepri;
    bool taken;
  };
  for (const MaskCase& c :
       {MaskCase{kHardFault, 1, 0, 0, true}, MaskCase{kHardFault, 0, 1, 0, false},
        MaskCase{kNmi, 0, 1, 0, true}, MaskCase{kHardFault, 1, 1, 0, false},
        MaskCase{3, 0, 0, 0x40, false}, MaskCase{3, 0, 0, 0x1f, true}}) {
    ExceptionBench bench;
    if (c.number >= 0) bench.Enable(c.number, 0x40);
    bench.registers.word(kPrimask) = c.primask;
    bench.registers.word(kFaultmask) = c.faultmask;
    bench.registers.word(kBasepri) = c.basepri;
    bench.Raise(c.number);
    EXPECT_EQ(bench.Step(), c.taken) << c.number << " with basepri " << c.basepri;
  }
}

// The groups of larger priorities: priorities.c.
TEST(ExceptionEntry, PrioritiesOneTwoAndThreeAreNeverSplit) {
  struct PreemptionCase {
    unsigned char running, pending;
    bool preempts;
  };
  for (const PreemptionCase& c :
       {PreemptionCase{0x41, 0x40, false}, PreemptionCase{8, 3, true}, PreemptionCase{4, 3, false},
        PreemptionCase{4, 2, false}, PreemptionCase{4, 1, true}}) {
    ExceptionBench bench;
    bench.Enable(1, c.running);
    bench.Raise(1);
    bench.Step();
    bench.Enable(2, c.pending);
    bench.Raise(2);
    EXPECT_EQ(bench.Step(), c.preempts) << int{c.pending} << " into " << int{c.running};
  }
}

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

TEST_F(ExceptionEntryTest, TheFrameHoldsTheCallerSavedRegistersUpwardsAndTheItState) {
  constexpr unsigned kItOf0x55 = 1u << 25 | 0x15u << 10;  // IT[1:0] and IT[7:2]
  registers.set_xpsr(xpsr::kC | kItOf0x55 | 0x01000000);
  registers.lr() = 0x1234;
  for (unsigned n = 0; n <= 12; ++n) registers.r(n) = 0x100 + n;
  Enable(7, 0x20);
  Raise(7);
  ASSERT_TRUE(Step());
  EXPECT_EQ(registers.sp(), kStackTop - 32);
  std::vector<unsigned> frame;
  for (unsigned n = 0; n < 8; ++n) frame.push_back(Word(registers.sp() + 4 * n));
  EXPECT_THAT(frame, ElementsAre(0x100, 0x101, 0x102, 0x103, 0x10c, 0x1234, kCode,
                                 xpsr::kC | kItOf0x55 | 0x01000000));
  EXPECT_EQ(registers.pc(), HandlerOf(7));
  EXPECT_EQ(registers.xpsr(), xpsr::kC | 0x01000000 | 23u);
  EXPECT_EQ(Interrupts::mode_, kHandlerMode);

  for (unsigned n = 0; n <= 12; ++n) registers.r(n) = 0;
  Return();
  EXPECT_EQ(registers.pc(), kCode);
  EXPECT_EQ(registers.sp(), kStackTop);
  EXPECT_EQ(registers.lr(), 0x1234u);
  EXPECT_EQ(registers.xpsr(), xpsr::kC | kItOf0x55 | 0x01000000);
  EXPECT_EQ(registers.r(12), 0x10cu);
  EXPECT_EQ(registers.r(3), 0x103u);
  EXPECT_EQ(registers.r(4), 0u);  // not in the frame
  EXPECT_EQ(Interrupts::mode_, kThreadMode);
}

TEST_F(ExceptionEntryTest, IcsrShowsTheActiveExceptionAndAReturnToHandlerModeAFloatContext) {
  Enable(1, 0x40);
  Enable(2, 0x20);
  registers.control() = control::kFpContext;
  Raise(1);
  Step();
  EXPECT_EQ(registers.lr(), 0xffffffe9);
  EXPECT_EQ(Icsr() & 0xfff, 17u | 1u << 11);  // out of thread mode
  registers.control() = control::kFpContext;
  Raise(2);
  Step();
  EXPECT_EQ(registers.lr(), 0xffffffe1);
  EXPECT_EQ(Icsr() & 0xfff, 18u);
  EXPECT_EQ(interrupts.ExceptionActiveCount(), 2);
  Return(0xfffffff1);
  EXPECT_EQ(Icsr() & 0x1ff, 17u);
  EXPECT_EQ(registers.control(), control::kFpContext);
  Return();
  EXPECT_EQ(Icsr() & 0x1ff, 0u);
  EXPECT_EQ(registers.control(), 0u);
}

// --- Illegal returns -----------------------------------------------------------------------------

TEST_F(ExceptionEntryTest, AReturnInThreadModeOrToNoModeEndsTheRun) {
  EXPECT_EQ(ErrorOf([&] { Return(0xf0000000); }),
            "OrvoError: Incorrect state, PC set to return but in main thread mode");
  EXPECT_TRUE(interrupts.IsInterruptNeeded());
  EXPECT_EQ(ErrorOf([&] { Return(0xe0000000); }), "");  // an address like any other
  registers.pc() = kCode;
  Enable(1);
  Raise(1);
  Step();
  EXPECT_EQ(ErrorOf([&] { Return(0xfffffff5); }),
            "OrvoError: Unexpected return to mode: 5 in Interrupts::ReturnFromInterruptIfNeeded");
}

// Interrupt 2 inside interrupt 1.
struct NestedExceptions : ExceptionEntryTest {
  NestedExceptions() {
    Enable(kUsageFault, 0x10);
    Enable(1, 0x40);
    Enable(2, 0x20);
    Raise(1);
    Step();
    Raise(2);
    Step();
  }
  void ExpectUsageFault() {
    EXPECT_EQ(Cfsr(), 1u << 18);  // INVPC
    EXPECT_EQ(Running(), kUsageFault);
    EXPECT_EQ(Interrupts::mode_, kHandlerMode);
  }
};

TEST_F(NestedExceptions, ReturnToThreadPastAnActiveOneIsAUsageFault) {
  Return(0xfffffff9);
  ExpectUsageFault();
}

TEST_F(NestedExceptions, NonBaseThrdEnaAllowsIt) {
  mcu.memory().set<false>(0xe000ed14, 1);
  registers.SetSP(kStackTop - 32);  // the frame of interrupt 1
  Return(0xfffffff9);
  EXPECT_EQ(Cfsr(), 0u);
  EXPECT_EQ(registers.pc(), kCode);
  EXPECT_EQ(Interrupts::mode_, kThreadMode);
}

TEST_F(NestedExceptions, FrameThatDisagreesWithTheModeIsAUsageFault) {
  mcu.memory().set<false>(registers.sp() + 28, 0);  // xPSR
  Return(0xfffffff1);
  ExpectUsageFault();
}

TEST_F(NestedExceptions, IpsrThatDisagreesWithIcsrIsAUsageFault) {
  Interrupts::SetICSR(&mcu, 17);
  Return();
  ExpectUsageFault();
}

// --- Missing handlers ----------------------------------------------------------------------------

struct ExitCode {
  std::vector<int> codes;
  Connection<int> connection{OrvoSignals::Get().terminate,
                             [this](int value) { codes.push_back(value); }};
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

TEST(ExceptionEntry, TheRunEndsWhenTheHardFaultCannotBeTakenEither) {
  for (const auto& [table, raised] : {std::pair(0u, int{kHardFault}), {0, kNmi}, {0x8000, 5}}) {
    ExceptionBench bench;
    for (int number = kReset; number < 10; ++number) bench.SetVector(table, number, 0);
    bench.interrupts.LoadInterrupts(table);
    bench.Enable(5);
    bench.Raise(raised);
    const ExitCode exit;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(bench.Step());
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(exit.codes, ElementsAre(1)) << raised;
  }
}

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

}  // namespace
}  // namespace orvo
