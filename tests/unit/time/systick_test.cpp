// SysTick beyond what the firmware program counting.c measures.
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
  unsigned long TicksToInterrupt() {
    for (unsigned long ticks = 1; ticks <= 1000; ++ticks) {
      mcu.clock().Tickrement(1);
      if (!interrupts.IsPending(kSysTick)) continue;
      interrupts.RaiseInterrupt(kSysTick, false);
      return ticks;
    }
    return 0;
  }
};

TEST_F(SysTickTest, NeitherTheCurrentValueNorASecondEnableMovesTheNextInterrupt) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kCoreClock);
  mcu.clock().Tickrement(140);
  EXPECT_FALSE(interrupts.IsPending(kSysTick));  // TICKINT is clear
  Write(kCvr, 5);
  EXPECT_EQ(Word(kCvr), 100u);
  EXPECT_EQ(mcu.scb().MemorySection::get(SystemControlBlockHandler::CVR), kEnable | kCoreClock);
  EXPECT_EQ(Word(kCsr), kEnable | kCoreClock | kCountFlag);  // not cleared by the write
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  EXPECT_EQ(TicksToInterrupt(), 60u);
  EXPECT_EQ(TicksToInterrupt(), 100u);
}

TEST_F(SysTickTest, SwitchedOffItLeavesACountFlagAtMost) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  mcu.clock().Tickrement(60);
  Write(kCsr, kTickInt | kCoreClock);
  EXPECT_EQ(TicksToInterrupt(), 0u);
  EXPECT_EQ(Word(kCsr) & kCountFlag, kCountFlag);
}

TEST_F(SysTickTest, AReloadValueOfZeroDoesNotCountAndDoesNotHang) {
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  EXPECT_EQ(TicksToInterrupt(), 0u);
  Write(kRvr, 50);
  EXPECT_EQ(TicksToInterrupt(), 50u);
  Write(kRvr, 0);
  EXPECT_EQ(TicksToInterrupt(), 50u);  // the count that was under way
  EXPECT_EQ(TicksToInterrupt(), 0u);
  Write(kRvr, 20);
  EXPECT_EQ(TicksToInterrupt(), 20u);
}

TEST_F(SysTickTest, ChoosingTheExternalClockTakesARunningCounterOffTheCoreClock) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  Write(kCsr, kEnable | kTickInt);
  EXPECT_EQ(TicksToInterrupt(), 0u);
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
