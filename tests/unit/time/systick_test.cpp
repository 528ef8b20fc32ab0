#include <gmock/gmock.h>

#include "support/exception_bench.h"
#include "time/derived_clock.h"

namespace orvo {
namespace {

constexpr unsigned kCsr = 0xe000e010, kRvr = 0xe000e014, kCvr = 0xe000e018;
constexpr unsigned kEnable = 1, kTickInt = 2, kCoreClock = 4, kCountFlag = 1u << 16;

struct SysTickTest : testing::Test, ExceptionBench {
  void Write(unsigned address, unsigned value) { mcu.memory().set<true>(address, value); }
  // Ticks until SysTick is pending, which is taken away again; 0 if it doesn't come.
  unsigned long TicksToInterrupt(unsigned long most) {
    for (unsigned long ticks = 1; ticks <= most; ++ticks) {
      mcu.clock().Tickrement(1);
      if (!interrupts.IsPending(kSysTick)) continue;
      interrupts.RaiseInterrupt(kSysTick, false);
      return ticks;
    }
    return 0;
  }
};

TEST_F(SysTickTest, InterruptsEveryReloadValueTicks) {
  Write(kRvr, 100);
  mcu.clock().Tickrement(33);
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  EXPECT_EQ(TicksToInterrupt(1000), 100u);
  EXPECT_EQ(TicksToInterrupt(1000), 100u);
}

TEST_F(SysTickTest, CountFlagIsReadOnce) {
  Write(kRvr, 10);
  Write(kCsr, kEnable | kCoreClock);
  mcu.clock().Tickrement(9);
  EXPECT_EQ(Word(kCsr), kEnable | kCoreClock);
  mcu.clock().Tickrement(1);
  EXPECT_EQ(Word(kCsr), kEnable | kCoreClock | kCountFlag);
  EXPECT_EQ(Word(kCsr), kEnable | kCoreClock);
  EXPECT_FALSE(interrupts.IsPending(kSysTick));  // TICKINT is clear
}

TEST_F(SysTickTest, TheCurrentValueCountsDownFromTheReloadValue) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kCoreClock);
  mcu.clock().Tickrement(30);
  EXPECT_EQ(Word(kCvr), 70u);
  mcu.clock().Tickrement(70);
  EXPECT_EQ(Word(kCvr), 100u);
}

TEST_F(SysTickTest, WritingTheCurrentValueMovesReadsButNotTheNextInterrupt) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  mcu.clock().Tickrement(100);
  interrupts.RaiseInterrupt(kSysTick, false);
  mcu.clock().Tickrement(40);
  Write(kCvr, 5);
  EXPECT_EQ(Word(kCvr), 100u);
  EXPECT_EQ(Word(kCsr) & kCountFlag, kCountFlag);  // not cleared by the write
  EXPECT_EQ(mcu.scb().MemorySection::get(SystemControlBlockHandler::CVR),
            kEnable | kTickInt | kCoreClock);
  EXPECT_EQ(TicksToInterrupt(1000), 60u);
}

TEST_F(SysTickTest, ANewReloadValueTakesEffectAtTheNextWrap) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  mcu.clock().Tickrement(10);
  Write(kRvr, 7);
  EXPECT_EQ(TicksToInterrupt(1000), 90u);
  EXPECT_EQ(TicksToInterrupt(1000), 7u);
}

TEST_F(SysTickTest, EnablingAgainWhileItRunsChangesNothing) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kCoreClock);
  mcu.clock().Tickrement(60);
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  EXPECT_EQ(TicksToInterrupt(1000), 40u);
}

TEST_F(SysTickTest, SwitchedOffItLeavesACountFlagAtMost) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  mcu.clock().Tickrement(60);
  Write(kCsr, kTickInt | kCoreClock);
  EXPECT_EQ(TicksToInterrupt(1000), 0u);
  EXPECT_EQ(Word(kCsr) & kCountFlag, kCountFlag);
}

TEST_F(SysTickTest, SwitchedOffAndOnBeforeItsTimeItStartsAFullCount) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  mcu.clock().Tickrement(60);
  Write(kCsr, kTickInt | kCoreClock);
  mcu.clock().Tickrement(10);
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  EXPECT_EQ(TicksToInterrupt(1000), 100u);
}

TEST_F(SysTickTest, AReloadValueOfZeroDoesNotCountAndDoesNotHang) {
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  EXPECT_EQ(TicksToInterrupt(1000), 0u);
  Write(kRvr, 50);
  EXPECT_EQ(TicksToInterrupt(1000), 50u);
  Write(kRvr, 0);
  EXPECT_EQ(TicksToInterrupt(1000), 50u);  // the count that was under way
  EXPECT_EQ(TicksToInterrupt(1000), 0u);
  Write(kRvr, 20);
  EXPECT_EQ(TicksToInterrupt(1000), 20u);
}

TEST_F(SysTickTest, AResetStopsIt) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  mcu.Reset(kSoftwareReset);
  EXPECT_EQ(TicksToInterrupt(1000), 0u);
  EXPECT_EQ(Word(kCsr), kCoreClock);
}

TEST_F(SysTickTest, ChoosingTheExternalClockTakesARunningCounterOffTheCoreClock) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  Write(kCsr, kEnable | kTickInt);
  EXPECT_EQ(TicksToInterrupt(1000), 0u);
}

TEST(SysTickExternalClock, CountsTheFirstInterval) {
  struct ExternalClockMcu : TestMcu {
    ExternalClockMcu() {
      auto clock = std::make_unique<DerivedClock>(&this->clock(), 8, true, "external", false);
      external = clock.get();
      AddClock(std::move(clock));
    }
    Clock* GetSysTickExternalClock() override {
      return external != nullptr ? external : TestMcu::GetSysTickExternalClock();
    }
    Clock* external = nullptr;
  } mcu;
  mcu.memory().set<true>(kRvr, 10);
  mcu.memory().set<true>(kCsr, kEnable | kTickInt);
  mcu.clock().Tickrement(79);
  EXPECT_FALSE(mcu.isPending(kSysTick));
  mcu.clock().Tickrement(1);
  EXPECT_TRUE(mcu.isPending(kSysTick));
}

}  // namespace
}  // namespace orvo
