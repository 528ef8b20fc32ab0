#include "config/data_generators.h"

#include <gmock/gmock.h>

#include <memory>
#include <set>

#include "config/scenario_file_handler.h"
#include "support/test_mcu.h"
#include "unit/config/working_directory.h"

namespace orvo {
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::StartsWith;

// A generator of a kind, on a chip whose clock is at tick 0.
struct GeneratorBench {
  TestMcu mcu;
  nlohmann::json config;
  std::unique_ptr<DataGenerator> generator;

  GeneratorBench(const std::string& kind, const std::string& text)
      : config(nlohmann::json::parse(text)),
        generator(ScenarioFileHandler::dataGeneratorFactoryMethod(
            kind, JsonPlace(config, "scenario.json", "config"))) {
    generator->SetMcu(&mcu);
  }

  // The next value as text, read as Int32, Double, int16 (H), UInt8 (B) or String.
  std::string Read(char as) {
    switch (as) {
      case 'I':
        return std::to_string(generator->GetNextInt32());
      case 'D':
        return std::to_string(generator->GetNextDouble());
      case 'H':
        return std::to_string(generator->GetNextInt16());
      case 'B':
        return std::to_string(generator->GetNextUInt8());
      default:
        return generator->GetNextString();
    }
  }
};

struct ValueCase {
  std::string name;
  std::string kind;
  std::string config;
  std::string reads;  // one letter per read
  std::vector<std::string> expected;
};

class DataGenerators : public testing::TestWithParam<ValueCase> {};

TEST_P(DataGenerators, GiveAndCacheTheirValues) {
  GeneratorBench bench(GetParam().kind, GetParam().config);
  std::vector<std::string> values;
  for (const char as : GetParam().reads) {
    values.push_back(bench.Read(as));
    EXPECT_EQ(bench.generator->GetCachedValueStr(), values.back());
  }
  EXPECT_EQ(values, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    , DataGenerators,
    testing::Values(ValueCase{"constant_text",
                              "constant",
                              R"({"value": "-12.75"})",
                              "IDHBS",
                              {"-12", "-12.750000", "-12", "244", "-12.75"}},
                    ValueCase{
                        "constant_number", "CONSTANT", R"({"value": 5})", "SI", {"5.000000", "5"}},
                    ValueCase{"increment",
                              "Increment",
                              R"({"min": 0, "max": 10, "step": 5})",
                              "IIIID",
                              {"0", "5", "10", "0", "5.000000"}},
                    ValueCase{"increment_that_misses_max",
                              "INCREMENT",
                              R"({"min": 1, "max": 2, "step": 0.6})",
                              "DDDI",
                              {"1.000000", "1.600000", "1.000000", "2"}},
                    ValueCase{"increment_downwards",
                              "INCREMENT",
                              R"({"min": 3, "max": 1, "step": -1})",
                              "IIII",
                              {"3", "2", "1", "3"}},
                    ValueCase{"values",
                              "VALUES",
                              R"({"validValues": [1.9, -3.5, 300]})",
                              "IDBHHB",
                              {"1", "-3.500000", "44", "1", "-3", "44"}},
                    ValueCase{"sine_at_tick_0",
                              "SIN",
                              R"({"min": -2, "max": 6, "sinFrequency": 3})",
                              "DD",
                              {"2.000000", "2.000000"}}),
    [](const auto& test) { return test.param.name; });

struct RefusalCase {
  std::string name;
  std::string kind;
  std::string config;
  char read;  // 0: the construction is refused
  std::string message;
};

class DataGeneratorRefusals : public testing::TestWithParam<RefusalCase> {};

TEST_P(DataGeneratorRefusals, NameTheReason) {
  EXPECT_THAT(ErrorOf([] {
                GeneratorBench bench(GetParam().kind, GetParam().config);
                if (GetParam().read != 0) bench.Read(GetParam().read);
              }),
              StartsWith(GetParam().message));
}

constexpr char kCheck[] = ". Please check your scenario.json file";

INSTANTIATE_TEST_SUITE_P(
    , DataGeneratorRefusals,
    testing::Values(
        RefusalCase{"unknown", "noise", "{}", 0, "UserError: Unsupported data generator: NOISE"},
        RefusalCase{"constant_value", "CONSTANT", "{}", 0,
                    "UserError: Missing 'value' key in constant data generator CONSTANT"},
        RefusalCase{
            "random_min", "RANDOM", R"({"max": 1})", 0,
            std::string("UserError: Missing min value in random generator RANDOM") + kCheck},
        RefusalCase{"random_max", "RANDOM", R"({"min": 1})", 0,
                    "UserError: Missing max value in random generator RANDOM"},
        RefusalCase{"increment_min", "INCREMENT", "{}", 0,
                    "UserError: Missing min value in data generator INCREMENT"},
        RefusalCase{"increment_max", "INCREMENT", R"({"min": 1, "step": 1})", 0,
                    "UserError: Missing max value in data generator INCREMENT"},
        RefusalCase{"increment_step", "INCREMENT", R"({"min": 1, "max": 2})", 0,
                    "UserError: Missing step value in data generator INCREMENT.Please check your "
                    "scenario.json file"},
        RefusalCase{"sine_min", "SIN", "{}", 0,
                    std::string("UserError: Missing min value in sine generator.SIN") + kCheck},
        RefusalCase{"sine_max", "SIN", R"({"min": 1})", 0,
                    "UserError: Missing max value in sine generator SIN"},
        RefusalCase{"sine_frequency", "SIN", R"({"min": 1, "max": 2})", 0,
                    "UserError: Missing sinFrequency value in sine generator SIN"},
        RefusalCase{"values", "VALUES", "{}", 0,
                    "UserError: Missing validValues value in values generator VALUES"},
        RefusalCase{"path", "FILE", "{}", 0,
                    "UserError: Missing 'path' key in data generator: FILE"},
        RefusalCase{"no_values", "VALUES", R"({"validValues": []})", 0,
                    "UserError: scenario.json: config.validValues: expected an array of at least "
                    "one number"},
        RefusalCase{"value_type", "VALUES", R"({"validValues": [1, "2"]})", 0,
                    "UserError: scenario.json: config.validValues[1]: expected a number, found a "
                    "string"},
        RefusalCase{"empty_range", "RANDOM", R"({"min": 5, "max": 5})", 0,
                    "UserError: scenario.json: config.max: expected a value above min"},
        RefusalCase{"range_of_33_bits", "RANDOM", R"({"min": -2147483648, "max": 2147483647})", 0,
                    "UserError: scenario.json: config.max: expected a value above min"},
        RefusalCase{"step_of_0", "INCREMENT", R"({"min": 0, "max": 5, "step": 0})", 0,
                    "UserError: scenario.json: config.step: expected a step that leads from min"},
        RefusalCase{"step_away", "INCREMENT", R"({"min": 0, "max": 5, "step": -1})", 0,
                    "UserError: scenario.json: config.step: expected a step that leads from min"},
        RefusalCase{"interval_type", "CONSTANT",
                    R"({"value": 1, "timing": {"changeInterval": -1, "changeIntervalUnit": "s"}})",
                    0,
                    "UserError: scenario.json: config.timing.changeInterval: expected an "
                    "integer"},
        RefusalCase{"not_a_number", "CONSTANT", R"({"value": "3 apples"})", 'D',
                    "UserError: ConstantDataGenerator - got invalid argument"},
        RefusalCase{"no_integer", "CONSTANT", R"({"value": "1e30"})", 'I',
                    "UserError: Data generator CONSTANT: "},
        RefusalCase{"string", "VALUES", R"({"validValues": [1]})", 'S',
                    "OrvoError: string not supported in this data generator: VALUES"},
        RefusalCase{"int16", "RANDOM", R"({"min": 0, "max": 1})", 'H',
                    "OrvoError: Int16 not supported in this data generator: RANDOM"},
        RefusalCase{"uint8", "INCREMENT", R"({"min": 0, "max": 1, "step": 1})", 'B',
                    "OrvoError: Uint8 not supported in this data generator: INCREMENT"},
        RefusalCase{"int32", "SIN", R"({"min": 0, "max": 1, "sinFrequency": 1})", 'I',
                    "OrvoError: Int32 not supported in this data generator: SIN"}),
    [](const auto& test) { return test.param.name; });

// ---- Time ----

struct TimingCase {
  std::string unit;
  unsigned interval;
  unsigned long interval_ns;
};

class Timing : public testing::TestWithParam<TimingCase> {};

TEST_P(Timing, StepLastsOneInterval) {
  const TimingCase& test = GetParam();
  GeneratorBench bench("INCREMENT", R"({"min": 0, "max": 9, "step": 1, "timing":
      {"changeInterval": )" + std::to_string(test.interval) +
                                        R"(, "changeIntervalUnit": ")" + test.unit + "\"}}");
  EXPECT_EQ(bench.generator->GetIntervalNS(), test.interval_ns);
  bench.mcu.clock().SetFrequency(1'000'000'000 / test.interval_ns * 4);  // four ticks per step
  std::vector<int> values;
  for (int tick = 0; tick < 9; ++tick) {
    values.push_back(bench.generator->GetNextInt32());
    EXPECT_EQ(bench.generator->GetNextInt32(), values.back());
    bench.mcu.clock().Tickrement(1);
  }
  EXPECT_THAT(values, ElementsAre(0, 0, 0, 0, 1, 1, 1, 1, 2));
}

INSTANTIATE_TEST_SUITE_P(, Timing,
                         testing::Values(TimingCase{"s", 1, 1'000'000'000},
                                         TimingCase{"ms", 2, 2'000'000},
                                         TimingCase{"us", 500, 500'000},
                                         TimingCase{"ns", 1000, 1000},
                                         TimingCase{"fortnights", 1000, 1000}),
                         [](const auto& test) { return test.param.unit; });

TEST(RandomDataGenerator, StaysInItsRangeAndMovesOnAtEachRead) {
  GeneratorBench bench("RANDOM", R"({"min": -50, "max": 1000000})");
  std::set<int> values;
  for (int i = 0; i < 100; ++i) values.insert(bench.generator->GetNextInt32());
  EXPECT_GT(values.size(), 90u);
  EXPECT_GE(*values.begin(), -50);
  EXPECT_LT(*values.rbegin(), 1'000'000);
  const double value = bench.generator->GetNextDouble();
  EXPECT_GE(value, -50);
  EXPECT_LE(value, 1'000'100);
}

TEST(RandomDataGenerator, HoldsItsValueForOneInterval) {
  GeneratorBench bench("RANDOM", R"({"min": 0, "max": 1000000000,
      "timing": {"changeInterval": 1, "changeIntervalUnit": "us"}})");  // 64 ticks
  const int first = bench.generator->GetNextInt32();
  bench.mcu.clock().Tickrement(63);
  EXPECT_EQ(bench.generator->GetNextInt32(), first);
  bench.mcu.clock().Tickrement(1);
  EXPECT_NE(bench.generator->GetNextInt32(), first);
}

TEST(SinDataGenerator, FollowsVirtualTimeAndNotTheReads) {
  GeneratorBench bench("SIN", R"({"min": 10, "max": 20, "sinFrequency": 250000})");
  bench.mcu.clock().Tickrement(64);  // a quarter of a period at 64 MHz
  std::vector<double> values;
  for (int i = 0; i < 3; ++i) values.push_back(bench.generator->GetNextDouble());
  EXPECT_THAT(values, Each(testing::DoubleNear(20, 1e-9)));
}

TEST(DataGenerator, CachedValueBeforeTheFirstReadIsAnError) {
  GeneratorBench bench("CONSTANT", R"({"value": "2.5"})");
  EXPECT_EQ(bench.generator->GetCachedValueStr(), "");
  EXPECT_EQ(ErrorOf([&] { bench.generator->GetCachedValue(); }),
            "UserError: DataGenerator::GetCachedValue - invalid argument");
  bench.generator->GetNextString();
  EXPECT_EQ(bench.generator->GetCachedValue(), 2.5);
}

// ---- Recorded files ----

struct FileCase {
  std::string name;
  std::string content;
  std::string reads;
  std::vector<std::string> expected;
};

class FileDataGenerators : public testing::TestWithParam<FileCase> {};

TEST_P(FileDataGenerators, RepeatFromTheTop) {
  WorkingDirectory directory;
  directory.Write("data.txt", GetParam().content);
  GeneratorBench bench("FILE", R"({"path": "data.txt"})");
  std::vector<std::string> values;
  for (const char as : GetParam().reads) values.push_back(bench.Read(as));
  EXPECT_EQ(values, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    , FileDataGenerators,
    testing::Values(FileCase{"sequential", "1\n-2\n3", "IHII", {"1", "-2", "3", "1"}},
                    FileCase{"newline_at_the_end", "1\n2\n", "III", {"1", "2", "1"}},
                    FileCase{"one_value", "7.5", "DD", {"7.500000", "7.500000"}},
                    FileCase{"texts", "on\noff\n", "SSS", {"on", "off", "on"}},
                    FileCase{"byte_as_a_number", "65\n200", "BB", {"65", "200"}},
                    FileCase{"records",
                             "!char-count:3\n 12\n-34\n560",
                             "IIIID",
                             {"12", "-34", "560", "12", "-34.000000"}},
                    FileCase{"one_record", "!width:2\n42", "II", {"42", "42"}}),
    [](const auto& test) { return test.param.name; });

TEST(FileDataGenerator, TimingPicksTheRecord) {
  WorkingDirectory directory;
  directory.Write("data.txt", "!char-count:2\n10\n11\n12");
  GeneratorBench bench("FILE", R"({"path": "data.txt",
      "timing": {"changeInterval": 1, "changeIntervalUnit": "us"}})");
  bench.mcu.clock().Tickrement(64 * 5);
  EXPECT_EQ(bench.generator->GetNextInt32(), 12);
  EXPECT_EQ(bench.generator->GetNextInt32(), 12);
}

struct BadFileCase {
  std::string name;
  std::string content;
  std::string more_config;
  std::string message;
};

class BadDataFiles : public testing::TestWithParam<BadFileCase> {};

TEST_P(BadDataFiles, AreNamed) {
  WorkingDirectory directory;
  directory.Write("data.txt", GetParam().content);
  EXPECT_THAT(ErrorOf([] {
                GeneratorBench bench("FILE",
                                     R"({"path": "data.txt")" + GetParam().more_config + "}");
                bench.Read('I');
              }),
              StartsWith(GetParam().message));
}

constexpr char kBadHeader[] =
    "UserError: First line of data generated char-count should be in the following format (e.g. "
    "!char-count:5). Please check your data generator file";

INSTANTIATE_TEST_SUITE_P(
    , BadDataFiles,
    testing::Values(
        BadFileCase{"missing", "", R"(, "path": "absent.txt")",
                    "UserError: Failed to open data file: absent.txt"},
        BadFileCase{"directory", "", R"(, "path": ".")", "UserError: Failed to open data file: ."},
        BadFileCase{"empty", "", "", "OrvoError: Failed to read data generator file: "},
        BadFileCase{"no_number", "one", "", "OrvoError: Failed to read data generator file: "},
        BadFileCase{"timing_without_header", "1\n2",
                    R"(, "timing": {"changeInterval": 1, "changeIntervalUnit": "s"})",
                    "UserError: Add char-count on the first line in data file (e.g. "
                    "!char-count:5). Please check your data generator file"},
        BadFileCase{"header_without_colon", "!char-count 5\n12345", "", kBadHeader},
        BadFileCase{"header_without_number", "!char-count:five\n12345", "", kBadHeader},
        BadFileCase{"width_of_0", "!char-count:0\n1", "", kBadHeader},
        BadFileCase{"header_alone", "!char-count:5", "", kBadHeader}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace orvo
