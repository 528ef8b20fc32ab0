// The command line: each option's field, the help text, and what is refused.
#include "runner/args_manager.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

#include "runner/errors.h"
#include "unit/config/working_directory.h"

namespace orvo {
namespace {

using testing::HasSubstr;

using Arguments = std::vector<std::string>;

class CommandLine : public testing::Test {
 protected:
  bool Parse(Arguments arguments) {
    std::vector<char*> argv{program.data()};
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    return args.Parse(static_cast<int>(argv.size()) - 1, argv.data());
  }

  WorkingDirectory directory;
  std::string program = "./orvo";
  ArgsManager args;
};

struct OptionCase {
  Arguments arguments;
  std::function<bool(const ArgsManager&)> holds;
};

std::ostream& operator<<(std::ostream& out, const OptionCase& c) {
  for (const std::string& argument : c.arguments) out << argument << ' ';
  return out;
}

class Options : public CommandLine, public testing::WithParamInterface<OptionCase> {};

TEST_P(Options, LandInTheirFields) {
  EXPECT_FALSE(GetParam().holds(args)) << "before";
  ASSERT_TRUE(Parse(GetParam().arguments));
  EXPECT_TRUE(GetParam().holds(args));
}

#define HOLDS(condition) [](const ArgsManager& a) { return condition; }
// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, Options, testing::Values(
    OptionCase{{"-c", "2"},                  HOLDS(a.capstone == 2)},
    OptionCase{{"--capstone=1"},             HOLDS(a.capstone == 1)},
    OptionCase{{"-w"},                       HOLDS(a.wait_for_connection)},
    OptionCase{{"--wait_for_connection"},    HOLDS(a.wait_for_connection)},
    OptionCase{{"-g"},                       HOLDS(a.gdb)},
    OptionCase{{"--gdb"},                    HOLDS(a.gdb)},
    OptionCase{{"--gpio"},                   HOLDS(a.gpio)},
    OptionCase{{"--sdk-port", "0"},          HOLDS(a.sdk_port == 0)},
    OptionCase{{"--sdk-port", "65535"},      HOLDS(a.sdk_port == 65535)},
    OptionCase{{"--code-coverage"},          HOLDS(a.code_coverage)},
    OptionCase{{"-t", "regs,functions"},     HOLDS(a.trace == "regs,functions")},
    OptionCase{{"--trace", "interrupts"},    HOLDS(a.trace == "interrupts")},
    OptionCase{{"--trace-dest", "trace"},    HOLDS(a.trace_dest == "trace" && a.trace_stream.is_open())},
    OptionCase{{"-d", "dump"},               HOLDS(a.input_dump == "dump")},
    OptionCase{{"--input-dump", "dump"},     HOLDS(a.input_dump == "dump")},
    OptionCase{{"--start-tick", "4294967295"}, HOLDS(a.start_tick == 0xffffffff)},
    OptionCase{{"--start-pc", "0x1F4"},      HOLDS(a.start_pc == 0x1f4)},
    OptionCase{{"--start-pc", "1f4"},        HOLDS(a.start_pc == 0x1f4)},
    OptionCase{{"-s"},                       HOLDS(a.sudo_mode)},
    OptionCase{{"--sudo_mode"},              HOLDS(a.sudo_mode)},
    OptionCase{{"-p", "0x200"},              HOLDS(a.pc_pos == 0x200)},
    OptionCase{{"--pc_pos", "512"},          HOLDS(a.pc_pos == 512)},
    OptionCase{{"-k", "3"},                  HOLDS(a.times == 3)},
    OptionCase{{"--times", "3"},             HOLDS(a.times == 3)},
    OptionCase{{"--objdump", "list"},        HOLDS(a.objdump == "list")},
    OptionCase{{"-o", "out"},                HOLDS(a.output == "out")},
    OptionCase{{"--output", "out"},          HOLDS(a.output == "out")},
    OptionCase{{"-u"},                       HOLDS(a.uart_output_given && a.uart_output.empty())},
    OptionCase{{"-u", "-y"},                 HOLDS(a.uart_output_given && a.uart_output.empty() && a.pty)},
    OptionCase{{"-u", "file:x"},             HOLDS(a.uart_output_given && a.uart_output == "file:x" && a.uart_output_type == ArgsManager::kFile)},
    OptionCase{{"--uart_output=tcp-port:9"}, HOLDS(a.uart_output == "tcp-port:9" && a.uart_output_type == ArgsManager::kTcpPort)},
    OptionCase{{"-u", "foo"},                HOLDS(a.uart_output == "foo" && a.uart_output_type == ArgsManager::kStandardOutput)},
    OptionCase{{"-ufile:x"},                 HOLDS(a.uart_output == "file:x" && a.uart_output_type == ArgsManager::kFile)},
    OptionCase{{"-uy"},                      HOLDS(a.uart_output_given && a.uart_output.empty() && a.pty)},
    OptionCase{{"-y"},                       HOLDS(a.pty)},
    OptionCase{{"--pty"},                    HOLDS(a.pty)},
    OptionCase{{"--sp"},                     HOLDS(a.sp)},
    OptionCase{{"-m", "NRF52840"},           HOLDS(a.mcu == "nrf52840")},
    OptionCase{{"--mcu", "STM32F4"},         HOLDS(a.mcu == "stm32f411")},
    OptionCase{{"--hci"},                    HOLDS(a.hci)},
    OptionCase{{"-i", "a.bin"},              HOLDS(a.image == "a.bin")},
    OptionCase{{"--image", "a.bin"},         HOLDS(a.image == "a.bin")},
    OptionCase{{"--mips"},                   HOLDS(a.mips)},
    OptionCase{{"word", "-gsi", "a.bin"},    HOLDS(a.gdb && a.sudo_mode && a.image == "a.bin")}));
// clang-format on
#undef HOLDS

TEST_F(CommandLine, WithoutOptionsKeepsTheDefaults) {
  ASSERT_TRUE(Parse({}));
  EXPECT_EQ(args.argv0, "./orvo");
  EXPECT_EQ(args.sdk_port, 8000);
  EXPECT_EQ(args.pc_pos, 0xffffffffu);
  EXPECT_EQ(args.output, "/dev/null");
  EXPECT_EQ(args.mcu, "nrf52832");
  EXPECT_EQ(args.times, 0u);
  EXPECT_FALSE(args.uart_output_given);
  // No name is no file: this is how trace file and comparison are switched off.
  EXPECT_FALSE(args.trace_stream.good());
  EXPECT_FALSE(args.dump_stream.good());
}

TEST_F(CommandLine, McuAloneMeansTheDefaultChip) {
  ASSERT_TRUE(Parse({"-m", "mcu"}));
  EXPECT_EQ(args.mcu, "nrf52832");
}

TEST_F(CommandLine, HelpPrintsTheOptionsInOrderAndStops) {
  testing::internal::CaptureStdout();
  EXPECT_FALSE(Parse({"--help", "--mcu", "nonsense"}));
  const std::string help = testing::internal::GetCapturedStdout();
  EXPECT_THAT(help, HasSubstr("  ./orvo [OPTION...]\n"));
  size_t place = 0;
  for (const char* option : {"-c, --capstone arg ",
                             "--help ",
                             "-w, --wait_for_connection ",
                             "-g, --gdb ",
                             "--gpio ",
                             "--sdk-port arg ",
                             "--code-coverage ",
                             "-t, --trace arg ",
                             "--trace-dest arg ",
                             "-d, --input-dump arg ",
                             "--start-tick arg ",
                             "--start-pc arg ",
                             "-s, --sudo_mode ",
                             "-p, --pc_pos arg ",
                             "-k, --times arg ",
                             "--objdump arg ",
                             "-o, --output arg ",
                             "-u, --uart_output [=arg(=)] ",
                             "-y, --pty ",
                             "--sp ",
                             "-m, --mcu arg ",
                             "--hci ",
                             "-i, --image arg ",
                             "--mips "}) {
    const size_t found = help.find(option, place);
    ASSERT_NE(found, std::string::npos) << option << "missing, or out of order, in" << help;
    place = found;
  }
  EXPECT_THAT(help, HasSubstr("Run with dgb flag\n"));
}

TEST_F(CommandLine, OpensTheFilesOfTheTraces) {
  directory.Write("recorded", "pc=0\n");
  directory.Write("trace", "old");
  ASSERT_TRUE(Parse({"--trace-dest", "trace", "-d", "recorded"}));
  EXPECT_TRUE(args.dump_stream.good());
  args.trace_stream << "new" << std::flush;
  EXPECT_EQ(directory.Read("trace"), "new");
}

TEST_F(CommandLine, FileThatDoesNotOpenIsAWarning) {
  testing::internal::CaptureStderr();
  ASSERT_TRUE(Parse({"--trace-dest", "no/such/directory", "-d", "missing"}));
  const std::string warnings = testing::internal::GetCapturedStderr();
  EXPECT_THAT(warnings, HasSubstr("Warning: can't open no/such/directory"));
  EXPECT_THAT(warnings, HasSubstr("Warning: can't open missing"));
  EXPECT_FALSE(args.trace_stream.good());
}

struct RefusalCase {
  Arguments arguments;
  const char* message;
};

std::ostream& operator<<(std::ostream& out, const RefusalCase& c) {
  return out << OptionCase{c.arguments, nullptr};
}

class Refusals : public CommandLine, public testing::WithParamInterface<RefusalCase> {};

TEST_P(Refusals, SayWhatIsWrong) {
  EXPECT_THAT(ErrorOf([this] { Parse(GetParam().arguments); }), HasSubstr(GetParam().message));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, Refusals, testing::Values(
    RefusalCase{{"--sdk-port", "65536"},  "not a number from 0 to 65535: '65536'"},
    RefusalCase{{"-k", "three"},          "not a number from 0 to 4294967295: 'three'"},
    RefusalCase{{"-k", "-1"},             "'-1'"},
    RefusalCase{{"-p", "12x"},            "'12x'"},
    RefusalCase{{"--start-pc", "main"},   "Not a hexadecimal number: 'main'"},
    RefusalCase{{"--start-pc", "12 "},    "Not a hexadecimal number: '12 '"},
    RefusalCase{{"--start-pc", "100000000"}, "doesn't fit into 32 bits"},
    RefusalCase{{"--bogus"},              "bogus"},
    RefusalCase{{"-x"},                   "x"},
    RefusalCase{{"-i"},                   "missing an argument"},
    RefusalCase{{"-m", "Z80"},            "Platform isn't supported : z80"},
    RefusalCase{{"-u", "foo:bar"},        "Uart dest is not valid. Should be in format: file:<file-path> or tcp-port:<port>"},
    RefusalCase{{"-u", "File:x"},         "Uart dest is not valid."}));
// clang-format on

}  // namespace
}  // namespace orvo
