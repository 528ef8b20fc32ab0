#include "config/scenario_file_handler.h"

#include <gmock/gmock.h>

#include "unit/config/working_directory.h"

namespace orvo {
namespace {

TEST(ScenarioFileHandler, FindsGeneratorsById) {
  const WorkingDirectory directory;
  directory.Write("scenario.json", R"({"DataGenerators": [
      {"id": 3, "type": "constant", "config": {"value": "three"}},
      {"id": 0, "type": "CONSTANT", "config": {"value": "zero"}}]})");
  ScenarioFileHandler scenario("scenario.json"), empty("absent.json");
  EXPECT_EQ(scenario.GetDataGenerator(0, nullptr)->GetNextString(), "zero");
  EXPECT_EQ(scenario.GetDataGenerator(3, nullptr)->GetNextString(), "three");
  EXPECT_EQ(ErrorOf([&] { empty.GetDataGenerator(1, nullptr); }),
            "UserError: Data generator id 1 doesn't exist (check your scenario.json file)");
}

TEST(ScenarioFileHandler, ReportsMistakesWithTheirPlace) {
  const auto one = [](const std::string& generator) {
    return R"({"DataGenerators": [)" + generator + "]}";
  };
  const std::string twice = R"({"id": 5, "type": "CONSTANT", "config": {"value": 1}})";
  // clang-format off
  const std::pair<std::string, std::string> mistakes[] = {
      {"",  "scenario.json: [json.exception.parse_error.101] parse error at line 1, column 1"},
      {"7", "scenario.json: expected an object, found 7"},
      {R"({"DataGenerators": {}})",                      "scenario.json: DataGenerators: expected an array, found an object"},
      {one("1"),                                         "scenario.json: DataGenerators[0]: expected an object, found 1"},
      {one(R"({"type": "SIN"})"),                        "scenario.json: DataGenerators[0]: the key \"id\" is missing"},
      {one(R"({"id": -1})"),                             "scenario.json: DataGenerators[0].id: expected an integer from 0 to"},
      {one(R"({"id": 5})"),                              "Missing 'type' key in data generator: 5"},
      {one(R"({"id": 5, "type": 5})"),                   "scenario.json: DataGenerators[0].type: expected a string, found 5"},
      {one(R"({"id": 5, "type": "SIN"})"),               "Missing min value in sine generator.SIN"},
      {one(R"({"id": 5, "type": "SIN", "config": 1})"),  "scenario.json: DataGenerators[0].config: expected an object, found 1"},
      {one(R"({"id": 5, "type": "CONSTANT", "config": {"value": true}})"),
       "scenario.json: DataGenerators[0].config.value: expected a string or a number, found a boolean"},
      {one(twice + ", " + twice),                        "Duplicate generator id: 5"}};
  // clang-format on
  for (const auto& [text, message] : mistakes) {
    const WorkingDirectory directory;
    directory.Write("scenario.json", text);
    EXPECT_THAT(ErrorOf([] { ScenarioFileHandler scenario("scenario.json"); }),
                testing::StartsWith("UserError: " + message));
  }
}

}  // namespace
}  // namespace orvo
