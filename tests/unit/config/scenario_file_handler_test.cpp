#include "config/scenario_file_handler.h"

#include <gmock/gmock.h>

#include "unit/config/working_directory.h"

namespace orvo {
namespace {

using testing::StartsWith;

TEST(ScenarioFileHandler, WithoutAFileThereAreNoGenerators) {
  WorkingDirectory directory;
  ScenarioFileHandler scenario("scenario.json");
  EXPECT_EQ(ErrorOf([&] { scenario.GetDataGenerator(1, nullptr); }),
            "UserError: Data generator id 1 doesn't exist (check your scenario.json file)");
}

TEST(ScenarioFileHandler, GeneratorsAreFoundById) {
  WorkingDirectory directory;
  directory.Write("scenario.json", R"({"DataGenerators": [
      {"id": 3, "type": "constant", "config": {"value": "three"}},
      {"id": 0, "type": "CONSTANT", "config": {"value": "zero"}}]})");
  ScenarioFileHandler scenario("scenario.json");
  EXPECT_EQ(scenario.GetDataGenerator(0, nullptr)->GetNextString(), "zero");
  EXPECT_EQ(scenario.GetDataGenerator(3, nullptr)->GetNextString(), "three");
}

struct MistakeCase {
  std::string name;
  std::string content;
  std::string message;
};

class ScenarioMistakes : public testing::TestWithParam<MistakeCase> {};

TEST_P(ScenarioMistakes, AreUserErrorsThatNameTheirPlace) {
  WorkingDirectory directory;
  directory.Write("scenario.json", GetParam().content);
  EXPECT_THAT(ErrorOf([] { ScenarioFileHandler scenario("scenario.json"); }),
              StartsWith("UserError: " + GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    , ScenarioMistakes,
    testing::Values(
        MistakeCase{"empty", "",
                    "scenario.json: [json.exception.parse_error.101] parse error at "
                    "line 1, column 1"},
        MistakeCase{"not_an_object", "7", "scenario.json: expected an object, found 7"},
        MistakeCase{"generators_type", R"({"DataGenerators": {}})",
                    "scenario.json: DataGenerators: expected an array, found an object"},
        MistakeCase{"generator_type", R"({"DataGenerators": [1]})",
                    "scenario.json: DataGenerators[0]: expected an object, found 1"},
        MistakeCase{"no_id", R"({"DataGenerators": [{"type": "SIN"}]})",
                    "scenario.json: DataGenerators[0]: the key \"id\" is missing"},
        MistakeCase{"id_type", R"({"DataGenerators": [{"id": -1}]})",
                    "scenario.json: DataGenerators[0].id: expected an integer from 0 to"},
        MistakeCase{"no_type", R"({"DataGenerators": [{"id": 5}]})",
                    "Missing 'type' key in data generator: 5"},
        MistakeCase{"type_type", R"({"DataGenerators": [{"id": 5, "type": 5}]})",
                    "scenario.json: DataGenerators[0].type: expected a string, found 5"},
        MistakeCase{"no_config", R"({"DataGenerators": [{"id": 5, "type": "SIN"}]})",
                    "Missing min value in sine generator.SIN"},
        MistakeCase{"config_type", R"({"DataGenerators": [{"id": 5, "type": "SIN", "config": 1}]})",
                    "scenario.json: DataGenerators[0].config: expected an object, found 1"},
        MistakeCase{"member_type",
                    R"({"DataGenerators": [{"id": 5, "type": "CONSTANT",
                                            "config": {"value": true}}]})",
                    "scenario.json: DataGenerators[0].config.value: expected a string or a "
                    "number, found a boolean"},
        MistakeCase{"id_twice",
                    R"({"DataGenerators": [
                        {"id": 5, "type": "CONSTANT", "config": {"value": 1}},
                        {"id": 5, "type": "CONSTANT", "config": {"value": 1}}]})",
                    "Duplicate generator id: 5"}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace orvo
