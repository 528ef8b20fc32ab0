// The rules of the net: who owns a wire, who hears of what, and in which order.
#include "wires/wire_manager.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "runner/errors.h"
#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

struct Net {
  WireManager wires{nullptr, 200, false, false};

  void Connect(LevelListener& listener, unsigned wire, unsigned pin) {
    wires.ConnectToWireLogicState(&listener, wire, pin);
  }
  void Connect(DataListener& listener, unsigned wire, unsigned pin) {
    wires.ConnectToWireData(&listener, wire, pin);
  }
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

std::string MessageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const UserError& error) {
    return error.message();
  }
  return "";
}

// --- One wire, two chips -----------------------------------------------------------------------

// A script drives wire 5 as A or B, who both know it as pin 1: "A+" high, "A-" low, "As-" silently,
// "Ak-" with keep_driver, "Ao" output without pull, "Ou" output with pull-up, "Ai" input.
struct WireCase {
  const char* name;
  const char* script;
  const char* heard;  // by a third party: + and -
  bool level;
  char owner;  // A, B or 0
};

std::ostream& operator<<(std::ostream& out, const WireCase& c) { return out << c.script; }

class Wire : public testing::TestWithParam<WireCase> {};

TEST_P(Wire, FollowsTheScript) {
  Net net;
  LevelListener a, b, third;
  net.Connect(third, 5, 9);
  std::istringstream script(GetParam().script);
  for (std::string step; script >> step;) {
    LevelListener* source = step[0] == 'A' ? &a : &b;
    const char last = step.back();
    if (last == '+' || last == '-') {
      net.wires.SetWireLevel(5, last == '+', 1, step.find('s') != step.npos, source,
                             step.find('k') != step.npos);
    } else {
      net.wires.SetDirection(source, 5, 1, last == 'i' ? kPinInput : kPinOutput,
                             last == 'u' ? kPullHigh : static_cast<pin_pullup_t>(2));
    }
  }
  std::string heard;
  for (const std::string& line : third.heard()) heard += line == "wire5.pin9=high" ? '+' : '-';
  EXPECT_EQ(heard, GetParam().heard);
  EXPECT_EQ(net.wires.GetWireLevel(5), GetParam().level);
  EXPECT_EQ(net.wires.GetWireVoltage(5), GetParam().level ? 3.0 : 0.0);
  const auto expected = [&](char name) {
    return GetParam().owner == name ? kPinOutput : GetParam().owner == '0' ? kPinAnalog : kPinInput;
  };
  EXPECT_EQ(net.wires.GetPinDirectionOnWire(&a, 5, 1), expected('A'));
  EXPECT_EQ(net.wires.GetPinDirectionOnWire(&b, 5, 1), expected('B'));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Level, Wire, testing::Values(
    WireCase{"untouched_reads_high",              "",             "",    true,  '0'},
    WireCase{"first_high_is_heard",               "A+",           "+",   true,  'A'},
    WireCase{"repeated_level_is_not_heard",       "A+ A+",        "+",   true,  'A'},
    WireCase{"toggles_are_heard",                 "A+ A- A+",     "+-+", true,  'A'},
    WireCase{"last_writer_wins",                  "A- B+",        "-+",  true,  'B'},
    WireCase{"same_level_moves_ownership",        "A- B-",        "-",   false, 'B'},
    WireCase{"keep_driver_leaves_other_owner",    "A- Bk+",       "-",   false, 'A'},
    WireCase{"keep_driver_lets_owner_write",      "A- Ak+",       "-+",  true,  'A'},
    WireCase{"keep_driver_takes_unowned_wire",    "Ak-",          "-",   false, 'A'},
    WireCase{"silent_write_counts_unheard",       "As-",          "",    false, 'A'},
    WireCase{"silent_write_filters_the_next",     "As- A-",       "",    false, 'A'},
    WireCase{"silent_write_ends_floating",        "As+ A+",       "",    true,  'A'}),
    [](const auto& tested) { return tested.param.name; });
INSTANTIATE_TEST_SUITE_P(Direction, Wire, testing::Values(
    WireCase{"output_drives_low",                 "Ao",           "-",   false, 'A'},
    WireCase{"output_with_pull_up_drives_high",   "Au",           "+",   true,  'A'},
    WireCase{"output_takes_the_wire_over",        "A+ Bo",        "+-",  false, 'B'},
    WireCase{"input_releases_at_last_level",      "Ao Ai",        "-",   false, '0'},
    WireCase{"released_wire_does_not_float",      "Au Ai B+",     "+",   true,  'B'},
    WireCase{"only_the_owner_releases",           "A- Bi",        "-",   false, 'A'},
    WireCase{"keep_driver_takes_released_wire",   "A- Ai Bk+",    "-+",  true,  'B'}),
    [](const auto& tested) { return tested.param.name; });
// clang-format on

TEST(WireManager, OwnerIsObserverAndPin) {
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

TEST(WireManager, ObserverHearsAnEventOnEachOfItsPins) {
  Net net;
  LevelListener listener;
  net.Connect(listener, 5, 3);
  net.Connect(listener, 5, 7);
  net.Connect(listener, 5, 7);
  net.Drive(5, false, 3);
  EXPECT_THAT(listener.heard(), ElementsAre("wire5.pin3=low wire5.pin7=low wire5.pin7=low"));
}

TEST(WireManager, SourceHearsItsChangeOnItsOtherPinsOnly) {
  Net net;
  LevelListener source;
  net.Connect(source, 5, 3);
  net.Connect(source, 5, 7);
  net.Drive(5, false, 3, &source);
  EXPECT_THAT(source.heard(), ElementsAre("wire5.pin7=low"));
}

TEST(WireManager, BatchReachesEachObserverOnceInBatchOrder) {
  Net net;
  Lines heard;
  LevelListener first(&heard), second(&heard);
  first.name = "a:";
  second.name = "b:";
  net.Connect(first, 8, 1);
  net.Connect(first, 5, 2);
  net.Connect(second, 5, 4);
  std::vector<WireChange> changes{{5, false, 0}, {6, false, 0}, {8, true, 0}};
  net.wires.SetMultipleWireLevel(&changes, false, nullptr, false);
  EXPECT_THAT(heard, ElementsAre("a:wire5.pin2=low a:wire8.pin1=high", "b:wire5.pin4=low"));
}

TEST(WireManager, ObserversAreCalledInOrderOfAttachment) {
  Net net;
  Lines heard;
  std::vector<std::unique_ptr<LevelListener>> listeners;
  for (int n = 0; n < 20; ++n) {
    listeners.push_back(std::make_unique<LevelListener>(&heard));
    net.Connect(*listeners.back(), 5, n);
  }
  net.Drive(5, false, 100);
  ASSERT_EQ(heard.size(), 20u);
  for (int n = 0; n < 20; ++n) EXPECT_EQ(heard[n], "wire5.pin" + std::to_string(n) + "=low");
}

TEST(WireManager, NestedChangeRunsToCompletionBeforeTheOuterDeliveryGoesOn) {
  Net net;
  Lines heard;
  LevelListener first(&heard), second(&heard);
  net.Connect(first, 5, 1);
  net.Connect(second, 5, 2);
  net.Connect(second, 6, 2);
  first.on_update = [&] { net.Drive(6, false, 1, &first); };
  net.Drive(5, false, 9);
  EXPECT_THAT(heard, ElementsAre("wire5.pin1=low", "wire6.pin2=low", "wire5.pin2=low"));
}

TEST(WireManager, WhoAttachesOrDetachesDuringADeliveryChangesTheNext) {
  Net net;
  LevelListener first, late, leaving;
  net.Connect(first, 5, 1);
  net.Connect(leaving, 5, 2);
  first.on_update = [&] {
    net.wires.DisconnectFromWireLogicState(&leaving, 5, 2);
    if (net.wires.GetWireLevel(5)) return;
    net.Connect(late, 5, 3);
  };
  net.Drive(5, false);
  EXPECT_THAT(late.heard(), IsEmpty());
  net.Drive(5, true);
  EXPECT_THAT(late.heard(), ElementsAre("wire5.pin3=high"));
  EXPECT_THAT(leaving.heard(), ElementsAre("wire5.pin2=low"));
}

TEST(WireManager, DisconnectTakesEveryOccurrenceOfThePinAndNoOther) {
  Net net;
  LevelListener listener, stranger;
  for (const unsigned pin : {3, 3, 7}) net.Connect(listener, 5, pin);
  net.wires.DisconnectFromWireLogicState(&listener, 5, 3);
  net.wires.DisconnectFromWireLogicState(&stranger, 5, 3);
  net.Drive(5, false);
  EXPECT_THAT(listener.heard(), ElementsAre("wire5.pin7=low"));
}

TEST(WireManager, VoltageObserversHearLevelEvents) {
  Net net;
  LevelListener listener;
  net.wires.ConnectToWireVoltage(&listener, 5, 1);
  net.Drive(5, false);
  net.wires.DisconnectFromWireLogicState(&listener, 5, 1);
  net.Drive(5, true);
  EXPECT_THAT(listener.heard(), ElementsAre("wire5.pin1=low"));
}

// --- Data --------------------------------------------------------------------------------------

TEST(WireManager, DataStaysInTheMailboxWithoutAnyReceiver) {
  Net net;
  net.Send(5, "hello");
  EXPECT_EQ(net.Mailbox(5), "hello");
  net.Send(5, "");
  EXPECT_EQ(net.Mailbox(5), "");
}

TEST(WireManager, AnswerOfAReceiverIsInTheMailboxWhenTheSendReturns) {
  Net net;
  DataListener master, slave;
  net.Connect(master, 5, 1);
  net.Connect(slave, 5, 2);
  slave.on_update = [&] { net.Send(5, "answer", 2, &slave); };
  net.Send(5, "request", 1, &master);
  EXPECT_EQ(net.Mailbox(5), "answer");
  EXPECT_THAT(slave.heard(), ElementsAre("wire5.pin2=request"));
  EXPECT_THAT(master.heard(), ElementsAre("wire5.pin1=answer"));
}

TEST(WireManager, MailboxCanBeSentOnWhileReceiversAnswer) {
  Net net;
  DataListener first, second;
  net.Connect(first, 5, 1);
  net.Send(5, "echo");
  net.Connect(second, 5, 2);
  bool answered = false;
  first.on_update = [&] {
    if (!answered) {
      answered = true;
      net.Send(5, std::string(4096, 'x'), 2, &second);
    }
  };
  net.wires.SendDataOverWire(5, 9, net.wires.GetWireData(5), nullptr);
  EXPECT_THAT(second.heard(), ElementsAre("wire5.pin2=echo"));
}

TEST(WireManager, DataReachesNoLevelObserverAndTheSourceOnlyOnOtherPins) {
  Net net;
  LevelListener level;
  DataListener source;
  net.Connect(level, 5, 1);
  net.Connect(source, 5, 1);
  net.Connect(source, 5, 2);
  net.Send(5, "x", 1, &source);
  EXPECT_THAT(level.heard(), IsEmpty());
  EXPECT_THAT(source.heard(), ElementsAre("wire5.pin2=x"));
}

// --- The supply --------------------------------------------------------------------------------

class Supply : public testing::TestWithParam<unsigned> {};

TEST_P(Supply, CanOnlyBeRead) {
  const std::string kText = "Only wire level and wire voltage can be read from vdd/gnd wires";
  const unsigned wire = GetParam();
  Net net;
  LevelListener level;
  DataListener data;
  EXPECT_EQ(net.wires.GetWireLevel(wire), wire == WireManager::kVdd);
  EXPECT_EQ(net.wires.GetWireVoltage(wire), wire == WireManager::kVdd ? 3.0 : 0.0);
  EXPECT_EQ(net.wires.GetPinDirectionOnWire(&level, wire, 1), kPinInput);
  EXPECT_EQ(MessageOf([&] { net.Drive(wire, true); }), kText);
  EXPECT_EQ(MessageOf([&] { net.Send(wire, "x"); }), kText);
  EXPECT_EQ(MessageOf([&] { net.Mailbox(wire); }), kText);
  EXPECT_EQ(MessageOf([&] { net.wires.DisconnectFromWireData(&data, wire, 1); }), kText);
  net.wires.SetDirection(&level, wire, 1, kPinOutput, kNoPull);
  net.Connect(level, wire, 1);
  net.wires.DisconnectFromWireLogicState(&level, wire, 1);
  net.Connect(data, wire, 1);
}

INSTANTIATE_TEST_SUITE_P(Wires, Supply, testing::Values(WireManager::kVdd, WireManager::kGnd));

TEST(WireManager, ChangesBeforeASupplyWireOfTheBatchStandUnheard) {
  Net net;
  LevelListener listener;
  net.Connect(listener, 5, 1);
  std::vector<WireChange> changes{{5, false, 0}, {WireManager::kGnd, true, 0}, {6, false, 0}};
  EXPECT_THROW(net.wires.SetMultipleWireLevel(&changes, false, nullptr, false), OrvoError);
  EXPECT_FALSE(net.wires.GetWireLevel(5));
  EXPECT_TRUE(net.wires.GetWireLevel(6));
  EXPECT_THAT(listener.heard(), IsEmpty());
}

// --- Printing ----------------------------------------------------------------------------------

std::string Printed(bool quiet, bool silent) {
  WireManager wires(nullptr, 200, true, quiet);
  testing::internal::CaptureStdout();
  wires.SetWireLevel(5, true, 1, silent, nullptr, false);
  wires.SetWireLevel(5, true, 1, silent, nullptr, false);
  wires.SetWireLevel(17, false, 2, silent, nullptr, false);
  return testing::internal::GetCapturedStdout();
}

TEST(WireManager, PrintsEveryChangeUnlessItIsQuietOrTheChangeSilent) {
  EXPECT_EQ(Printed(false, false), "pin_number: 5   pin_level: 1\npin_number: 17   pin_level: 0\n");
  EXPECT_EQ(Printed(true, false), "");
  EXPECT_EQ(Printed(false, true), "");
}

// --- Pins of the board -------------------------------------------------------------------------

struct PinCase {
  const char* name;
  const char* json;
  unsigned wire;
  const char* error;  // empty for none
};

std::ostream& operator<<(std::ostream& out, const PinCase& c) { return out << c.json; }

class BoardPin : public testing::TestWithParam<PinCase> {};

TEST_P(BoardPin, ResolvesOrIsRefused) {
  Net net;
  net.wires.AddPinName("P0_07", 7);
  unsigned wire = 0;
  const std::string error = MessageOf(
      [&] { wire = net.wires.GetPinWire("MISO", nlohmann::json::parse(GetParam().json)); });
  EXPECT_EQ(wire, GetParam().wire);
  EXPECT_THAT(error, HasSubstr(GetParam().error));
  EXPECT_EQ(error.empty(), std::string(GetParam().error).empty()) << error;
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Json, BoardPin, testing::Values(
    PinCase{"number",        R"({"MISO": 197})",            197, ""},
    PinCase{"under_pins",    R"({"pins": {"MISO": 3}})",      3, ""},
    PinCase{"earlier_name",  R"({"MISO": "P0_07"})",          7, ""},
    PinCase{"vdd",           R"({"MISO": "Vdd"})",   0xffffffff, ""},
    PinCase{"VDD",           R"({"MISO": "VDD"})",   0xffffffff, ""},
    PinCase{"gnd",           R"({"MISO": "gNd"})",   0xfffffffe, ""},
    PinCase{"missing",       R"({"MOSI": 1})",                0, "board.json: Missing pin MISO"},
    PinCase{"only_pins_count", R"({"pins": {}, "MISO": 1})",  0, "board.json: Missing pin MISO"},
    PinCase{"no_object",     R"([1, 2])",                     0, "board.json: Missing pin MISO"},
    PinCase{"unknown_name",  R"({"MISO": "p0_07"})",          0, "Pin_name: p0_07 is invalid pin number"},
    PinCase{"out_of_reach",  R"({"MISO": 198})", 0,
            "wire number 198 is invalid, wire number should be lesser than 198. Please check your bsp.json file"},
    PinCase{"beyond_32_bits", R"({"MISO": 4294967297})",      0, "wire number 4294967297 is invalid"},
    PinCase{"negative",      R"({"MISO": -1})",               0, "wire number -1 is invalid"},
    PinCase{"fraction",      R"({"MISO": 1.5})",              0, "board.json: MISO: expected a wire number"},
    PinCase{"boolean",       R"({"MISO": true})",             0, "board.json: MISO: expected a wire number"},
    PinCase{"array",         R"({"MISO": [1]})",              0, "board.json: MISO: expected a wire number"}),
    [](const auto& tested) { return tested.param.name; });
// clang-format on

}  // namespace
}  // namespace orvo
