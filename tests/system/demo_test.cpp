// The demonstration of `make demo`, and the example of the README.
#include <gmock/gmock.h>
#include <signal.h>

#include "build_paths.h"
#include "support/orvo_process.h"

namespace orvo {
namespace {

using testing::HasSubstr;

const std::string kDemo = std::string(kSourceDirectory) + "/examples/demo/";

TEST(Demo, ImageIsWhatItsSourcesGive) {
  const std::string built = ReadFile(FirmwarePath("demo.hex"));
  ASSERT_FALSE(built.empty());
  EXPECT_TRUE(ReadFile(kDemo + "demo.hex") == built)
      << "examples/demo/demo.hex is old: build the target update_demo";
}

TEST(Demo, ShowsBannerPictureTimedLinesAndReportAndStopsByItself) {
  OrvoBench bench;
  const ProcessResult run = RunProcess(kDemo + "run", {kOrvoExecutable}, bench.directory().path());
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("a Cortex-M4 board without the board"));
  EXPECT_THAT(run.out, HasSubstr("core 410fc241 at 64 MHz"));
  EXPECT_THAT(run.out, HasSubstr("@@@@@@@@@@"));
  EXPECT_THAT(run.out, HasSubstr("[ 0.1 s]"));
  EXPECT_THAT(run.out, HasSubstr("[ 0.8 s]"));
  EXPECT_THAT(run.out, HasSubstr("s of virtual time\n"));
  EXPECT_THAT(run.out, HasSubstr("MIPS: "));
  EXPECT_THAT(run.out, HasSubstr("Stack max size : "));
}

// Virtual time does not depend on the machine: this image always takes the same ticks.
TEST(Demo, TakesTheSameTicksOnEveryMachine) {
  OrvoBench first, second;
  const std::vector<std::string> arguments = {
      "-i", kDemo + "demo.hex", "-u", "-p", kFirmwareDone, "-k", "1"};
  const ProcessResult one = first.Run(arguments);
  const ProcessResult two = second.Run(arguments);
  EXPECT_EQ(one.out, two.out);
  EXPECT_GT(first.InstructionCount(), 51'200'000u);  // 0.8 s at 64 MHz
  EXPECT_EQ(first.InstructionCount(), second.InstructionCount());
}

TEST(Readme, ExampleIsTheFileOfTheExamplesAndPrints) {
  const std::string source = ReadFile(std::string(kSourceDirectory) + "/examples/hello/hello.c");
  ASSERT_FALSE(source.empty());
  EXPECT_THAT(ReadFile(std::string(kSourceDirectory) + "/README.md"), HasSubstr(source));

  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("hello.bin"), "-u"});
  EXPECT_TRUE(process.WaitForOutput("hello\n", kRunLimit));
  process.Signal(SIGTERM);
  EXPECT_EQ(process.Wait(kRunLimit).exit_status, 0);
}

}  // namespace
}  // namespace orvo
