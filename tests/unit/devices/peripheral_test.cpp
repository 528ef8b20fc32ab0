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

TEST(Peripheral, RefusalsNameTheKey) {
  Bench bench;
  const std::pair<nlohmann::json, const char*> refusals[] = {
      {nlohmann::json::object(), "command: the key \"command\" is missing"},
      {{{"command", "get_value"}}, "command: the key \"field_name\" is missing"},
      {{{"command", "get_value"}, {"field_name", "x"}}, "get_value: no data generator feeds x"},
      {{{"command", "set_value"}, {"field_name", "x"}, {"value", true}},
       "command: value: expected a string or a number, found a boolean"}};
  for (const auto& [command, message] : refusals) {
    EXPECT_EQ(ErrorOf([&] { bench.device->DoCommand(command); }),
              "UserError: " + std::string(message));
  }
}

}  // namespace
}  // namespace orvo
