// SIGINT and SIGTERM at any moment: the report is printed, and the status is 0.
#include <gmock/gmock.h>
#include <signal.h>

#include <thread>

#include "support/orvo_process.h"

namespace orvo {
namespace {

using testing::HasSubstr;

class Interrupted : public testing::TestWithParam<int> {};

void ExpectReportAndSuccess(const ProcessResult& run) {
  EXPECT_FALSE(run.timed_out);
  EXPECT_EQ(run.signal, 0);
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("MIPS: "));
}

TEST_P(Interrupted, WhileFirmwareRuns) {
  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("wait_running.bin"), "-u", "--mips"});
  ASSERT_TRUE(process.WaitForOutput("waiting\n", kRunLimit));
  process.Signal(GetParam());
  ExpectReportAndSuccess(process.Wait(kRunLimit));
}

TEST_P(Interrupted, WhileFirmwareWaitsForAnEvent) {
  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("wait_for_event.bin"), "-u", "--mips"});
  ASSERT_TRUE(process.WaitForOutput("waiting\n", kRunLimit));
  process.Signal(GetParam());
  ExpectReportAndSuccess(process.Wait(kRunLimit));
}

TEST_P(Interrupted, WhileFirmwarePrints) {
  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("wait_printing.bin"), "-u", "--mips"});
  ASSERT_TRUE(process.WaitForOutput("line 10 of", kRunLimit));
  process.Signal(GetParam());
  ExpectReportAndSuccess(process.Wait(kRunLimit));
}

TEST_P(Interrupted, WhileTracing) {
  OrvoBench bench;
  ChildProcess process =
      bench.Start({"-i", FirmwarePath("wait_running.bin"), "-t", "regs", "--mips"});
  ASSERT_TRUE(process.WaitForOutput("pc=0x0000", kRunLimit));
  process.Signal(GetParam());
  ExpectReportAndSuccess(process.Wait(kRunLimit));
}

TEST_P(Interrupted, WhileWaitingForAConnection) {
  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("wait_running.bin"), "-w", "--mips"});
  for (int i = 0; i < 1000 && !bench.directory().Has(".zandor/port"); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  ASSERT_TRUE(bench.directory().Has(".zandor/port"));
  process.Signal(GetParam());
  const ProcessResult run = process.Wait(kRunLimit);
  EXPECT_FALSE(run.timed_out);
  EXPECT_EQ(run.signal, 0);
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

// Before the program has set up anything a signal still ends the process by itself; afterwards it
// ends with status 0. It never hangs and never crashes.
TEST_P(Interrupted, AtAnyMomentOfTheStart) {
  for (int delay_us = 0; delay_us < 60'000; delay_us += 1500) {
    OrvoBench bench;
    ChildProcess process = bench.Start({"-i", FirmwarePath("wait_running.bin")});
    std::this_thread::sleep_for(std::chrono::microseconds(delay_us));
    process.Signal(GetParam());
    const ProcessResult run = process.Wait(kRunLimit);
    ASSERT_FALSE(run.timed_out) << "after " << delay_us << " us";
    if (run.signal != 0) {
      ASSERT_EQ(run.signal, GetParam()) << "after " << delay_us << " us" << run.err;
    } else {
      ASSERT_EQ(run.exit_status, 0) << "after " << delay_us << " us" << run.err;
    }
  }
}

TEST_P(Interrupted, TwiceIsOnce) {
  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("wait_running.bin"), "-u", "--mips"});
  ASSERT_TRUE(process.WaitForOutput("waiting\n", kRunLimit));
  for (int i = 0; i < 20; ++i) process.Signal(GetParam());
  ExpectReportAndSuccess(process.Wait(kRunLimit));
}

INSTANTIATE_TEST_SUITE_P(By, Interrupted, testing::Values(SIGINT, SIGTERM),
                         [](const auto& test) { return test.param == SIGINT ? "Int" : "Term"; });

}  // namespace
}  // namespace orvo
