#include "time/clock.h"

#include <gmock/gmock.h>

#include <thread>

#include "support/error_of.h"
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
  TickRecorder a{"a", &log}, b{"b", &log}, c{"c", &log};
};

TEST_F(ClockTest, CallsInOrderOfTickThenOfAttachmentAndForAPassedTickAtTheNextStep) {
  clock.AttachToTick(3, &a, false);
  clock.AttachToTick(2, &b, false);
  clock.AttachToTick(2, &c, false);
  clock.Tickrement(5);
  clock.AttachToTick(4, &a, false);
  clock.Tickrement(0);
  clock.Tickrement(-3);
  EXPECT_THAT(log, ElementsAre("b@2", "c@2", "a@3"));
  clock.Tickrement(1);
  EXPECT_EQ(log.back(), "a@6");
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

TEST_F(ClockTest, AReturnedTickAttachesAgainBehindWhoWaitsForItAndTheCurrentOneAtOnce) {
  int left = 2;
  TickRecorder again("again", &log, [&](unsigned long tick) {
    if (tick == 2) return 5ul;
    return left-- > 0 ? tick : 0ul;
  });
  clock.AttachToTick(2, &again, false);
  clock.AttachToTick(5, &a, false);
  EXPECT_EQ(ErrorOf([&] { clock.AttachToTick(3, &a, true); }),
            "OrvoError: Can't call AttachToTick twice from same object");
  clock.Tickrement(9);
  EXPECT_THAT(log, ElementsAre("again@2", "a@5", "again@5", "again@5", "again@5"));
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

TEST_F(ClockTest, DelaysTruncateToTicksAndOneBeyondTheLastTickNeverEnds) {
  for (const auto& [nanoseconds, hz, ticks] : {std::tuple(999ul, 1'000'000ul, 0ul),
                                               {1000, 1'000'000, 1},
                                               {30'517, 64'000'000, 1953},
                                               {5, 0, 0},
                                               {~0ul, 1'000'000'000, ~0ul}}) {
    EXPECT_EQ(TicksFromNanoseconds(nanoseconds, hz), ticks) << nanoseconds << " " << hz;
  }
  clock.SetFrequency(2'000'000'000);
  clock.Tickrement(5);
  clock.AttachToTime(~0ul, &a);
  clock.Tickrement(5);
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(ClockTest, ANewFrequencyMovesByTimeListenersTruncatingBehindEqualTicksInTheirOldOrder) {
  TickRecorder detached("detached", &log);
  TickRecorder again("again", &log, [](unsigned long tick) { return tick == 1 ? 99ul : 0ul; });
  clock.AttachToTime(16, &again);  // one tick; what it returns stays where it is
  clock.Tickrement(10);
  clock.AttachToTick(19, &a, true);
  clock.AttachToTick(18, &b, true);
  clock.AttachToTick(14, &c, false);
  clock.AttachToTick(100, &detached, true);
  clock.SetFrequency(32'000'000);  // 9 / 2 and 8 / 2 are both 4
  clock.DetachFromTick(&detached);
  clock.Tickrement(100);
  EXPECT_THAT(log, ElementsAre("again@1", "c@14", "b@14", "a@14", "again@99"));
}

// --- Threads, for the thread sanitiser too -------------------------------------------------------

TEST_F(ClockTest, OtherThreadsAttachAndDetachWhileTheClockRuns) {
  constexpr int kThreads = 3;
  constexpr int kRounds = 100;
  std::atomic<int> running{kThreads}, calls{0};
  std::vector<std::thread> threads;
  for (int n = 0; n < kThreads; ++n) {
    threads.emplace_back([&] {
      std::atomic<int> called{0};
      CallLog of_this_thread;
      TickRecorder detached("detached", &of_this_thread);
      TickRecorder counter("counter", &of_this_thread, [&](unsigned long) {
        ++calls;
        ++called;
        return 0ul;
      });
      for (int i = 0; i < kRounds; ++i) {
        clock.AttachToTick(clock.ticks() + static_cast<unsigned long>(i % 3), &counter, false);
        clock.AttachToTime(1'000'000'000'000, &detached);
        clock.DetachFromTick(&detached);
        clock.service().CancelFunction(clock.service().GoFunction(
            1'000'000'000'000, [](int) {}, true, 0));
        while (called <= i) std::this_thread::yield();
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

// Two numbers that only differ while somebody is inside.
TEST(OwnerLock, KeepsOwnerAndOtherThreadsApart) {
  constexpr int kThreads = 2;
  constexpr long kRounds = 50'000;
  OwnerLock lock;
  std::atomic<int> running{kThreads};
  volatile long first = 0, second = 0;
  long mixed = 0;
  const auto round = [&] {
    const std::lock_guard inside(lock);
    if (first != second) ++mixed;
    first = first + 1;
    second = second + 1;
  };
  std::vector<std::thread> others;
  for (int n = 0; n < kThreads; ++n) {
    others.emplace_back([&] {
      for (long i = 0; i < kRounds; ++i) round();
      --running;
    });
  }
  long owner_rounds = 0;
  for (; running > 0; ++owner_rounds) round();
  for (std::thread& other : others) other.join();
  EXPECT_EQ(mixed, 0);
  EXPECT_EQ(first, owner_rounds + kThreads * kRounds);
}

TEST(ClockManager, HasTheCoreClockAndRefusesUnknownNames) {
  ClockManager clocks;
  clocks.AddClock(std::make_unique<SourceClock>("apb1"));
  EXPECT_EQ(clocks.GetClockByName("apb1")->name(), "apb1");
  EXPECT_NE(dynamic_cast<SourceClock*>(clocks.GetClockByName("hlck")), nullptr);
  EXPECT_EQ(ErrorOf([&] { clocks.GetClockByName("apb3"); }),
            "OrvoError: Unexpected clock name value: apb3");
}

}  // namespace
}  // namespace orvo
