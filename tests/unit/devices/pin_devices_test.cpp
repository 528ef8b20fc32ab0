// Button and Short on a net of wires.
#include <gmock/gmock.h>

#include <sstream>

#include "devices/short.h"
#include "devices/simple_gpio_peripheral.h"
#include "unit/control/control_bench.h"
#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::ElementsAre;

TEST(Button, RestsHighWithoutAnEventAndAnswersEveryCommand) {
  ControlBench bench;
  bench.Handshake();
  const nlohmann::json component = {{"pins", {{"in", 13}}}};
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
  const auto set = [&](unsigned wire, bool level) {
    wires.SetWireLevel(wire, level, 0, false, nullptr, false);
  };
  Short joined(nullptr, wires, 1, 2);
  set(2, false);
  set(1, true);
  EXPECT_THAT(at_1.heard(), ElementsAre("wire1.pin71=low", "wire1.pin71=high"));
  // The first is the short's own, of joining.
  EXPECT_THAT(at_2.heard(), ElementsAre("wire2.pin72=high", "wire2.pin72=low", "wire2.pin72=high"));
  joined.SetPin(kShortPin1, 3);
  set(2, false);
  EXPECT_TRUE(wires.GetWireLevel(1));
  set(3, false);
  EXPECT_FALSE(wires.GetWireLevel(1));
  joined.DisableShort();
  set(3, true);
  EXPECT_FALSE(wires.GetWireLevel(1));
}

}  // namespace
}  // namespace orvo
