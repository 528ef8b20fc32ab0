// Virtual time as firmware measures it, over a thousand ticks and over ten million.
#include <gmock/gmock.h>

#include <sstream>

#include "support/orvo_process.h"

namespace orvo {
namespace {

// The comments of the program count the ticks.
TEST(Time, SysTickWrapsReadsAndStopsToTheTick) {
  const ProcessResult run = OrvoBench().RunFirmware("counting.bin");
  EXPECT_EQ(run.out,
            "flag, flag again, ticks of two wraps: 1 0 1005 2006\n"
            "current values, ticks of the wraps: 998 996 999 1502 1002\n"
            "wrap after stop and start: 1004\n"
            "call, it, float, load, svc, hints: 4 7 5 5 3 5\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

// The monitor stops the kernel at its tick 10010. The producer has sent at every third until then.
// The consumer sleeps after each 64 items; the last of its sleeps leaves the queue's 8 waiting.
TEST(Time, KernelOfTenMillionTicksHasNoDrift) {
  constexpr unsigned kSent = 10010 / 3;
  constexpr unsigned kReceived = kSent - 8;
  static_assert(kReceived % 64 == 0);
  unsigned sum = 0;
  for (unsigned item = 0; item < kReceived; ++item) sum = (sum ^ item) * 16777619u;
  std::ostringstream expected;
  expected << "1001 wake-ups over 10000000 ticks, 0 of them off\n"
           << "sent " << kSent << ", received " << kReceived << ", out of order 0, sum " << std::hex
           << sum << std::dec << ", up to 8 waiting\n"
           << "timeouts " << 10010 / 7 - 1 << ", inexact 0\n"
           << "workers: wrong rounds 0, equal shares: yes\n";

  const ProcessResult run = OrvoBench().RunFirmware("kernel_run.bin");
  EXPECT_EQ(run.out, expected.str());
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

}  // namespace
}  // namespace orvo
