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

TEST(UartOutput, NeitherItNorAnotherOutputReplacesAnInputOfTheRun) {
  OrvoBench bench;
  const std::string image =
      bench.directory().Write("app.bin", ReadFile(FirmwarePath("clocks.bin")));
  std::filesystem::create_hard_link(image, bench.directory().path() / "link.bin");
  bench.directory().Write("values.txt", "1\n");
  bench.directory().Write("scenario.json", R"({"DataGenerators": [
      {"id": 1, "type": "FILE", "config": {"path": "values.txt"}}]})");
  bench.directory().Write("board.json", "{}");
  struct Case {
    std::vector<std::string> options;
    const char* error;
    const char* input;
  };
  for (const Case& test :
       {Case{{"-u", "file:app.bin"},
             "--uart_output would overwrite the firmware image: app.bin",
             "app.bin"},
        Case{{"-u", "file:./link.bin"},
             "--uart_output would overwrite the firmware image",
             "app.bin"},
        Case{{"-u", "file:board.json"},
             "--uart_output would overwrite the board: board.json",
             "board.json"},
        Case{{"-u", "file:values.txt"},
             "--uart_output would overwrite a data file of the scenario: values.txt",
             "values.txt"},
        Case{{"--trace-dest", "values.txt", "-t", "regs"},
             "--trace-dest would overwrite a data file of the scenario: values.txt",
             "values.txt"},
        Case{{"--vcd", "scenario.json"}, "--vcd would overwrite the scenario", "scenario.json"},
        Case{{"-o", "app.bin"}, "--output would overwrite the firmware image", "app.bin"},
        Case{{"--trace-dest", "app.bin"},
             "--trace-dest would overwrite the firmware image",
             "app.bin"}}) {
    const std::string before = bench.directory().Read(test.input);
    std::vector<std::string> arguments{"-i", "app.bin", "-p", kFirmwareDone, "-k", "1"};
    arguments.insert(arguments.end(), test.options.begin(), test.options.end());
    const ProcessResult run = bench.Run(arguments);
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_THAT(run.err, HasSubstr(test.error));
    EXPECT_TRUE(bench.directory().Read(test.input) == before) << test.error;
  }
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
  EXPECT_THAT(run.err, HasSubstr("UartHandlerBase: can't write to standard output: Broken pipe"));
}

}  // namespace
}  // namespace orvo
