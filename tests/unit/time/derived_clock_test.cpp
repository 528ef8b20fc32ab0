#include "time/derived_clock.h"

#include <gmock/gmock.h>

#include <thread>

#include "support/error_of.h"
#include "support/tick_recorder.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct DerivedClockTest : testing::Test {
  DerivedClockTest() { source.SetFrequency(64'000'000); }

  // Notes the tick of the source behind that of the derived clock.
  TickRecorder::Answer NoteSource() {
    return [this](unsigned long) {
      log.push_back("source@" + std::to_string(source.ticks()));
      return 0ul;
    };
  }

  SourceClock source{"hlck"};
  CallLog log;
};

// --- Division mode -------------------------------------------------------------------------------

TEST_F(DerivedClockTest, CountsOnDemandAndLosesNoRemainder) {
  DerivedClock clock(&source, 8, true, "div", false);
  EXPECT_EQ(clock.GetFrequency(), 8'000'000u);
  source.Tickrement(7);
  EXPECT_EQ(clock.TickCount(), 0u);
  source.Tickrement(4);
  EXPECT_EQ(clock.TickCount(), 1u);  // 11 source ticks, 3 left over
  source.Tickrement(5);
  EXPECT_EQ(clock.TickCount(), 2u);
}

TEST_F(DerivedClockTest, CallsListenersAtTheirTicksAndWakesOnItsSourceForThemOnly) {
  DerivedClock clock(&source, 10, true, "div", false);
  TickRecorder far("far", &log, NoteSource()), zero("zero", &log, NoteSource());
  TickRecorder near("near", &log, [](unsigned long tick) { return tick < 3 ? tick + 1 : 0; });
  TickRecorder detached("detached", &log);
  EXPECT_EQ(clock.CalculateNextSourceTick(), 0u);
  clock.AttachToTick(50, &far, false);
  EXPECT_EQ(clock.CalculateNextSourceTick(), 500u);
  clock.AttachToTick(1, &detached, false);
  clock.AttachToTick(2, &near, false);
  clock.AttachToTick(0, &zero, false);  // for which the first source tick is the earliest
  clock.DetachFromTick(&detached);
  source.Tickrement(1000);
  EXPECT_THAT(log, ElementsAre("zero@0", "source@1", "near@2", "near@3", "far@50", "source@500"));
  EXPECT_EQ(clock.CalculateNextSourceTick(), 0u);
}

TEST_F(DerivedClockTest, DisablingForAWhileLosesExactlyThatTime) {
  DerivedClock clock(&source, 10, true, "div", false);
  TickRecorder a("a", &log, NoteSource());
  clock.AttachToTick(5, &a, false);
  source.Tickrement(20);
  clock.Disable();
  source.Tickrement(1000);
  EXPECT_EQ(clock.TickCount(), 2u);
  EXPECT_FALSE(clock.IsEnabled());
  clock.Enable();
  source.Tickrement(100);
  EXPECT_THAT(log, ElementsAre("a@5", "source@1050"));
}

TEST_F(DerivedClockTest, ANewDivisionFactorKeepsTheCountAndMovesWhoWaits) {
  DerivedClock clock(&source, 10, true, "div", false);
  TickRecorder by_tick("by_tick", &log, NoteSource());
  TickRecorder by_time("by_time", &log, NoteSource());
  clock.AttachToTick(10, &by_tick, false);
  clock.AttachToTick(10, &by_time, true);
  source.Tickrement(50);
  clock.SetDivisionFactor(5);
  EXPECT_EQ(clock.TickCount(), 5u);
  source.Tickrement(100);
  // 5 ticks of 5; and the time of 5 ticks of 10, which are 10 ticks of 5.
  EXPECT_THAT(log, ElementsAre("by_tick@10", "source@75", "by_time@15", "source@100"));
}

TEST_F(DerivedClockTest, ANewDivisionFactorMovesByTheRatioOfTheFactorsAndCountsNothingAtOnce) {
  DerivedClock clock(&source, 3, true, "div", false);
  TickRecorder by_time("by_time", &log);
  clock.AttachToTick(1000, &by_time, true);
  clock.SetDivisionFactor(6);  // 64 MHz / 3 and / 6 are no whole hertz
  source.Tickrement(3000);
  EXPECT_THAT(log, ElementsAre("by_time@500"));
  source.Tickrement(5);
  clock.SetDivisionFactor(2);
  EXPECT_EQ(clock.TickCount(), 500u);
  source.Tickrement(1);
  EXPECT_EQ(clock.TickCount(), 501u);
}

TEST_F(DerivedClockTest, ADividedClockHasNoFrequencyOfItsOwnAndNoFactorZero) {
  DerivedClock clock(&source, 2, true, "div", false);
  EXPECT_EQ(ErrorOf([&] { clock.SetFrequency(5); }),
            "OrvoError: Cannot set frequency of a clock which not have a fixed frequency");
  EXPECT_EQ(ErrorOf([&] { clock.SetDivisionFactor(0); }),
            "OrvoError: Division factor 0 for clock div");
  clock.UpdateInput(5, 0);
  EXPECT_EQ(clock.GetFrequency(), 32'000'000u);
}

TEST_F(DerivedClockTest, ADividedClockRunsOnADividedClock) {
  DerivedClock middle(&source, 4, true, "middle", false);
  DerivedClock clock(&middle, 5, true, "clock", false);
  TickRecorder a("a", &log, NoteSource());
  clock.AttachToTick(3, &a, false);
  source.Tickrement(100);
  EXPECT_THAT(log, ElementsAre("a@3", "source@60"));
  EXPECT_EQ(clock.TickCount(), 5u);
}

// --- Fixed-frequency mode ------------------------------------------------------------------------

TEST_F(DerivedClockTest, AFixedClockCountsOncePerPeriodAfterItsListenersWereCalled) {
  DerivedClock clock(&source, 1'000'000, true, "fixed", true);
  TickRecorder a("a", &log, NoteSource());
  clock.AttachToTick(1, &a, false);
  source.Tickrement(64);
  EXPECT_EQ(clock.TickCount(), 1u);
  EXPECT_THAT(log, IsEmpty());  // the count stood at 0 when the first period ended
  source.Tickrement(64);
  EXPECT_THAT(log, ElementsAre("a@1", "source@128"));
  source.Tickrement(640);
  EXPECT_EQ(clock.TickCount(), 12u);
}

TEST_F(DerivedClockTest, APeriodIsAWholeNumberOfNanoseconds) {
  DerivedClock clock(&source, 32'768, true, "fixed", true);
  clock.SetFrequency(32'768);
  source.Tickrement(1952);
  EXPECT_EQ(clock.TickCount(), 0u);
  source.Tickrement(1);  // 30517 ns, not 30517.578125
  EXPECT_EQ(clock.TickCount(), 1u);
  source.Tickrement(1953);
  EXPECT_EQ(clock.TickCount(), 2u);
}

TEST_F(DerivedClockTest, AFixedClockAsFastAsItsSourceOrFasterTicksOncePerSourceTick) {
  for (const unsigned long hz : {63'999'999ul, 64'000'000ul, 900'000'000ul}) {
    DerivedClock clock(&source, hz, false, "fast", true);
    clock.Enable();
    source.Tickrement(10);
    EXPECT_EQ(clock.TickCount(), 10u) << hz;
    clock.Disable();
  }
}

TEST_F(DerivedClockTest, AFixedClockKeepsItsPeriodWhenTheSourceChangesItsFrequency) {
  DerivedClock clock(&source, 1'000'000, true, "fixed", true);
  clock.SetFrequency(1'000'000);
  source.Tickrement(32);
  source.SetFrequency(16'000'000);
  source.Tickrement(8);  // the second half of the period
  EXPECT_EQ(clock.TickCount(), 1u);
  source.Tickrement(16);
  EXPECT_EQ(clock.TickCount(), 2u);
}

TEST_F(DerivedClockTest, AnInputFrequencyRestartsThePeriodAndZeroStopsTheClock) {
  DerivedClock clock(&source, 1'000'000, true, "fixed", true);
  for (const auto& [hz, count] : {std::pair(2'000'000ul, 2ul), {0, 2}, {1'000'000, 3}}) {
    clock.UpdateInput(hz, 0);
    source.Tickrement(64);
    EXPECT_EQ(clock.TickCount(), count) << hz;
  }
}

TEST_F(DerivedClockTest, AListenerMayDisableItsClock) {
  DerivedClock clock(&source, 1'000'000, true, "fixed", true);
  TickRecorder off("off", &log, [&](unsigned long) {
    clock.Disable();
    return 0ul;
  });
  clock.AttachToTick(0, &off, false);
  source.Tickrement(1000);
  EXPECT_THAT(log, ElementsAre("off@0"));
  EXPECT_EQ(clock.TickCount(), 1u);
}

// Each listener is called although another thread attaches it while the clock goes on or off its
// source.
TEST_F(DerivedClockTest, AListenerFromAnotherThreadIsNeverLost) {
  DerivedClock clock(&source, 4, true, "div", false);
  std::atomic<int> calls{0};
  TickRecorder counter("counter", &log, [&](unsigned long) {
    ++calls;
    return 0ul;
  });
  constexpr int kRounds = 200;
  std::thread thread([&] {
    for (int i = 0; i < kRounds; ++i) {
      clock.AttachToTick(clock.TickCount() + static_cast<unsigned long>(i % 2), &counter, false);
      while (calls <= i) std::this_thread::yield();
    }
  });
  while (calls < kRounds) {
    source.Tickrement(1);
    std::this_thread::yield();
  }
  thread.join();
  EXPECT_EQ(calls, kRounds);
}

}  // namespace
}  // namespace orvo
