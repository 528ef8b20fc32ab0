#include "control/sudo_handler.h"

#include <gmock/gmock.h>

#include "devices/gpio_port.h"
#include "unit/control/control_bench.h"
#include "wires/pin_manager.h"

namespace orvo {
namespace {

using testing::ElementsAre;

constexpr unsigned kSudoStart = 0xA0000000;
constexpr unsigned kNsPerTickTimes64 = 1000;  // 64 ticks of a 64 MHz clock

struct Bench : ControlBench {
  SudoHandler* sudo = new SudoHandler(&mcu, "SUDO", kSudoStart, 4096, {}, {});

  Bench() {
    mcu.memory().AddSection(sudo);
    connection.CreatePeripherals(&mcu);
    Handshake();
    mcu.clock().Tickrement(1);  // past the pause that the handshake asked for
  }

  void Do(nlohmann::json command, const std::string& name) {
    command["command"] = name;
    sudo->DoCommand(command);
  }
  // The next message without its number.
  nlohmann::json Receive() {
    nlohmann::json message = client->Receive();
    message.erase("message_id");
    return message;
  }
  void Write(unsigned offset, unsigned value) {
    mcu.memory().set<true>(kSudoStart + offset, value);
  }
};

struct ReplyCase {
  std::string command;
  nlohmann::json keys;
  nlohmann::json reply;  // without its type
};

class SudoReplies : public testing::TestWithParam<ReplyCase> {};

TEST_P(SudoReplies, AnswerACommand) {
  Bench bench;
  bench.mcu.clock().Tickrement(63);
  bench.Do(GetParam().keys, GetParam().command);
  nlohmann::json reply = GetParam().reply;
  reply["type"] = "response";
  EXPECT_EQ(bench.Receive(), reply);
}

INSTANTIATE_TEST_SUITE_P(
    , SudoReplies,
    testing::Values(
        ReplyCase{"stop_after", {{"nanoseconds", 1000}}, {{"description", "ok"}}},
        ReplyCase{"stop_after", {{"nanoseconds", 0}}, {{"description", "ok"}}},
        ReplyCase{"cancel_stop", nlohmann::json::object(), {{"description", "stop_canceled"}}},
        ReplyCase{"resume_running", nlohmann::json::object(), {{"description", "resumed"}}},
        ReplyCase{"get_state",
                  nlohmann::json::object(),
                  {{"description", "emulator_state"}, {"value", "running"}}},
        ReplyCase{"get_device_time",
                  nlohmann::json::object(),
                  {{"description", "device_time"}, {"value", 1000.0}}},
        ReplyCase{"get_pin_level",
                  {{"pin_number", 5u}},
                  {{"description", "value_response"}, {"value", true}}},
        ReplyCase{"get_pin_level",
                  {{"pin_number", "GND"}},
                  {{"description", "value_response"}, {"value", false}}},
        ReplyCase{"get_pin_level",
                  {{"pin_number", "vdd"}},
                  {{"description", "value_response"}, {"value", true}}}),
    [](const auto& test) { return test.param.command + std::to_string(test.index); });

struct RefusalCase {
  std::string name;
  nlohmann::json command;
  std::string message;
};

class SudoRefusals : public testing::TestWithParam<RefusalCase> {};

TEST_P(SudoRefusals, NameCommandAndKey) {
  Bench bench;
  EXPECT_EQ(ErrorOf([&] { bench.sudo->DoCommand(GetParam().command); }), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    , SudoRefusals,
    testing::Values(
        RefusalCase{
            "unknown", {{"command", "fly"}}, "OrvoError: Unknown command type: fly in Sudo"},
        RefusalCase{"no_time",
                    {{"command", "set_timer"}},
                    "UserError: command set_timer: the key \"nanoseconds\" is missing"},
        RefusalCase{"negative_time",
                    {{"command", "stop_after"}, {"nanoseconds", -1}},
                    "UserError: command stop_after: nanoseconds: expected an integer from 0 to "
                    "18446744073709551615, found -1"},
        RefusalCase{"no_pin",
                    {{"command", "get_pin_level"}},
                    "UserError: board.json: Missing pin pin_number"},
        RefusalCase{"type_of_level",
                    {{"command", "set_pin_level"}, {"pin_number", 5u}, {"pin_level", "up"}},
                    "UserError: command set_pin_level: pin_level: expected a number, found a "
                    "string"},
        RefusalCase{"supply",
                    {{"command", "set_pin_level"}, {"pin_number", "vdd"}, {"pin_level", 0}},
                    "OrvoError: Only wire level and wire voltage can be read from vdd/gnd wires"}),
    [](const auto& test) { return test.param.name; });

TEST(SudoHandler, SetPinLevelDrivesTheWireAndIsReported) {
  Bench bench;
  bench.Do({{"pin_number", 9u}, {"pin_level", 0}}, "set_pin_level");
  EXPECT_FALSE(bench.wires.GetWireLevel(9));
  EXPECT_EQ(bench.Receive()["description"], "pin_level_event");
  bench.wires.AddPinName("P0_9", 9);
  bench.Do({{"pin_number", "P0_9"}, {"pin_level", true}}, "set_pin_level");
  EXPECT_TRUE(bench.wires.GetWireLevel(9));
}

TEST(SudoHandler, StopAfterPausesAtItsTick) {
  Bench bench;
  bench.Do({{"nanoseconds", kNsPerTickTimes64}}, "stop_after");
  bench.mcu.clock().Tickrement(63);
  EXPECT_FALSE(bench.mcu.IsPauseState());
  bench.mcu.Stop();  // so that the pause doesn't wait for a resume
  bench.mcu.clock().Tickrement(1);
  EXPECT_TRUE(bench.mcu.IsPauseState());
}

TEST(SudoHandler, CanceledStopPausesNothingAndCanBeAskedForAgain) {
  Bench bench;
  for (int i = 0; i < 2; ++i) {
    bench.Do({{"nanoseconds", kNsPerTickTimes64}}, "stop_after");
    bench.Do(nlohmann::json::object(), "cancel_stop");
  }
  bench.mcu.clock().Tickrement(100);
  EXPECT_FALSE(bench.mcu.IsPauseState());
}

TEST(SudoHandler, EachTimerPausesAndReportsItself) {
  Bench bench;
  bench.mcu.Stop();
  std::vector<int> ids;
  for (const unsigned microseconds : {2u, 1u}) {
    bench.Do({{"nanoseconds", microseconds * 1000.0}}, "set_timer");
    const nlohmann::json reply = bench.Receive();
    EXPECT_EQ(reply["description"], "set_timer");
    EXPECT_EQ(reply["ticks"], microseconds * 64);
    ids.push_back(reply["timer_id"]);
  }
  EXPECT_NE(ids[0], ids[1]);
  for (const int id : {ids[1], ids[0]}) {
    EXPECT_FALSE(bench.mcu.IsPauseState());
    bench.mcu.clock().Tickrement(64);
    EXPECT_TRUE(bench.mcu.IsPauseState());
    bench.mcu.Resume(false);
    const nlohmann::json event = bench.Receive();
    EXPECT_EQ(event["description"], "timer_id");
    EXPECT_EQ(event["value"], id);
    EXPECT_EQ(bench.Receive()["description"], "stopped");
  }
}

TEST(SudoHandler, TimerOfOneIdRunsOnceAtATime) {
  Bench bench;
  bench.sudo->SetTimer(kNsPerTickTimes64, 77);
  EXPECT_EQ(ErrorOf([&] { bench.sudo->SetTimer(1, 77); }),
            "OrvoError: Can't set timer twice by same id: 77 in Sudo");
  bench.mcu.Stop();
  bench.mcu.clock().Tickrement(64);
  bench.sudo->SetTimer(kNsPerTickTimes64, 77);
}

TEST(SudoHandler, TerminateEndsTheRunWithCode0) {
  Bench bench;
  TerminateRecorder ended;
  bench.Do(nlohmann::json::object(), "terminate");
  EXPECT_THAT(ended.codes, ElementsAre(0));
}

TEST(SudoHandler, PausedStateIsReported) {
  Bench bench;
  bench.mcu.Stop();
  bench.Do(nlohmann::json::object(), "pause");
  bench.mcu.clock().Tickrement(1);
  EXPECT_EQ(bench.Receive()["value"], "paused");  // the answer to "pause"
  EXPECT_EQ(bench.Receive()["description"], "stopped");
  bench.Do(nlohmann::json::object(), "get_state");
  EXPECT_EQ(bench.Receive()["value"], "paused");
}

// ---- Tasks of the firmware ----

TEST(SudoTasks, ExitReportsItsCodeAndPauses) {
  Bench bench;
  bench.Write(SudoHandler::EXIT_CODE, 42);
  bench.Write(SudoHandler::TASKS_EXIT, 0);
  EXPECT_FALSE(bench.mcu.IsPauseState());
  bench.Write(SudoHandler::TASKS_EXIT, 1);
  EXPECT_TRUE(bench.mcu.IsPauseState());
  const nlohmann::json event = bench.Receive();
  EXPECT_EQ(event["description"], "sudo_exit");
  EXPECT_EQ(event["value"], 42);
}

class Port : public PlainSection, public GpioPort {
 public:
  Port(Mcu* mcu, WireManager* wires)
      : PlainSection(mcu, "P0", 0x50000000, 4096), pins_({10, 11, 12}, wires, nullptr, kPinInput) {}
  PinManager& pin_manager() override { return pins_; }

 private:
  PinManager pins_;
};

TEST(SudoTasks, ApplyPinForcesThePinsWire) {
  Bench bench;
  bench.mcu.memory().AddSection(new Port(&bench.mcu, &bench.wires));
  bench.Write(SudoHandler::GPIO_PIN, 2);
  bench.Write(SudoHandler::TASKS_APPLY_PIN, 0);
  EXPECT_TRUE(bench.wires.GetWireLevel(12));
  bench.Write(SudoHandler::TASKS_APPLY_PIN, 1);
  EXPECT_FALSE(bench.wires.GetWireLevel(12));
  bench.Write(SudoHandler::GPIO_VALUE, 8);
  bench.Write(SudoHandler::TASKS_APPLY_PIN, 1);
  EXPECT_TRUE(bench.wires.GetWireLevel(12));
  bench.Write(SudoHandler::GPIO_PIN, 3);
  EXPECT_EQ(ErrorOf([&] { bench.Write(SudoHandler::TASKS_APPLY_PIN, 1); }),
            "UserError: SUDO can't force pin 3: port P0 has 3 pins");
}

TEST(SudoTasks, ApplyPinNeedsAModelOfThePort) {
  Bench bench;
  EXPECT_EQ(ErrorOf([&] { bench.Write(SudoHandler::TASKS_APPLY_PIN, 1); }),
            "OrvoError: Unknown section : P0 in memory section");
  bench.mcu.memory().AddSection(new PlainSection(&bench.mcu, "P0", 0x50000000, 4096));
  EXPECT_EQ(ErrorOf([&] { bench.Write(SudoHandler::TASKS_APPLY_PIN, 1); }),
            "OrvoError: SUDO can't force a pin: section P0 is no model of a GPIO port");
}

}  // namespace
}  // namespace orvo
