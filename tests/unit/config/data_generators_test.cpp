#include "config/data_generators.h"

#include <gmock/gmock.h>

#include <set>

#include "config/scenario_file_handler.h"
#include "support/test_mcu.h"
#include "unit/config/working_directory.h"

namespace orvo {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;
using Values = std::vector<std::string>;

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

  // The next values as text, a letter for each: Int32, Double, int16 (H), UInt8 (B) or String.
  Values Read(const std::string& letters) {
    Values values;
    for (const char letter : letters) {
      values.push_back(letter == 'I'   ? std::to_string(generator->GetNextInt32())
                       : letter == 'D' ? std::to_string(generator->GetNextDouble())
                       : letter == 'H' ? std::to_string(generator->GetNextInt16())
                       : letter == 'B' ? std::to_string(generator->GetNextUInt8())
                                       : generator->GetNextString());
      EXPECT_EQ(generator->GetCachedValueStr(), values.back());
    }
    return values;
  }
};

TEST(DataGenerators, GiveAndCacheTheirValues) {
  struct ValueCase {
    const char* kind;
    const char* config;
    const char* reads;
    Values expected;
  };
  // clang-format off
  for (const ValueCase& c : {
           ValueCase{"constant", R"({"value": "-12.75"})", "IDHBS", {"-12", "-12.750000", "-12", "244", "-12.75"}},
           ValueCase{"CONSTANT", R"({"value": 5})", "SI", {"5.000000", "5"}},
           ValueCase{"Increment", R"({"min": 0, "max": 10, "step": 5})", "IIIID", {"0", "5", "10", "0", "5.000000"}},
           ValueCase{"INCREMENT", R"({"min": 1, "max": 2, "step": 0.6})", "DDDI", {"1.000000", "1.600000", "1.000000", "2"}},
           ValueCase{"INCREMENT", R"({"min": 3, "max": 1, "step": -1})", "IIII", {"3", "2", "1", "3"}},
           ValueCase{"VALUES", R"({"validValues": [1.9, -3.5, 300]})", "IDBHHB", {"1", "-3.500000", "44", "1", "-3", "44"}},
           ValueCase{"SIN", R"({"min": -2, "max": 6, "sinFrequency": 3})", "DD", {"2.000000", "2.000000"}}}) {
    // clang-format on
    EXPECT_EQ(GeneratorBench(c.kind, c.config).Read(c.reads), c.expected) << c.kind << c.config;
  }
}

// Mistakes in their configurations: tests/system/board_file_test.cpp.
TEST(DataGenerators, RefuseTheReadsThatTheyDoNotSupport) {
  struct RefusalCase {
    const char* kind;
    const char* config;
    const char* reads;
    const char* message;
  };
  // clang-format off
  for (const RefusalCase& c : {
           RefusalCase{"CONSTANT",  R"({"value": "3 apples"})", "D", "UserError: ConstantDataGenerator - got invalid argument"},
           RefusalCase{"CONSTANT",  R"({"value": "1e30"})",     "I", "UserError: Data generator CONSTANT: "},
           RefusalCase{"VALUES",    R"({"validValues": [1]})",  "S", "OrvoError: string not supported in this data generator: VALUES"},
           RefusalCase{"RANDOM",    R"({"min": 0, "max": 1})",  "H", "OrvoError: Int16 not supported in this data generator: RANDOM"},
           RefusalCase{"INCREMENT", R"({"min": 0, "max": 1, "step": 1})", "B", "OrvoError: Uint8 not supported in this data generator: INCREMENT"},
           RefusalCase{"SIN",       R"({"min": 0, "max": 1, "sinFrequency": 1})", "I", "OrvoError: Int32 not supported in this data generator: SIN"}}) {
    // clang-format on
    EXPECT_THAT(ErrorOf([&] { GeneratorBench(c.kind, c.config).Read(c.reads); }),
                StartsWith(c.message));
  }
}

TEST(DataGenerator, StepLastsOneInterval) {
  struct TimingCase {
    const char* unit;
    unsigned interval;
    unsigned long interval_ns;
  };
  for (const TimingCase& c :
       {TimingCase{"s", 1, 1'000'000'000}, TimingCase{"ms", 2, 2'000'000},
        TimingCase{"us", 500, 500'000}, TimingCase{"fortnights", 1000, 1000}}) {
    SCOPED_TRACE(c.unit);
    GeneratorBench bench("INCREMENT", R"({"min": 0, "max": 9, "step": 1, "timing":
        {"changeInterval": )" + std::to_string(c.interval) +
                                          R"(, "changeIntervalUnit": ")" + c.unit + "\"}}");
    EXPECT_EQ(bench.generator->GetIntervalNS(), c.interval_ns);
    bench.mcu.clock().SetFrequency(1'000'000'000 / c.interval_ns * 4);  // four ticks per step
    std::vector<int> values;
    for (int tick = 0; tick < 9; ++tick) {
      values.push_back(bench.generator->GetNextInt32());
      EXPECT_EQ(bench.generator->GetNextInt32(), values.back());
      bench.mcu.clock().Tickrement(1);
    }
    EXPECT_THAT(values, ElementsAre(0, 0, 0, 0, 1, 1, 1, 1, 2));
  }
}

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

TEST(DataGenerator, CachedValueBeforeTheFirstReadIsAnError) {
  GeneratorBench bench("CONSTANT", R"({"value": "2.5"})");
  EXPECT_EQ(bench.generator->GetCachedValueStr(), "");
  EXPECT_EQ(ErrorOf([&] { bench.generator->GetCachedValue(); }),
            "UserError: DataGenerator::GetCachedValue - invalid argument");
  bench.generator->GetNextString();
  EXPECT_EQ(bench.generator->GetCachedValue(), 2.5);
}

// ---- Recorded files ----

TEST(FileDataGenerator, RepeatsFromTheTop) {
  const WorkingDirectory directory;
  struct FileCase {
    const char* content;
    const char* reads;
    Values expected;
  };
  for (const FileCase& c :
       {FileCase{"1\n-2\n3", "IHII", {"1", "-2", "3", "1"}},
        FileCase{"1\n2\n", "III", {"1", "2", "1"}}, FileCase{"7.5", "DD", {"7.500000", "7.500000"}},
        FileCase{"on\noff\n", "SSS", {"on", "off", "on"}}, FileCase{"65\n200", "BB", {"65", "200"}},
        FileCase{"!char-count:3\n 12\n-34\n560", "IIIID", {"12", "-34", "560", "12", "-34.000000"}},
        FileCase{"!width:2\n42", "II", {"42", "42"}}}) {
    directory.Write("data.txt", c.content);
    EXPECT_EQ(GeneratorBench("FILE", R"({"path": "data.txt"})").Read(c.reads), c.expected);
  }
}

TEST(FileDataGenerator, NamesTheFileAndTheRecordThatHoldsNoNumber) {
  const WorkingDirectory directory;
  const auto error = [&](const char* content, const char* reads) {
    directory.Write("data.txt", content);
    return ErrorOf([&] { GeneratorBench("FILE", R"({"path": "data.txt"})").Read(reads); });
  };
  const std::string failed = "OrvoError: Failed to read data generator file: ";
  for (const char* no_number : {"", "one"}) {
    EXPECT_THAT(error(no_number, "I"), AllOf(StartsWith(failed), EndsWith(": data.txt")));
  }
  testing::internal::CaptureStderr();
  EXPECT_THAT(error("!char-count:2\n10\n11\n", "III"),
              AllOf(StartsWith(failed), EndsWith(": data.txt, record 2")));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Warning: data.txt ends with a newline, behind which an empty record 2 is read\n");
}

}  // namespace
}  // namespace orvo
