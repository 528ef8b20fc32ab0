// Clocks that run on others, and the muxes that feed them.
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

TEST_F(DerivedClockTest, ADividedClockCountsOnDemandAndLosesNoRemainder) {
  DerivedClock clock(&source, 8, true, "div", false);
  for (const auto& [ticks, count] : {std::pair(7, 0ul), {4, 1}, {5, 2}}) {
    source.Tickrement(ticks);
    EXPECT_EQ(clock.TickCount(), count);
  }
  EXPECT_EQ(ErrorOf([&] { clock.SetFrequency(5); }),
            "OrvoError: Cannot set frequency of a clock which not have a fixed frequency");
  EXPECT_EQ(ErrorOf([&] { clock.SetDivisionFactor(0); }),
            "OrvoError: Division factor 0 for clock div");
  clock.UpdateInput(5, 0);
  EXPECT_EQ(clock.GetFrequency(), 8'000'000u);
}

TEST_F(DerivedClockTest, CallsListenersAtTheirTicksAndWakesOnItsSourceForThemOnly) {
  DerivedClock middle(&source, 2, true, "middle", false);
  DerivedClock clock(&middle, 5, true, "clock", false);
  TickRecorder far("far", &log, NoteSource()), zero("zero", &log, NoteSource());
  TickRecorder near("near", &log, [](unsigned long tick) { return tick < 3 ? tick + 1 : 0; });
  TickRecorder detached("detached", &log);
  EXPECT_EQ(clock.CalculateNextSourceTick(), 0u);
  clock.AttachToTick(50, &far, false);
  EXPECT_EQ(clock.CalculateNextSourceTick(), 250u);
  clock.AttachToTick(1, &detached, false);
  clock.AttachToTick(2, &near, false);
  clock.AttachToTick(0, &zero, false);  // for which the source's first tick is the earliest
  clock.DetachFromTick(&detached);
  source.Tickrement(1000);
  EXPECT_THAT(log, ElementsAre("zero@0", "source@2", "near@2", "near@3", "far@50", "source@500"));
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
  source.Tickrement(3005);
  EXPECT_THAT(log, ElementsAre("by_time@500"));
  clock.SetDivisionFactor(2);
  EXPECT_EQ(clock.TickCount(), 500u);
  source.Tickrement(1);
  EXPECT_EQ(clock.TickCount(), 501u);
}

// --- Fixed-frequency mode ------------------------------------------------------------------------

TEST_F(DerivedClockTest, AFixedClockCountsOncePerPeriodAfterItsListenersWereCalled) {
  DerivedClock clock(&source, 32'768, true, "fixed", true);
  TickRecorder a("a", &log, NoteSource());
  clock.AttachToTick(1, &a, false);
  source.Tickrement(1952);
  EXPECT_EQ(clock.TickCount(), 0u);
  source.Tickrement(1);  // 30517 ns, not 30517.578125
  EXPECT_EQ(clock.TickCount(), 1u);
  EXPECT_THAT(log, IsEmpty());  // the count stood at 0 when the first period ended
  source.Tickrement(19530);
  EXPECT_THAT(log, ElementsAre("a@1", "source@3906"));
  EXPECT_EQ(clock.TickCount(), 11u);
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

TEST_F(DerivedClockTest, AFixedClockKeepsItsPeriodUnlessItsInputGivesAnotherAndZeroStopsIt) {
  DerivedClock clock(&source, 1'000'000, true, "fixed", true);
  clock.SetFrequency(1'000'000);
  source.Tickrement(32);
  source.SetFrequency(16'000'000);
  source.Tickrement(8);  // the second half of the period
  EXPECT_EQ(clock.TickCount(), 1u);
  for (const auto& [hz, count] : {std::pair(2'000'000ul, 9ul), {0, 9}, {1'000'000, 13}}) {
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

// --- Muxes ---------------------------------------------------------------------------------------

TEST(FrequencyMux, TellsThePresentFrequencyAtOnceAndThenThatOfTheSelectedInput) {
  struct Ear : FrequencyListener {
    void UpdateInput(unsigned long hz, unsigned short input) override {
      heard.push_back(std::to_string(hz) + " on " + std::to_string(input));
    }
    std::vector<std::string> heard;
  } ear;
  FrequencyMux mux("SYSCLK", 2, 0), next("next", 2, 1);
  mux.UpdateInput(16, 0);
  mux.AddListener(&ear, 3);
  mux.AddListener(&next, 1);
  mux.UpdateInput(8, 1);
  mux.UpdateInput(9, 0);
  mux.SetSelection(0);  // selected already
  mux.SetSelection(1);
  EXPECT_THAT(ear.heard, ElementsAre("16 on 3", "9 on 3", "8 on 3"));
  EXPECT_EQ(next.output_frequency_hz(), 8u);  // muxes in a row
  EXPECT_EQ(ErrorOf([&] { mux.UpdateInput(1, 2); }),
            "OrvoError: MuxSelector::UpdateInputFrequency - Got input number that is not exist");
  EXPECT_EQ(ErrorOf([&] { mux.SetSelection(2); }),
            "OrvoError: Mux::SetOutput - Got input number that is not exist");
}

}  // namespace
}  // namespace orvo
