// The command line: help, and mistakes that end with a clear message and status 255.
#include <gmock/gmock.h>

#include "support/orvo_process.h"

namespace orvo {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(CommandLine, HelpListsTheOptionsAndSucceeds) {
  const ProcessResult run = OrvoBench().Run({"--help"});
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(run.out, HasSubstr("[OPTION...]"));
  for (const char* option : {"-c, --capstone",
                             "--help",
                             "-w, --wait_for_connection",
                             "-g, --gdb",
                             "--gpio",
                             "--sdk-port",
                             "--code-coverage",
                             "-t, --trace",
                             "--trace-dest",
                             "-d, --input-dump",
                             "--start-tick",
                             "--start-pc",
                             "-s, --sudo_mode",
                             "-p, --pc_pos",
                             "-k, --times",
                             "--objdump",
                             "-o, --output",
                             "-u, --uart_output",
                             "-y, --pty",
                             "--sp",
                             "-m, --mcu",
                             "--hci",
                             "-i, --image",
                             "--mips"}) {
    EXPECT_THAT(run.out, HasSubstr(option));
  }
}

TEST(CommandLine, HelpComesBeforeAnUnsupportedPlatform) {
  EXPECT_EQ(OrvoBench().Run({"--help", "--mcu", "z80"}).exit_status, 0);
}

TEST(CommandLine, PlatformNamesAndAliasesAreFoundInAnyCase) {
  for (const char* name : {"NRF52832", "mcu", "nRF52832"}) {
    const ProcessResult run = OrvoBench().RunFirmware("clocks.bin", {"-m", name});
    EXPECT_EQ(run.exit_status, 0) << name << run.err;
    EXPECT_THAT(run.out, StartsWith("high frequency: run 1")) << name;
  }
}

struct Mistake {
  std::string name;
  std::vector<std::string> arguments;
  std::string message;
};

std::ostream& operator<<(std::ostream& stream, const Mistake& test) { return stream << test.name; }

class Mistakes : public testing::TestWithParam<Mistake> {};

TEST_P(Mistakes, EndWithAMessageThatNamesThemAndStatus255) {
  const ProcessResult run = OrvoBench().Run(GetParam().arguments);
  EXPECT_EQ(run.exit_status, 255);
  EXPECT_EQ(run.signal, 0);
  EXPECT_THAT(run.err, HasSubstr(GetParam().message));
}

const std::string kImage = FirmwarePath("clocks.bin");

INSTANTIATE_TEST_SUITE_P(
    , Mistakes,
    testing::Values(
        Mistake{"no_arguments", {}, "Missing image file"},
        Mistake{"unknown_option", {"-i", kImage, "--speed"}, "Option ‘speed’ does not exist"},
        Mistake{"unknown_letter", {"-i", kImage, "-z"}, "Option ‘z’ does not exist"},
        Mistake{"missing_value", {"-m"}, "missing an argument"},
        Mistake{"word_for_number",
                {"-i", kImage, "-p", "start"},
                "not a number from 0 to 4294967295: 'start'"},
        Mistake{"hexadecimal_garbage", {"-i", kImage, "--start-tick", "12x"}, "'12x'"},
        Mistake{"negative_number", {"-i", kImage, "-k", "-1"}, "'-1'"},
        Mistake{"number_beyond_32_bits", {"-i", kImage, "-p", "4294967296"}, "'4294967296'"},
        Mistake{"port_beyond_16_bits",
                {"-i", kImage, "--sdk-port", "65536"},
                "not a number from 0 to 65535: '65536'"},
        Mistake{"unknown_chip", {"-i", kImage, "-m", "z80"}, "Platform isn't supported : z80"},
        Mistake{"capstone_mode", {"-i", kImage, "-c", "3"}, "Unknown capstone_prints"},
        Mistake{"uart_destination",
                {"-i", kImage, "-u", "fax:5"},
                "Uart dest is not valid. Should be in format: file:<file-path> or "
                "tcp-port:<port>"},
        Mistake{"uart_port",
                {"-i", kImage, "-u", "tcp-port:abc"},
                "UART TCP port in invalid. Must be a number"},
        Mistake{"uart_port_beyond_16_bits",
                {"-i", kImage, "-u", "tcp-port:65536"},
                "UART TCP port in invalid. Must be a number"}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace orvo
