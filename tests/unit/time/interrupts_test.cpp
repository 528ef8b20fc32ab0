#include "time/interrupts.h"

#include <gmock/gmock.h>

#include "support/error_of.h"
#include "support/exception_bench.h"

namespace orvo {
namespace {

struct InterruptsTest : testing::Test, ExceptionBench {};

TEST_F(InterruptsTest, SystemExceptionsHaveTheirNamesVectorsAndPriorities) {
  const std::pair<int, const char*> names[] = {{kReset, "Reset"},
                                               {kNmi, "NMI"},
                                               {kHardFault, "Hard Fault"},
                                               {kMemManage, "Memory Management Fault"},
                                               {kBusFault, "Bus Fault"},
                                               {kUsageFault, "Usage Fault"},
                                               {kSvCall, "Svcall"},
                                               {kDebugMonitor, "Debug Non"},
                                               {kPendSv, "Pendsv"},
                                               {kSysTick, "Systick"},
                                               {7, "IRQ7"}};
  for (const auto& [number, name] : names) {
    const int priority = number <= kHardFault ? number + 12 : 0;  // Reset is -3
    EXPECT_EQ(interrupts.GetInterruptName(static_cast<unsigned>(number + 16)), name);
    EXPECT_EQ(interrupts.GetPriority(number), static_cast<unsigned char>(priority)) << name;
    EXPECT_EQ(interrupts.GetAddress(number), HandlerOf(number)) << name;
  }
  EXPECT_EQ(interrupts.GetInterruptName(300), "");
}

TEST_F(InterruptsTest, NumbersBeyondTheTableDoNothing) {
  for (const int number : {-16, 240, 255}) {
    EXPECT_FALSE(interrupts.RaiseInterrupt(number, true)) << number;
    interrupts.SetEnabled(number, true);
    EXPECT_FALSE(interrupts.IsPending(number)) << number;
  }
  EXPECT_TRUE(*interrupts.pending_empty());
}

// --- Pending -------------------------------------------------------------------------------------

TEST_F(InterruptsTest, RaisingReportsAChangeAndWaitsUntilTheInterruptIsEnabled) {
  EXPECT_TRUE(interrupts.RaiseInterrupt(3, true));
  EXPECT_TRUE(*interrupts.pending_empty());
  interrupts.SetEnabled(3, true);
  EXPECT_FALSE(*interrupts.pending_empty());
  interrupts.SetEnabled(3, false);
  EXPECT_FALSE(Step());
  interrupts.SetEnabled(3, true);
  EXPECT_FALSE(interrupts.RaiseInterrupt(3, true));
  EXPECT_TRUE(interrupts.IsPending(3));
  EXPECT_FALSE(interrupts.RaiseInterrupt(3, false));
  EXPECT_FALSE(interrupts.IsPending(3));
  EXPECT_TRUE(*interrupts.pending_empty());
}

TEST_F(InterruptsTest, EnablingAPendingInterruptWithoutVectorIsAnError) {
  Raise(100);
  EXPECT_EQ(ErrorOf([&] { interrupts.SetEnabled(100, true); }),
            "OrvoError: Unsupported interrupt: 116 in Interrupts::SetEnabled");
}

TEST_F(InterruptsTest, ResetForgetsWhatIsPendingOrActiveAndKeepsWhatIsEnabled) {
  Enable(1);
  Enable(2);
  Raise(1);
  Step();
  Raise(2);
  interrupts.Reset();
  EXPECT_EQ(Interrupts::mode_, kThreadMode);
  EXPECT_EQ(interrupts.ExceptionActiveCount(), 0);
  EXPECT_TRUE(*interrupts.pending_empty());
  registers.set_xpsr(0);
  Raise(2);
  EXPECT_TRUE(Step());
}

// With SEVONPEND raising again is one too: sleep_and_reset.c.
TEST_F(InterruptsTest, AChangeIsAnEventAndRaisingAgainIsNone) {
  Raise(3);
  EXPECT_TRUE(mcu.TakeEvent());
  Raise(3);
  EXPECT_FALSE(mcu.TakeEvent());
}

// --- Order ---------------------------------------------------------------------------------------

TEST_F(InterruptsTest, AreTakenByPriorityThenByNumber) {
  for (const auto& [number, priority] :
       {std::pair(5, 7), {6, 3}, {7, 9}, {8, 1}, {9, 5}, {int{kSysTick}, 9}, {10, 255}}) {
    Enable(number, static_cast<unsigned char>(priority));
    Raise(number);
  }
  std::vector<int> taken;
  for (; Step(); Return()) taken.push_back(Running());
  EXPECT_THAT(taken, testing::ElementsAre(8, 6, 9, 5, kSysTick, 7));  // 255 never
}

TEST_F(InterruptsTest, ANewPriorityDoesNotMoveWhatIsQueuedAlready) {
  Enable(1, 0x40);
  Enable(2, 0x80);
  Raise(1);
  Raise(2);
  interrupts.SetPriority(2, 0);
  EXPECT_TRUE(Step());
  EXPECT_EQ(Running(), 1);
}

TEST_F(InterruptsTest, TakingAnInterruptOutOfTheQueueLeavesTheRestInItsOldOrder) {
  // The heap is 1; 2, 3; 4. Without 1 it is 2, 3, 4 whatever their priorities say by then.
  for (int number = 1; number <= 4; ++number) {
    Enable(number, static_cast<unsigned char>(0x20 * number));
    Raise(number);
  }
  interrupts.SetPriority(4, 0);
  interrupts.RaiseInterrupt(1, false);
  EXPECT_TRUE(Step());
  EXPECT_EQ(Running(), 2);
}

TEST_F(InterruptsTest, VectPendingComparesTheExceptionNumberWithTheMasks) {
  struct VectPendingCase {
    int number;
    unsigned basepri, faultmask, shown;
  };
  for (const VectPendingCase& c : {VectPendingCase{4, 0, 0, 20}, VectPendingCase{4, 0x1f, 0, 20},
                                   VectPendingCase{4, 0x20, 0, 20}, VectPendingCase{16, 0x20, 0, 0},
                                   VectPendingCase{4, 0, 1, 0}}) {
    Enable(c.number, 0xe0);
    registers.word(kBasepri) = c.basepri;
    registers.word(kFaultmask) = c.faultmask;
    Raise(c.number);
    EXPECT_EQ(Icsr() >> 12 & 0x3f, c.shown) << c.number << " " << c.basepri << " " << c.faultmask;
    interrupts.RaiseInterrupt(c.number, false);
    EXPECT_EQ(Icsr() >> 12 & 0x3f, 0u);
  }
}

}  // namespace
}  // namespace orvo
