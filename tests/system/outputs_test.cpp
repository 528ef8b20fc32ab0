// Where the output of a run goes, and what happens when it can't go there.
#include <gmock/gmock.h>

#include "support/orvo_process.h"

namespace orvo {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST(UartOutput, GoesToTheFileThatIsNamed) {
  OrvoBench bench;
  const ProcessResult run = bench.Run({"-i", FirmwarePath("clocks.bin"), "-p", kFirmwareDone, "-k",
                                       "1", "--uart_output=file:uart.txt"});
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_THAT(run.out, Not(HasSubstr("high frequency")));
  EXPECT_THAT(bench.directory().Read("uart.txt"), StartsWith("high frequency: run 1"));
}

TEST(UartOutput, IsSilentWithoutTheOption) {
  const ProcessResult run =
      OrvoBench().Run({"-i", FirmwarePath("clocks.bin"), "-p", kFirmwareDone, "-k", "1"});
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_EQ(run.out, "");
}

TEST(UartOutput, FileThatCannotBeOpenedIsNamed) {
  const ProcessResult run =
      OrvoBench().Run({"-i", FirmwarePath("clocks.bin"), "-p", kFirmwareDone, "-k", "1",
                       "--uart_output=file:/nonexistent/uart.txt"});
  EXPECT_THAT(run.err, HasSubstr("/nonexistent/uart.txt"));
  EXPECT_EQ(run.exit_status, 255);
}

TEST(UartOutput, FullDiskIsReportedOnceAndTheRunEnds) {
  const ProcessResult run = OrvoBench().Run({"-i", FirmwarePath("clocks.bin"), "-p", kFirmwareDone,
                                             "-k", "1", "--uart_output=file:/dev/full"});
  EXPECT_FALSE(run.timed_out);
  EXPECT_EQ(run.signal, 0);
  EXPECT_THAT(run.err, HasSubstr("/dev/full"));
  EXPECT_LT(run.err.size(), 2000u);
}

TEST(TraceOutput, FallsBackToStandardOutputAndSaysSo) {
  OrvoBench bench;
  const ProcessResult run =
      bench.RunFirmware("ticks.bin", {"-t", "regs", "--trace-dest", "/nonexistent/trace.txt"});
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("pc=0x00000"));
  EXPECT_THAT(run.err, HasSubstr("/nonexistent/trace.txt"));
}

TEST(DumpOutput, FileThatCannotBeOpenedIsNamedAndTheRunEndsAsUsual) {
  const ProcessResult run =
      OrvoBench().RunFirmware("clocks.bin", {"-o", "/nonexistent/dump.txt", "--mips"});
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_THAT(run.out, HasSubstr("MIPS: "));
  EXPECT_THAT(run.err, HasSubstr("/nonexistent/dump.txt"));
}

TEST(StandardOutput, ClosedReaderEndsNeitherInASignalNorInAHang) {
  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("wait_printing.bin"), "-u"});
  ASSERT_TRUE(process.WaitForOutput("line 10 of", kRunLimit));
  process.CloseOutput();
  const ProcessResult run = process.Wait(kRunLimit);
  EXPECT_FALSE(run.timed_out);
  EXPECT_EQ(run.signal, 0);
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

}  // namespace
}  // namespace orvo
