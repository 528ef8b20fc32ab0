// The rules of the net: who owns a wire, who hears of what, and in which order.
#include "wires/wire_manager.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "support/error_of.h"
#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

struct Net {
  WireManager wires{nullptr, 200, false, false};

  void Drive(unsigned wire, bool level, unsigned pin = 0, LevelListener* source = nullptr) {
    wires.SetWireLevel(wire, level, pin, false, source, false);
  }
  void Send(unsigned wire, const std::string& text, unsigned pin = 0,
            DataListener* source = nullptr) {
    wires.SendDataOverWire(wire, pin, std::vector<unsigned char>(text.begin(), text.end()), source);
  }
  std::string Mailbox(unsigned wire) {
    const auto& data = wires.GetWireData(wire);
    return {data.begin(), data.end()};
  }
};

// --- One wire, two chips -----------------------------------------------------------------------

// A script drives wire 5 as A or B, who both know it as pin 1: "A+" high, "A-" low, "As-" silently,
// "Ak-" with keep_driver, "Ao" output without pull, "Ou" output with pull-up, "Ai" input.
struct WireCase {
  const char* script;
  const char* heard;  // by a third party: + and -
  bool level;
  char owner;  // A, B or 0
  const char* rule;
};

// clang-format off
constexpr WireCase kWireCases[] = {
    {"",             "",    true,  '0', "an untouched wire reads high"},
    {"A+",           "+",   true,  'A', "the first high is heard"},
    {"A+ A+",        "+",   true,  'A', "a repeated level is not"},
    {"A+ A- A+",     "+-+", true,  'A', "toggles are"},
    {"A- B+",        "-+",  true,  'B', "the last writer wins"},
    {"A- B-",        "-",   false, 'B', "the same level moves the ownership"},
    {"A- Bk+",       "-",   false, 'A', "keep_driver leaves another owner"},
    {"A- Ak+",       "-+",  true,  'A', "keep_driver lets the owner write"},
    {"Ak-",          "-",   false, 'A', "keep_driver takes a wire without owner"},
    {"As-",          "",    false, 'A', "a silent change counts unheard"},
    {"As- A-",       "",    false, 'A', "it filters the next of its level"},
    {"As+ A+",       "",    true,  'A', "it ends floating"},
    {"Ao",           "-",   false, 'A', "an output drives low"},
    {"Au",           "+",   true,  'A', "with pull-up high"},
    {"A+ Bo",        "+-",  false, 'B', "an output takes the wire over"},
    {"Ao Ai",        "-",   false, '0', "an input leaves the last level"},
    {"Au Ai B+",     "+",   true,  'B', "a released wire doesn't float"},
    {"A- Bi",        "-",   false, 'A', "only the owner releases"},
    {"A- Ai Bk+",    "-+",  true,  'B', "keep_driver takes a released wire"},
};
// clang-format on

TEST(WireManager, OwnershipAndLevelFollowTheRules) {
  for (const WireCase& test : kWireCases) {
    SCOPED_TRACE(std::string(test.script) + ": " + test.rule);
    Net net;
    LevelListener a, b, third;
    net.wires.ConnectToWireLogicState(&third, 5, 9);
    std::istringstream script(test.script);
    for (std::string step; script >> step;) {
      LevelListener* source = step[0] == 'A' ? &a : &b;
      const char last = step.back();
      if (last == '+' || last == '-') {
        net.wires.SetWireLevel(5, last == '+', 1, step[1] == 's', source, step[1] == 'k');
      } else {
        net.wires.SetDirection(source, 5, 1, last == 'i' ? kPinInput : kPinOutput,
                               last == 'u' ? kPullHigh : static_cast<pin_pullup_t>(2));
      }
    }
    std::string heard;
    for (const std::string& line : third.heard()) heard += line == "wire5.pin9=high" ? '+' : '-';
    EXPECT_EQ(heard, test.heard);
    EXPECT_EQ(net.wires.GetWireLevel(5), test.level);
    EXPECT_EQ(net.wires.GetWireVoltage(5), test.level ? 3.0 : 0.0);
    const auto expected = [&](char name) {
      return test.owner == name ? kPinOutput : test.owner == '0' ? kPinAnalog : kPinInput;
    };
    EXPECT_EQ(net.wires.GetPinDirectionOnWire(&a, 5, 1), expected('A'));
    EXPECT_EQ(net.wires.GetPinDirectionOnWire(&b, 5, 1), expected('B'));
  }
}

TEST(WireManager, TheOwnerIsAnObserverWithAPinOrNobodyWithAPin) {
  Net net;
  LevelListener chip;
  net.Drive(5, false, 1, &chip);
  EXPECT_EQ(net.wires.GetPinDirectionOnWire(&chip, 5, 2), kPinInput);
  net.wires.SetDirection(&chip, 5, 2, kPinInput, kNoPull);
  EXPECT_EQ(net.wires.GetPinDirectionOnWire(&chip, 5, 1), kPinOutput);
  net.Drive(5, false, 7, nullptr);
  EXPECT_EQ(net.wires.GetPinDirectionOnWire(nullptr, 5, 7), kPinOutput);
}

// --- Delivery ----------------------------------------------------------------------------------

TEST(WireManager, ABatchReachesEachObserverOnceOnAllItsPinsButThatOfTheSource) {
  Net net;
  LevelListener source, other, stranger;
  net.wires.ConnectToWireLogicState(&source, 8, 1);
  for (const unsigned pin : {2, 7, 7}) net.wires.ConnectToWireLogicState(&source, 5, pin);
  for (const unsigned pin : {7, 4, 4}) net.wires.ConnectToWireVoltage(&other, 5, pin);
  std::vector<WireChange> changes{{5, false, 7}, {6, false, 7}, {8, true, 7}};
  net.wires.SetMultipleWireLevel(&changes, false, &source, false);
  EXPECT_THAT(source.heard(), ElementsAre("wire5.pin2=low wire8.pin1=high"));
  EXPECT_THAT(other.heard(), ElementsAre("wire5.pin7=low wire5.pin4=low wire5.pin4=low"));
  net.wires.DisconnectFromWireLogicState(&other, 5, 4);
  net.wires.DisconnectFromWireLogicState(&stranger, 5, 4);
  net.Drive(5, true);
  EXPECT_EQ(other.heard().back(), "wire5.pin7=high");
}

TEST(WireManager, AChangeWithinADeliveryRunsToItsEndAndWhoComesOrGoesCountsFromTheNextOn) {
  Net net;
  std::vector<std::string> heard;
  LevelListener first(&heard), leaving(&heard), late(&heard);
  net.wires.ConnectToWireLogicState(&first, 5, 1);
  net.wires.ConnectToWireLogicState(&leaving, 5, 2);
  net.wires.ConnectToWireLogicState(&leaving, 6, 2);
  first.on_update = [&] {
    net.Drive(6, false, 1, &first);
    net.wires.DisconnectFromWireLogicState(&leaving, 5, 2);
    net.wires.ConnectToWireLogicState(&late, 5, 3);
  };
  net.Drive(5, false, 9);
  net.Drive(5, true, 9);
  EXPECT_THAT(heard, ElementsAre("wire5.pin1=low", "wire6.pin2=low", "wire5.pin2=low",
                                 "wire5.pin1=high", "wire5.pin3=high"));
}

TEST(WireManager, AQuietNetPrintsNothing) {
  for (const bool quiet : {false, true}) {
    WireManager wires(nullptr, 200, true, quiet);
    testing::internal::CaptureStdout();
    wires.SetWireLevel(5, true, 1, false, nullptr, false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              quiet ? "" : "pin_number: 5   pin_level: 1\n");
  }
}

// --- Data --------------------------------------------------------------------------------------

TEST(WireManager, AnAnswerToDataIsInTheMailboxWhenTheSendReturns) {
  Net net;
  LevelListener level;
  DataListener master, slave;
  net.Send(5, "nobody");
  EXPECT_EQ(net.Mailbox(5), "nobody");
  net.wires.ConnectToWireLogicState(&level, 5, 1);
  net.wires.ConnectToWireData(&master, 5, 1);
  net.wires.ConnectToWireData(&slave, 5, 2);
  slave.on_update = [&] { net.Send(5, "answer", 2, &slave); };
  net.Send(5, "request", 1, &master);
  EXPECT_EQ(net.Mailbox(5), "answer");
  EXPECT_THAT(slave.heard(), ElementsAre("wire5.pin2=request"));
  EXPECT_THAT(master.heard(), ElementsAre("wire5.pin1=answer"));
  EXPECT_THAT(level.heard(), IsEmpty());
}

TEST(WireManager, TheMailboxCanBeSentOnWhileReceiversAnswer) {
  Net net;
  DataListener first, second;
  net.wires.ConnectToWireData(&first, 5, 1);
  net.Send(5, "echo");
  net.wires.ConnectToWireData(&second, 5, 2);
  first.on_update = [&] {
    if (net.Mailbox(5) == "echo") net.Send(5, std::string(4096, 'x'), 2, &second);
  };
  net.wires.SendDataOverWire(5, 9, net.wires.GetWireData(5), nullptr);
  EXPECT_THAT(second.heard(), ElementsAre("wire5.pin2=echo"));
}

// --- The supply --------------------------------------------------------------------------------

TEST(WireManager, TheSupplyCanOnlyBeRead) {
  const std::string kText =
      "OrvoError: Only wire level and wire voltage can be read from vdd/gnd wires";
  for (const unsigned wire : {WireManager::kVdd, WireManager::kGnd}) {
    Net net;
    LevelListener level;
    DataListener data;
    EXPECT_EQ(net.wires.GetWireLevel(wire), wire == WireManager::kVdd);
    EXPECT_EQ(net.wires.GetWireVoltage(wire), wire == WireManager::kVdd ? 3.0 : 0.0);
    EXPECT_EQ(net.wires.GetPinDirectionOnWire(&level, wire, 1), kPinInput);
    EXPECT_EQ(ErrorOf([&] { net.Send(wire, "x"); }), kText);
    EXPECT_EQ(ErrorOf([&] { net.Mailbox(wire); }), kText);
    EXPECT_EQ(ErrorOf([&] { net.wires.DisconnectFromWireData(&data, wire, 1); }), kText);
    net.wires.SetDirection(&level, wire, 1, kPinOutput, kNoPull);
    net.wires.ConnectToWireLogicState(&level, wire, 1);
    net.wires.DisconnectFromWireLogicState(&level, wire, 1);
    net.wires.ConnectToWireData(&data, wire, 1);
    // Changes before it in the batch stand unheard.
    net.wires.ConnectToWireLogicState(&level, 5, 1);
    std::vector<WireChange> changes{{5, false, 0}, {wire, true, 0}, {6, false, 0}};
    EXPECT_EQ(ErrorOf([&] { net.wires.SetMultipleWireLevel(&changes, false, nullptr, false); }),
              kText);
    EXPECT_FALSE(net.wires.GetWireLevel(5));
    EXPECT_TRUE(net.wires.GetWireLevel(6));
    EXPECT_THAT(level.heard(), IsEmpty());
  }
}

// --- Pins of the board -------------------------------------------------------------------------

struct PinCase {
  const char* json;
  unsigned wire;
  std::string error;
};

TEST(WireManager, APinIsANumberANameOrTheSupply) {
  const PinCase kCases[] = {
      {R"({"MISO": 197})", 197, ""},
      {R"({"pins": {"MISO": 3}, "MISO": 1})", 3, ""},
      {R"({"MISO": "P0_07"})", 7, ""},
      {R"({"MISO": "Vdd"})", 0xffffffff, ""},
      {R"({"MISO": "VDD"})", 0xffffffff, ""},
      {R"({"MISO": "gNd"})", 0xfffffffe, ""},
      {R"({"pins": {}, "MISO": 1})", 0, "UserError: board.json: Missing pin MISO"},
      {R"({"MISO": "p0_07"})", 0, "UserError: Pin_name: p0_07 is invalid pin number"},
      {R"({"MISO": 4294967297})", 0, "UserError: wire number 4294967297 is invalid"},
      {R"({"MISO": 1.5})", 0, "UserError: board.json: MISO: expected a wire number"},
  };
  for (const PinCase& test : kCases) {
    Net net;
    net.wires.AddPinName("P0_07", 7);
    unsigned wire = 0;
    const std::string error =
        ErrorOf([&] { wire = net.wires.GetPinWire("MISO", nlohmann::json::parse(test.json)); });
    EXPECT_EQ(wire, test.wire) << test.json;
    EXPECT_THAT(error, StartsWith(test.error)) << test.json;
    EXPECT_EQ(error.empty(), test.error.empty()) << error;
  }
}

}  // namespace
}  // namespace orvo
