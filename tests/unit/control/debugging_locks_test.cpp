// Breakpoints as the run loop finds them. What a debugger does with them: tests/system/gdb_*.cpp.
#include "control/debugging_locks.h"

#include <gtest/gtest.h>

#include "support/test_mcu.h"

namespace orvo {
namespace {

TEST(DebuggingLocks, BreakpointsAreFoundAndRemoved) {
  TestMcu mcu;
  DebuggingLocks locks(&mcu);
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

}  // namespace
}  // namespace orvo
