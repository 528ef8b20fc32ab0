#include "devices/peripheral.h"

#include <gmock/gmock.h>

#include "config/scenario_file_handler.h"
#include "unit/control/control_bench.h"

namespace orvo {
namespace {

constexpr char kGenerators[] = R"([
    {"id": 1, "type": "INCREMENT", "config": {"min": 0, "max": 9, "step": 1}},
    {"id": 2, "type": "CONSTANT", "config": {"value": "two"}}])";

struct Bench : ControlBench {
  nlohmann::json generators = nlohmann::json::parse(kGenerators);
  std::unique_ptr<Peripheral> device;

  explicit Bench(const std::string& component = R"({"generators": {"count": 1, "text": 2}})") {
    mcu.GetScenario().LoadJson(JsonPlace(generators, "scenario.json"));
    device = std::make_unique<Peripheral>(&mcu, nlohmann::json::parse(component));
    Handshake();
  }

  std::string GetValue(const std::string& field) {
    device->DoCommand({{"command", "get_value"}, {"field_name", field}});
    const nlohmann::json reply = client->Receive();
    EXPECT_EQ(reply["type"], "response");
    EXPECT_EQ(reply["description"], "get_value_response");
    return reply["value"];
  }
  void SetValue(const std::string& field, const nlohmann::json& value) {
    device->DoCommand({{"command", "set_value"}, {"field_name", field}, {"value", value}});
  }
};

TEST(Peripheral, GeneratorsAreThoseThatTheComponentNames) {
  Bench bench;
  EXPECT_EQ(bench.device->GetDataGenerator("text")->GetNextString(), "two");
  EXPECT_EQ(bench.device->GetDataGenerator("other"), nullptr);
  for (const char* component : {"null", "{}", R"({"generators": null})"}) {
    Peripheral plain(&bench.mcu, nlohmann::json::parse(component));
    EXPECT_EQ(plain.GetDataGenerator("text"), nullptr) << component;
  }
}

TEST(Peripheral, GetValueIsWhatTheModelReadLast) {
  Bench bench;
  EXPECT_EQ(bench.GetValue("count"), "");
  bench.device->GetDataGenerator("count")->GetNextInt32();
  bench.device->GetDataGenerator("count")->GetNextInt32();
  EXPECT_EQ(bench.GetValue("count"), "1");
  EXPECT_EQ(bench.GetValue("count"), "1");
}

TEST(Peripheral, SetValueStaysForThisFieldAlone) {
  Bench bench(R"({"generators": {"count": 1, "same": 1}})");
  bench.SetValue("count", 25.5);
  EXPECT_EQ(bench.device->GetDataGenerator("count")->GetNextDouble(), 25.5);
  EXPECT_EQ(bench.GetValue("count"), "25.500000");
  bench.SetValue("count", "7");
  EXPECT_EQ(bench.device->GetDataGenerator("count")->GetNextString(), "7");
  EXPECT_EQ(bench.device->GetDataGenerator("count")->GetNextInt32(), 7);
  EXPECT_EQ(bench.device->GetDataGenerator("same")->GetNextInt32(), 0);
}

TEST(Peripheral, SetValueCanFeedAFieldThatHadNoGenerator) {
  Bench bench("{}");
  bench.SetValue("new", "1");
  EXPECT_EQ(bench.device->GetDataGenerator("new")->GetNextInt32(), 1);
}

TEST(Peripheral, OtherCommandsAreIgnored) {
  Bench bench;
  bench.device->DoCommand({{"command", "dance"}});
}

struct RefusalCase {
  std::string name;
  nlohmann::json command;
  std::string message;
};

class PeripheralRefusals : public testing::TestWithParam<RefusalCase> {};

TEST_P(PeripheralRefusals, NameTheKey) {
  Bench bench;
  EXPECT_EQ(ErrorOf([&] { bench.device->DoCommand(GetParam().command); }), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    , PeripheralRefusals,
    testing::Values(
        RefusalCase{"no_command", nlohmann::json::object(),
                    "UserError: command: the key \"command\" is missing"},
        RefusalCase{"no_field",
                    {{"command", "get_value"}},
                    "UserError: command: the key \"field_name\" is missing"},
        RefusalCase{"unknown_field",
                    {{"command", "get_value"}, {"field_name", "x"}},
                    "UserError: get_value: no data generator feeds x"},
        RefusalCase{"value_type",
                    {{"command", "set_value"}, {"field_name", "x"}, {"value", true}},
                    "UserError: command: value: expected a string or a number, found a boolean"}),
    [](const auto& test) { return test.param.name; });

TEST(Peripheral, UnknownGeneratorIdIsAUserError) {
  Bench bench;
  EXPECT_EQ(ErrorOf([&] {
              Peripheral(&bench.mcu, nlohmann::json::parse(R"({"generators": {"a": 3}})"));
            }),
            "UserError: Data generator id 3 doesn't exist (check your scenario.json file)");
  EXPECT_EQ(ErrorOf([&] {
              Peripheral(&bench.mcu, nlohmann::json::parse(R"({"generators": {"a": "3"}})"));
            }),
            "UserError: board component: generators.a: expected an integer from 0 to 4294967295, "
            "found a string");
}

}  // namespace
}  // namespace orvo
