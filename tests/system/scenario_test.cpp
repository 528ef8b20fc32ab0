// Data generators as firmware meets them: as the temperature at a BME280 that it reads each 250 ms.
#include <gmock/gmock.h>

#include <sstream>

#include "build_paths.h"
#include "support/orvo_process.h"

namespace orvo {
namespace {

using testing::DoubleNear;
using testing::Each;
using testing::HasSubstr;
using testing::Pointwise;

struct Scenario {
  std::string name;
  std::string kind;
  std::string config;
  std::string data;  // of the file data.txt
  std::vector<double> temperatures;
};

std::ostream& operator<<(std::ostream& stream, const Scenario& test) { return stream << test.name; }

ProcessResult RunWeather(const Scenario& scenario) {
  OrvoBench bench;
  bench.directory().Write("board.json",
                          ReadFile(std::string(kSourceDirectory) + "/examples/weather/board.json"));
  bench.directory().Write(
      "scenario.json",
      R"({"DataGenerators": [{"id": 2, "type": "CONSTANT", "config": {"value": 0}},
      {"id": 1, "type": ")" +
          scenario.kind + R"(", "config": {)" + scenario.config + "}}]}");
  bench.directory().Write("data.txt", scenario.data);
  return bench.RunFirmware("weather.bin");
}

std::vector<double> Temperatures(const std::string& out) {
  std::vector<double> temperatures;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) {
    temperatures.push_back(std::stod(line.substr(line.find("ms") + 2)));
  }
  return temperatures;
}

class Scenarios : public testing::TestWithParam<Scenario> {};

TEST_P(Scenarios, GiveTheirValuesInOrderAndInTime) {
  const ProcessResult run = RunWeather(GetParam());
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_THAT(Temperatures(run.out), Pointwise(DoubleNear(0.0101), GetParam().temperatures));
}

const std::string kHalfSecond =
    R"(, "timing": {"changeInterval": 500, "changeIntervalUnit": "ms"})";

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    , Scenarios,
    testing::Values(
        Scenario{"constant_text", "CONSTANT", R"("value": "-7.5")", "", std::vector(9, -7.5)},
        Scenario{"constant_number", "constant", R"("value": 85)", "", std::vector(9, 85.0)},
        Scenario{"increment", "INCREMENT", R"("min": 0, "max": 11, "step": 5)", "",
                 {0, 5, 10, 0, 5, 10, 0, 5, 10}},
        Scenario{"increment_in_time", "Increment", R"("min": 0, "max": 10, "step": 5)" + kHalfSecond, "",
                 {0, 0, 5, 5, 10, 10, 0, 0, 5}},
        Scenario{"values", "VALUES", R"("validValues": [1, -2.5])", "",
                 {1, -2.5, 1, -2.5, 1, -2.5, 1, -2.5, 1}},
        Scenario{"values_in_time", "VALUES", R"("validValues": [1, 2, 3], "timing":
                                   {"changeInterval": 1000000, "changeIntervalUnit": "us"})", "",
                 {1, 1, 1, 1, 2, 2, 2, 2, 3}},
        Scenario{"file", "FILE", R"("path": "data.txt")", "1.5\n-2\n30.25\n",
                 {1.5, -2, 30.25, 1.5, -2, 30.25, 1.5, -2, 30.25}},
        Scenario{"file_by_record", "FILE", R"("path": "data.txt")", "!char-count:2\n10\n-3",
                 {10, -3, 10, -3, 10, -3, 10, -3, 10}},
        Scenario{"file_in_time", "FILE", R"("path": "data.txt")" + kHalfSecond,
                 "!char-count:5\n 1.50\n-2.00\n30.25", {1.5, 1.5, -2, -2, 30.25, 30.25, 1.5, 1.5, -2}}),
    [](const auto& test) { return test.param.name; });
// clang-format on

TEST(RandomScenario, StaysInItsRangeHoldsForItsIntervalAndRepeatsInTheNextRun) {
  const Scenario random{"", "RANDOM", R"("min": -40, "max": 80)" + kHalfSecond, "", {}};
  const ProcessResult run = RunWeather(random);
  const std::vector<double> values = Temperatures(run.out);
  ASSERT_EQ(values.size(), 9u) << run.err;
  EXPECT_THAT(values, Each(testing::AllOf(testing::Ge(-40.01), testing::Le(80.01))));
  for (size_t n = 0; n < 8; n += 2) {
    EXPECT_EQ(values[n], values[n + 1]);
    EXPECT_NE(values[n], values[n + 2]);
  }
  EXPECT_EQ(RunWeather(random).out, run.out);
}

TEST(FileScenario, RecordWithoutANumberEndsTheRunWithItsPlace) {
  const ProcessResult run =
      RunWeather({"", "FILE", R"("path": "data.txt")", "!char-count:2\n10\nxx\n12", {}});
  EXPECT_EQ(Temperatures(run.out).size(), 1u);
  EXPECT_THAT(run.err, HasSubstr("Failed to read data generator file: "));
  EXPECT_THAT(run.err, HasSubstr(": data.txt, record 1"));
}

}  // namespace
}  // namespace orvo
