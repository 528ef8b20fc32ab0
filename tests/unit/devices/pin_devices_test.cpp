// Button, Short and ADG1404 on a net of wires.
#include <gmock/gmock.h>

#include <sstream>

#include "devices/adg1404.h"
#include "devices/short.h"
#include "devices/simple_gpio_peripheral.h"
#include "unit/control/control_bench.h"
#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::ElementsAre;

nlohmann::json Component(const std::string& pins) {
  return {{"name", "device"}, {"pins", nlohmann::json::parse(pins)}};
}

TEST(Button, RestsHighWithoutAnEventAndAnswersEveryCommand) {
  ControlBench bench;
  bench.Handshake();
  const nlohmann::json component = Component(R"({"in": 13})");
  Button button(&bench.mcu, bench.wires, JsonPlace(component, "board.json"));
  EXPECT_TRUE(bench.wires.GetWireLevel(13));
  button.DoCommand({{"pin_level", 1}});
  const nlohmann::json ok = bench.client->Receive();
  EXPECT_EQ(ok["type"], "response");
  EXPECT_EQ(ok["response"], "ok");
  button.DoCommand({{"command", "anything"}, {"pin_level", false}});
  EXPECT_EQ(bench.client->Receive()["transition_type"], 0);
  EXPECT_EQ(bench.client->Receive()["response"], "ok");
  EXPECT_EQ(ErrorOf([&] {
              button.DoCommand({{"pin_level", "low"}});
            }),
            "UserError: command: pin_level: expected a number, found a string");
}

// Wires 1 and 2 are driven, or not, before a short joins them: "1-" low, "1i" released again.
struct JoinCase {
  const char* name;
  const char* before;
  const char* levels;  // of both afterwards
};

class Joined : public testing::TestWithParam<JoinCase> {};

TEST_P(Joined, TakeTheLevelOfTheDrivenSide) {
  WireManager wires(nullptr, 200, false, true);
  LevelListener driver;
  std::istringstream script(GetParam().before);
  for (std::string step; script >> step;) {
    const unsigned wire = step[0] - '0';
    if (step.back() == 'i') {
      wires.SetDirection(&driver, wire, 9, kPinInput, kNoPull);
    } else {
      wires.SetWireLevel(wire, step.back() == '+', 9, false, &driver, false);
    }
  }
  const Short joined(nullptr, wires, 1, 2);
  const std::string levels{wires.GetWireLevel(1) ? '+' : '-', wires.GetWireLevel(2) ? '+' : '-'};
  EXPECT_EQ(levels, GetParam().levels);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Short, Joined, testing::Values(
    JoinCase{"idle_wires_take_side_0",     "1- 1i",      "--"},
    JoinCase{"idle_wires_not_side_1",      "2- 2i",      "++"},
    JoinCase{"only_side_0_is_driven",      "1-",         "--"},
    JoinCase{"only_side_1_is_driven",      "2-",         "--"},
    JoinCase{"both_driven_side_0_wins",    "1+ 2-",      "++"}),
    [](const auto& tested) { return tested.param.name; });
// clang-format on

TEST(Short, CarriesLevelsBothWaysUntilItIsDisabled) {
  WireManager wires(nullptr, 200, false, true);
  LevelListener at_1, at_2;
  wires.ConnectToWireLogicState(&at_1, 1, 71);
  wires.ConnectToWireLogicState(&at_2, 2, 72);
  Short joined(nullptr, wires, 1, 2);
  wires.SetWireLevel(2, false, 72, false, &at_2, false);
  wires.SetWireLevel(1, true, 71, false, &at_1, false);
  // The first is the short's own, of joining.
  EXPECT_THAT(at_1.heard(), ElementsAre("wire1.pin71=low"));
  EXPECT_THAT(at_2.heard(), ElementsAre("wire2.pin72=high", "wire2.pin72=high"));
  joined.SetPin(kShortPin1, 3);
  wires.SetWireLevel(2, false, 0, false, nullptr, false);
  EXPECT_TRUE(wires.GetWireLevel(1));
  wires.SetWireLevel(3, false, 0, false, nullptr, false);
  EXPECT_FALSE(wires.GetWireLevel(1));
  joined.DisableShort();
  wires.SetWireLevel(3, true, 0, false, nullptr, false);
  EXPECT_FALSE(wires.GetWireLevel(1));
  joined.SetPin(kShortPin1, 3);
  joined.SetPin(kShortPin0, 1);
  EXPECT_TRUE(wires.GetWireLevel(1));
}

TEST(ADG1404, JoinsTheSelectedSourceBothWaysAndSeparatesItWhenDisabled) {
  WireManager wires(nullptr, 200, false, true);
  const auto set = [&](unsigned wire, bool level) {
    wires.SetWireLevel(wire, level, 0, false, nullptr, false);
  };
  constexpr unsigned kA0 = 5, kA1 = 6, kEnable = 7, kOutput = 8;
  for (const unsigned wire : {1, 2, 3, 4}) set(wire, wire == 3);
  set(kA0, false);
  const nlohmann::json component = Component(R"({"pinS1": 1, "pinS2": 2, "pinS3": 3, "pinS4": 4,
      "pinA0": 5, "pinA1": 6, "pinEn": 7, "pinOutput": 8})");
  const ADG1404_internal analog_switch(nullptr, wires, JsonPlace(component, "board.json"));
  EXPECT_TRUE(wires.GetWireLevel(kOutput));  // floating address and enable pins are high
  set(3, false);
  EXPECT_FALSE(wires.GetWireLevel(kOutput));
  set(2, true);
  set(kA1, false);
  set(kA0, true);
  EXPECT_TRUE(wires.GetWireLevel(kOutput));
  set(kEnable, false);
  set(2, false);
  EXPECT_TRUE(wires.GetWireLevel(kOutput));
  set(kEnable, true);
  EXPECT_FALSE(wires.GetWireLevel(kOutput));
  set(kOutput, true);
  EXPECT_TRUE(wires.GetWireLevel(2));
  EXPECT_EQ(wires.device_pins().at("device").at("pinEn"), kEnable);
}

}  // namespace
}  // namespace orvo
