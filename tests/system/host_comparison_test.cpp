// Programs of firmware/programs that are compiled for the host too: both print the same, at each
// optimisation level, with and without the FPU, and for a Cortex-M3.
#include <gmock/gmock.h>

#include "build_paths.h"
#include "support/orvo_process.h"

namespace orvo {
namespace {

struct ProgramCase {
  std::string program;
  std::string build;
};

std::ostream& operator<<(std::ostream& stream, const ProgramCase& test) {
  return stream << test.program << "-" << test.build;
}

std::string CaseName(const testing::TestParamInfo<ProgramCase>& info) {
  return info.param.program + "_" + info.param.build;
}

class HostComparison : public testing::TestWithParam<ProgramCase> {};

TEST_P(HostComparison, ImagePrintsWhatTheHostPrints) {
  const auto& [program, build] = GetParam();
  OrvoBench bench;
  const ProcessResult here = bench.RunFirmware(program + "-" + build + ".bin");
  const ProcessResult host =
      RunProcess(FirmwarePath("host/host_" + program), {}, bench.directory().path());

  EXPECT_EQ(here.exit_status, 0) << here.err;
  ASSERT_EQ(host.exit_status, 0) << host.err;
  ASSERT_FALSE(host.out.empty());
  EXPECT_EQ(here.out, host.out);
}

std::vector<ProgramCase> Programs(const std::vector<std::string>& builds) {
  std::vector<ProgramCase> cases;
  for (const char* program : {"integers", "control_flow", "floats", "text", "digests"}) {
    for (const std::string& build : builds) cases.push_back({program, build});
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(Levels, HostComparison,
                         testing::ValuesIn(Programs({"O0", "Os", "O2", "O3", "soft", "m3"})),
                         CaseName);

TEST(Images, HexAndBinOfOneProgramRunTheSame) {
  OrvoBench bin, hex;
  const ProcessResult from_bin = bin.RunFirmware("integers-O2.bin");
  const ProcessResult from_hex = hex.RunFirmware("integers-O2.hex");
  ASSERT_EQ(from_bin.exit_status, 0) << from_bin.err;
  EXPECT_EQ(from_hex.out, from_bin.out);
  EXPECT_GT(bin.InstructionCount(), 100'000u);
  EXPECT_EQ(hex.InstructionCount(), bin.InstructionCount());
}

TEST(Images, ProgramForTheNrf52840RunsOnIt) {
  OrvoBench small, large;
  const ProcessResult on_832 = small.RunFirmware("integers-O2.bin");
  const ProcessResult on_840 = large.RunFirmware("integers-nrf52840.bin", {"-m", "nrf52840"});
  EXPECT_EQ(on_840.exit_status, 0) << on_840.err;
  EXPECT_EQ(on_840.out, on_832.out);
}

}  // namespace
}  // namespace orvo
