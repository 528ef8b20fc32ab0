#include "time/clock.h"

#include <gmock/gmock.h>

#include <thread>

#include "runner/errors.h"
#include "support/tick_recorder.h"
#include "time/clock_manager.h"
#include "time/virtual_time.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ClockTest : testing::Test {
  ClockTest() { clock.SetFrequency(64'000'000); }

  SourceClock clock{"hlck"};
  CallLog log;
  TickRecorder a{"a", &log};
  TickRecorder b{"b", &log};
  TickRecorder c{"c", &log};
};

// --- Order ---------------------------------------------------------------------------------------

TEST_F(ClockTest, ListenersAreCalledInOrderOfTickAndAmongEqualTicksOfAttachment) {
  clock.AttachToTick(3, &a, false);
  clock.AttachToTick(2, &b, false);
  clock.AttachToTick(2, &c, false);
  clock.Tickrement(5);
  EXPECT_THAT(log, ElementsAre("b@2", "c@2", "a@3"));
}

TEST_F(ClockTest, APassedTickFiresAtTheNextStepOnly) {
  clock.Tickrement(10);
  clock.AttachToTick(4, &a, false);
  EXPECT_THAT(log, IsEmpty());
  clock.Tickrement(1);
  EXPECT_THAT(log, ElementsAre("a@11"));
}

TEST_F(ClockTest, TickrementBelowOneDoesNothing) {
  clock.AttachToTick(0, &a, false);
  clock.Tickrement(0);
  clock.Tickrement(-3);
  EXPECT_EQ(clock.TickCount(), 0u);
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(ClockTest, AStepCallsListenersThenServiceFunctionsAndSaysWhetherSomethingWasDue) {
  clock.AttachToTick(2, &a, false);
  clock.service().GoFunction(
      32, [&](int) { log.push_back("service"); }, false, 0);  // 2.048 ticks
  EXPECT_FALSE(clock.AdvanceOneTick());
  EXPECT_FALSE(clock.TakeQuietStep());
  EXPECT_EQ(clock.ticks(), 1u);
  EXPECT_TRUE(clock.AdvanceOneTick());
  EXPECT_THAT(log, ElementsAre("a@2", "service"));
  EXPECT_TRUE(clock.TakeQuietStep());
  EXPECT_EQ(clock.ticks(), 3u);
  clock.ReportEveryStep();
  EXPECT_FALSE(clock.TakeQuietStep());
  EXPECT_TRUE(clock.AdvanceOneTick());
  EXPECT_TRUE(clock.AdvanceOneTick());
}

// --- Attaching again -----------------------------------------------------------------------------

TEST_F(ClockTest, TheReturnedTickAttachesAgainBehindWhoWaitsForItAlready) {
  TickRecorder twice("twice", &log, [](unsigned long tick) { return tick == 2 ? 5ul : 0ul; });
  clock.AttachToTick(2, &twice, false);
  clock.AttachToTick(5, &a, false);
  clock.Tickrement(9);
  EXPECT_THAT(log, ElementsAre("twice@2", "a@5", "twice@5"));
}

TEST_F(ClockTest, AListenerThatReturnsTheCurrentTickRunsAgainBeforeTheClockAdvances) {
  int left = 3;
  TickRecorder again("again", &log, [&](unsigned long tick) { return --left > 0 ? tick : 0ul; });
  clock.AttachToTick(1, &again, false);
  clock.Tickrement(2);
  EXPECT_THAT(log, ElementsAre("again@1", "again@1", "again@1"));
}

TEST_F(ClockTest, ASecondAttachOfOneListenerIsRefusedAndTheFirstStays) {
  clock.AttachToTick(2, &a, false);
  try {
    clock.AttachToTick(3, &a, true);
    FAIL() << "no error";
  } catch (const OrvoError& error) {
    EXPECT_EQ(error.message(), "Can't call AttachToTick twice from same object");
  }
  clock.Tickrement(4);
  EXPECT_THAT(log, ElementsAre("a@2"));
}

TEST_F(ClockTest, ListenersAttachAndDetachOthersAndThemselvesInsideTheirCall) {
  TickRecorder busy("busy", &log, [&](unsigned long tick) {
    clock.DetachFromTick(&a);
    clock.AttachToTick(tick, &b, false);
    clock.AttachToTick(tick + 1, &busy, false);
    return 0ul;
  });
  clock.AttachToTick(1, &busy, false);
  clock.AttachToTick(1, &a, false);
  clock.Tickrement(1);
  EXPECT_THAT(log, ElementsAre("busy@1", "b@1"));
  clock.DetachFromTick(&busy);
  clock.DetachFromTick(&busy);  // silent
  clock.Tickrement(1);
  EXPECT_EQ(log.size(), 2u);
}

TEST_F(ClockTest, AListenerThatRunsTheClocksListenersItselfCallsOnlyWhatIsDue) {
  TickRecorder pause("pause", &log, [&](unsigned long tick) {
    clock.AttachToTick(tick, &b, false);
    clock.HandleTickListeners();
    return 0ul;
  });
  clock.AttachToTick(1, &pause, false);
  clock.AttachToTick(2, &a, false);
  clock.Tickrement(1);
  EXPECT_THAT(log, ElementsAre("pause@1", "b@1"));
}

// --- By time -------------------------------------------------------------------------------------

struct DelayCase {
  unsigned long nanoseconds, hz, ticks;
};

TEST(VirtualTime, DelaysTruncateToTicks) {
  for (const DelayCase& c :
       {DelayCase{1, 1'000'000, 0}, DelayCase{999, 1'000'000, 0}, DelayCase{1000, 1'000'000, 1},
        DelayCase{1'000'000, 64'000'000, 64000}, DelayCase{30'517, 64'000'000, 1953},
        DelayCase{5, 0, 0}, DelayCase{~0ul, 1'000'000'000, ~0ul}}) {
    EXPECT_EQ(TicksFromNanoseconds(c.nanoseconds, c.hz), c.ticks) << c.nanoseconds << " " << c.hz;
  }
  EXPECT_EQ(TruncateToTicks(9'223'372'036'854'775'808.0), 1ul << 63);
}

TEST_F(ClockTest, ADelayBeyondTheLastTickNeverEnds) {
  clock.SetFrequency(2'000'000'000);
  clock.Tickrement(5);
  clock.AttachToTime(~0ul, &a);
  clock.Tickrement(5);
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(ClockTest, DoublingTheFrequencyDoublesTheDistanceOfByTimeListenersOnly) {
  clock.Tickrement(10);
  clock.AttachToTick(110, &a, true);
  clock.AttachToTick(110, &b, false);
  clock.SetFrequency(128'000'000);
  clock.Tickrement(300);
  EXPECT_THAT(log, ElementsAre("b@110", "a@210"));
}

TEST_F(ClockTest, RescaledDistancesTruncateAndStandBehindEqualTicksInTheirOldOrder) {
  clock.AttachToTick(9, &a, true);
  clock.AttachToTick(8, &b, true);
  clock.AttachToTick(4, &c, false);
  clock.SetFrequency(32'000'000);  // 9 / 2 and 8 / 2 are both 4
  clock.Tickrement(9);
  EXPECT_THAT(log, ElementsAre("c@4", "b@4", "a@4"));
}

TEST_F(ClockTest, AReturnedTickIsNoLongerRescaled) {
  TickRecorder again("again", &log, [](unsigned long tick) { return tick == 1 ? 101ul : 0ul; });
  clock.AttachToTime(16, &again);  // one tick
  clock.Tickrement(1);
  clock.SetFrequency(128'000'000);
  clock.Tickrement(200);
  EXPECT_THAT(log, ElementsAre("again@1", "again@101"));
}

TEST_F(ClockTest, ARescaledListenerCanStillBeDetached) {
  clock.AttachToTick(100, &a, true);
  clock.SetFrequency(32'000'000);
  clock.DetachFromTick(&a);
  clock.Tickrement(200);
  EXPECT_THAT(log, IsEmpty());
}

// --- Threads -------------------------------------------------------------------------------------

// Meant for the thread sanitiser too.
TEST_F(ClockTest, OtherThreadsAttachAndDetachWhileTheClockRuns) {
  constexpr int kThreads = 3;
  constexpr int kRounds = 100;
  std::atomic<int> calls{0};
  struct Counter : TickListener {
    explicit Counter(std::atomic<int>* count) : calls(count) {}
    unsigned long OnTick(unsigned long) override {
      waiting = false;
      ++*calls;
      return 0;
    }
    std::atomic<bool> waiting{false};
    std::atomic<int>* calls;
  };
  std::atomic<int> running{kThreads};
  std::vector<std::thread> threads;
  for (int n = 0; n < kThreads; ++n) {
    threads.emplace_back([&] {
      Counter counter(&calls);
      CallLog unused;
      TickRecorder detached("detached", &unused);
      for (int i = 0; i < kRounds; ++i) {
        counter.waiting = true;
        clock.AttachToTick(clock.ticks() + static_cast<unsigned long>(i % 3), &counter, false);
        clock.AttachToTime(1'000'000'000'000, &detached);
        clock.DetachFromTick(&detached);
        clock.service().CancelFunction(clock.service().GoFunction(
            1'000'000'000'000, [](int) {}, true, 0));
        while (counter.waiting) std::this_thread::yield();
      }
      --running;
    });
  }
  while (running > 0) {
    clock.Tickrement(1);
    std::this_thread::yield();
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(calls, kThreads * kRounds);
}

// --- ClockManager --------------------------------------------------------------------------------

TEST(ClockManager, HasTheCoreClockAndRefusesUnknownNames) {
  ClockManager clocks;
  auto added = std::make_unique<SourceClock>("apb1");
  Clock* const apb1 = added.get();
  clocks.AddClock(std::move(added));
  EXPECT_EQ(clocks.GetClockByName("apb1"), apb1);
  EXPECT_NE(dynamic_cast<SourceClock*>(clocks.GetClockByName("hlck")), nullptr);
  try {
    clocks.GetClockByName("apb3");
    FAIL() << "no error";
  } catch (const OrvoError& error) {
    EXPECT_EQ(error.message(), "Unexpected clock name value: apb3");
  }
}

}  // namespace
}  // namespace orvo
