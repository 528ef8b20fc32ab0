// The command line: each option's field, and what tests/system/command_line_test.cpp doesn't
// refuse.
#include "runner/args_manager.h"

#include <gmock/gmock.h>

#include "unit/config/working_directory.h"

namespace orvo {
namespace {

using testing::HasSubstr;

using Arguments = std::vector<std::string>;

std::unique_ptr<ArgsManager> Parse(Arguments arguments) {
  arguments.insert(arguments.begin(), "./orvo");
  std::vector<char*> argv;
  for (std::string& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  auto parsed = std::make_unique<ArgsManager>();
  EXPECT_TRUE(parsed->Parse(static_cast<int>(argv.size()) - 1, argv.data()));
  return parsed;
}

TEST(CommandLine, WithoutOptionsKeepsTheDefaults) {
  const auto parsed = Parse({});
  const ArgsManager& args = *parsed;
  EXPECT_EQ(args.argv0, "./orvo");
  EXPECT_EQ(args.sdk_port, 8000);
  EXPECT_EQ(args.pc_pos, 0xffffffffu);
  EXPECT_EQ(args.output, "/dev/null");
  EXPECT_EQ(args.mcu, "nrf52832");
  EXPECT_EQ(args.times, 0u);
  EXPECT_FALSE(args.uart_output_given || args.wait_for_connection || args.gdb || args.gpio ||
               args.code_coverage || args.sudo_mode || args.pty || args.sp || args.hci ||
               args.mips);
  // No name is no file: this is how trace file and comparison are switched off.
  EXPECT_FALSE(args.trace_stream.good());
  EXPECT_FALSE(args.dump_stream.good());
}

TEST(CommandLine, LongOptionsLandInTheirFields) {
  const WorkingDirectory directory;
  directory.Write("trace", "old");
  const auto parsed = Parse({"--capstone=1",
                             "--wait_for_connection",
                             "--gdb",
                             "--gpio",
                             "--sdk-port",
                             "65535",
                             "--code-coverage",
                             "--trace",
                             "interrupts",
                             "--trace-dest",
                             "trace",
                             "--input-dump",
                             "dump",
                             "--start-tick",
                             "4294967295",
                             "--start-pc",
                             "1F4",
                             "--sudo_mode",
                             "--pc_pos",
                             "512",
                             "--times",
                             "3",
                             "--objdump",
                             "list",
                             "--output",
                             "out",
                             "--pty",
                             "--sp",
                             "--vcd",
                             "pins.vcd",
                             "--mcu",
                             "STM32F4",
                             "--hci",
                             "--image",
                             "a.bin",
                             "--mips"});
  ArgsManager& args = *parsed;
  EXPECT_EQ(args.capstone, 1u);
  EXPECT_TRUE(args.wait_for_connection && args.gdb && args.gpio && args.code_coverage &&
              args.sudo_mode && args.pty && args.sp && args.hci && args.mips);
  EXPECT_EQ(args.sdk_port, 65535);
  EXPECT_EQ(args.vcd, "pins.vcd");
  EXPECT_EQ(args.trace, "interrupts");
  args.EmptyTraceFile();
  args.trace_stream << "new" << std::flush;
  EXPECT_EQ(directory.Read("trace"), "new");
  EXPECT_EQ(args.input_dump, "dump");
  EXPECT_EQ(args.start_tick, 0xffffffffu);
  EXPECT_EQ(args.start_pc, 0x1f4u);
  EXPECT_EQ(args.pc_pos, 512u);
  EXPECT_EQ(args.times, 3u);
  EXPECT_EQ(args.objdump, "list");
  EXPECT_EQ(args.output, "out");
  EXPECT_EQ(args.mcu, "stm32f411");
  EXPECT_EQ(args.image, "a.bin");
}

// It may stand behind the option, or follow without a blank.
TEST(CommandLine, UartOutputTakesADestinationUnlessAnOptionFollows) {
  struct UartCase {
    Arguments arguments;
    const char* destination;
    unsigned type;
  };
  for (const UartCase& c :
       {UartCase{{"-u"}, "", ArgsManager::kStandardOutput},
        UartCase{{"-u", "-y"}, "", ArgsManager::kStandardOutput},
        UartCase{{"-uy"}, "", ArgsManager::kStandardOutput},
        UartCase{{"-u", "foo"}, "foo", ArgsManager::kStandardOutput},
        UartCase{{"-u", "file:x"}, "file:x", ArgsManager::kFile},
        UartCase{{"-ufile:x"}, "file:x", ArgsManager::kFile},
        UartCase{{"--uart_output=tcp-port:9"}, "tcp-port:9", ArgsManager::kTcpPort}}) {
    SCOPED_TRACE(c.arguments.back());
    const auto parsed = Parse(c.arguments);
    EXPECT_TRUE(parsed->uart_output_given);
    EXPECT_EQ(parsed->uart_output, c.destination);
    EXPECT_EQ(parsed->uart_output_type, c.type);
    EXPECT_EQ(parsed->pty, c.arguments.back().ends_with('y'));
  }
}

TEST(CommandLine, FileThatDoesNotOpenIsAWarning) {
  testing::internal::CaptureStderr();
  const auto parsed = Parse({"--trace-dest", "no/such/directory", "-d", "missing"});
  const std::string warnings = testing::internal::GetCapturedStderr();
  EXPECT_THAT(warnings, HasSubstr("Warning: can't open no/such/directory"));
  EXPECT_THAT(warnings, HasSubstr("Warning: can't open missing"));
  EXPECT_FALSE(parsed->trace_stream.good());
}

TEST(CommandLine, RefusesWhatMakesNoSense) {
  const WorkingDirectory directory;
  directory.Write("recorded", "pc=0\n");
  const std::pair<Arguments, const char*> refusals[] = {
      {{"--start-pc", "main"}, "UserError: --start-pc: Not a hexadecimal number: 'main'"},
      {{"--start-pc", "12 "}, "Not a hexadecimal number: '12 '"},
      {{"--start-pc", "100000000"}, "doesn't fit into 32 bits"},
      {{"--trace-dest", "recorded", "-d", "recorded"},
       "UserError: --trace-dest would overwrite the trace to compare with: recorded"},
      {{"--trace-dest", "new", "-o", "./new"}, "--trace-dest and --output would both write ./new"},
      {{"-u", "file:coverage_report.html", "--code-coverage"},
       "--uart_output and --code-coverage would both write coverage_report.html"},
      {{"-u", "File:x"}, "UserError: Uart dest is not valid."}};
  for (const auto& [arguments, message] : refusals) {
    EXPECT_THAT(ErrorOf([&] { Parse(arguments); }), HasSubstr(message));
  }
  EXPECT_EQ(directory.Read("recorded"), "pc=0\n");
}

}  // namespace
}  // namespace orvo
