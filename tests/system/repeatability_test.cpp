// Two runs of one image are identical to the byte, traces included.
#include <gmock/gmock.h>

#include "support/orvo_process.h"

namespace orvo {
namespace {

struct Recorded {
  ProcessResult run;
  std::string trace;
  std::string dump;
  unsigned long instructions;
};

Recorded Record(const std::string& image, const std::vector<std::string>& arguments) {
  OrvoBench bench;
  std::vector<std::string> all = {"--trace-dest", "trace.txt", "-o", "dump.txt"};
  all.insert(all.end(), arguments.begin(), arguments.end());
  Recorded recorded;
  recorded.run = bench.RunFirmware(image, all);
  recorded.trace = bench.directory().Read("trace.txt");
  recorded.dump = bench.directory().Read("dump.txt");
  recorded.instructions = bench.InstructionCount();
  return recorded;
}

struct TraceCase {
  std::string name;
  std::string image;
  std::vector<std::string> arguments;
  std::string in_trace;
};

std::ostream& operator<<(std::ostream& stream, const TraceCase& test) {
  return stream << test.name;
}

class Repeated : public testing::TestWithParam<TraceCase> {};

TEST_P(Repeated, RunIsIdenticalToTheByte) {
  const TraceCase& test = GetParam();
  const Recorded first = Record(test.image, test.arguments);
  const Recorded second = Record(test.image, test.arguments);
  EXPECT_EQ(first.run.exit_status, 0) << first.run.err;
  EXPECT_THAT(first.trace, testing::HasSubstr(test.in_trace));
  EXPECT_TRUE(first.run.out == second.run.out);
  EXPECT_TRUE(first.trace == second.trace);
  EXPECT_FALSE(first.dump.empty());
  EXPECT_TRUE(first.dump == second.dump);
  EXPECT_EQ(first.instructions, second.instructions);
}

INSTANTIATE_TEST_SUITE_P(
    , Repeated,
    testing::Values(TraceCase{"registers", "ticks.bin", {"-t", "regs"}, "pc=0x00000"},
                    TraceCase{"interrupts",
                              "interrupts-O2.bin",
                              {"-t", "interrupts"},
                              "Calling IRQ handler for \"Systick\" (IRQ no. -1)\n"},
                    TraceCase{"both",
                              "ticks.hex",
                              {"-t", "regs,interrupts"},
                              "Calling IRQ handler for \"Systick\" (IRQ no. -1)\n"},
                    TraceCase{"kernel",
                              "kernel_run.bin",
                              {"-t", "interrupts"},
                              "Calling IRQ handler for \"Pendsv\" (IRQ no. -2)\n"},
                    TraceCase{"stack_depth", "control_flow-O0.bin", {"--sp"}, ""},
                    TraceCase{"lines", "ticks.bin", {"-c", "1"}, ""},
                    TraceCase{"verbose", "reset.bin", {"-c", "2", "--start-tick", "1000"}, ""}),
    [](const auto& test) { return test.param.name; });

TEST(Trace, TracingChangesNeitherOutputNorTicks) {
  const Recorded plain = Record("ticks.bin", {});
  const Recorded traced = Record("ticks.bin", {"-t", "regs"});
  EXPECT_EQ(traced.run.out, plain.run.out);
  EXPECT_EQ(traced.instructions, plain.instructions);
  EXPECT_EQ(plain.trace, "");
  // The trace starts behind tick 0, and the stop point ends the run before its instruction.
  const auto lines = std::count(traced.trace.begin(), traced.trace.end(), '\n');
  EXPECT_EQ(static_cast<unsigned long>(lines) + 1, plain.instructions);
}

}  // namespace
}  // namespace orvo
