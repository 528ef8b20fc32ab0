// The handshake between a debugger and a loop that does what the run loop does.
#include "control/debugging_locks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "runner/args_manager.h"
#include "support/test_mcu.h"

namespace orvo {
namespace {

// The firmware goes through the addresses 0, 2, ... 0xfe for ever. The test is the debugger.
class DebuggingLocksTest : public testing::Test {
 protected:
  DebuggingLocksTest() { ArgsManager::Get().gdb = true; }
  ~DebuggingLocksTest() override {
    end = true;
    mcu.Stop();
    locks.Stop();
    if (loop.joinable()) loop.join();
    ISingelton<ArgsManager>::ReleaseInstance();
  }

  // Starts the loop, which stands before its first instruction as soon as it can.
  void StartPaused() {
    locks.PauseMcu();
    loop = std::thread([this] { Loop(); });
    locks.DebuggerWait();
  }
  void Loop() {
    Clock& clock = mcu.clock();
    clock.HandleSelfTickListeners();
    while (!end) {
      if (locks.CheckBreakpoints(pc)) {
        locks.PauseMcuForBreakpoint();
        clock.HandleSelfTickListeners();
      }
      pc = (pc + 2) & 0xff;
      clock.AdvanceOneTick();
    }
  }
  // Whether time stands still.
  bool Stands() {
    const unsigned long tick = mcu.clock().ticks();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    return mcu.clock().ticks() == tick;
  }

  TestMcu mcu;
  DebuggingLocks locks{&mcu};
  std::atomic<unsigned> pc{0};
  std::atomic<bool> end{false};
  std::thread loop;
};

TEST_F(DebuggingLocksTest, BreakpointsAreFoundAndRemoved) {
  // These fall on one bit of the quick test.
  constexpr unsigned kSameBit = 128;
  locks.AddBreakpoint(0x100);
  locks.AddBreakpoint(0x100 + kSameBit);
  EXPECT_TRUE(locks.CheckBreakpoints(0x100));
  EXPECT_TRUE(locks.CheckBreakpoints(0x100 + kSameBit));
  EXPECT_FALSE(locks.CheckBreakpoints(0x100 + 2 * kSameBit));
  EXPECT_FALSE(locks.CheckBreakpoints(0x102));
  locks.RemoveBreakpoint(0x100);
  locks.RemoveBreakpoint(0x400);
  EXPECT_FALSE(locks.CheckBreakpoints(0x100));
  EXPECT_TRUE(locks.CheckBreakpoints(0x100 + kSameBit));
  locks.AddBreakpoint(0x100);
  EXPECT_TRUE(locks.CheckBreakpoints(0x100));
}

TEST_F(DebuggingLocksTest, ResumeGoesToTheBreakpointAndAStepExecutesOneInstruction) {
  StartPaused();
  EXPECT_TRUE(Stands());
  EXPECT_EQ(pc, 0u);
  locks.AddBreakpoint(0x20);
  locks.ResumeMcu();
  EXPECT_EQ(pc, 0x20u);
  EXPECT_EQ(mcu.clock().ticks(), 0x10u);
  EXPECT_TRUE(Stands());
  locks.ResumeMcu();
  EXPECT_EQ(mcu.clock().ticks(), 0x10u + 0x80) << "once round";
  locks.RemoveBreakpoint(0x20);
  locks.ResumeMcuOneStep();
  EXPECT_EQ(pc, 0x22u);
  locks.AddBreakpoint(0x24);
  locks.ResumeMcuOneStep();  // two reasons to stop
  EXPECT_EQ(pc, 0x24u);
  EXPECT_TRUE(Stands());
}

TEST_F(DebuggingLocksTest, PauseStopsARunningLoop) {
  StartPaused();
  std::thread worker([this] { locks.ResumeMcu(); });
  while (mcu.clock().ticks() == 0) std::this_thread::yield();
  locks.PauseMcu();
  worker.join();
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_TRUE(Stands());
}

TEST_F(DebuggingLocksTest, StopReleasesWhoWaitsNowAndLater) {
  StartPaused();
  std::thread worker([this] { locks.ResumeMcu(); });
  while (mcu.clock().ticks() == 0) std::this_thread::yield();
  locks.Stop();
  worker.join();
  locks.ResumeMcu();
  locks.DebuggerWait();
}

}  // namespace
}  // namespace orvo
