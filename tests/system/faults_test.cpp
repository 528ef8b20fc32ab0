// Runs that firmware brings to an end, and faults that it survives.
#include <gmock/gmock.h>

#include "support/orvo_process.h"

namespace orvo {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

TEST(Faults, HardFaultWithoutHandlerEndsTheRunWithStatusOne) {
  const ProcessResult run = OrvoBench().RunFirmware("fault.bin");
  EXPECT_EQ(run.exit_status, 1);
  EXPECT_EQ(run.out, "reading where nothing is\n");
  EXPECT_THAT(run.err, HasSubstr("Warning: Unknown address 0x30000000."));
  EXPECT_THAT(run.err, HasSubstr("Warning: handler for interrupt for Hard Fault wasn't define."));
}

TEST(Faults, HandlersOfFirmwareSeeTheirFaultsAndTheRunGoesOn) {
  const ProcessResult run = OrvoBench().RunFirmware("fault_handled.bin");
  EXPECT_EQ(run.out,
            "reading where nothing is\n"
            "hard faults 1, forced 1, address 30000000\n"
            "7 / 0 = 0 without the trap\n"
            "7 / 0 = 0, usage faults 1, divide by zero 1\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

struct EndCase {
  const char* image;
  const char* message;
};

std::ostream& operator<<(std::ostream& stream, const EndCase& test) { return stream << test.image; }

class UnsupportedThings : public testing::TestWithParam<EndCase> {};

TEST_P(UnsupportedThings, EndTheRunWithAnErrorThatNamesThemAndTheReport) {
  OrvoBench bench;
  const ProcessResult run = bench.RunFirmware(std::string(GetParam().image) + ".bin", {"--mips"});
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_THAT(run.out, HasSubstr("before\n"));
  EXPECT_THAT(run.out, Not(HasSubstr("after\n")));
  EXPECT_THAT(run.out, HasSubstr("MIPS: "));
  EXPECT_THAT(run.err, HasSubstr(GetParam().message));
  EXPECT_THAT(run.err, ContainsRegex(" TC: [0-9]+ PC: 0x[0-9a-f]+"));
}

INSTANTIATE_TEST_SUITE_P(
    , UnsupportedThings,
    testing::Values(
        EndCase{"unsupported_instruction", "Arm instruction=ssat_3"},
        EndCase{"unsupported_block", "section=NFCT"},
        EndCase{"unsupported_task", "Nrf52POWER_CLOCK::set_TASKS_CONSTLAT: unsupported task"},
        EndCase{"unsupported_ppi_task", "Nrf52POWER_CLOCK::set_TASKS_CONSTLAT: unsupported task"},
        EndCase{"ppi_circle", "without end, last by the event at 0x40000100"},
        EndCase{"unsupported_calibration",
                "Illegal attempt to CAL the LFCLK while HFCLK is not running"},
        EndCase{"unsupported_overflow", "Nrf52RTC::set_TASKS_TRIGOVRFLW: unsupported task"},
        EndCase{"unsupported_pause", "WDTHandler::set_CONFIG unsupported Pause configuration"}),
    [](const auto& test) { return std::string(test.param.image); });

}  // namespace
}  // namespace orvo
