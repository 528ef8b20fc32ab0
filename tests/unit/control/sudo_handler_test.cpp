#include "control/sudo_handler.h"

#include <gmock/gmock.h>

#include "devices/gpio_port.h"
#include "unit/control/control_bench.h"
#include "wires/pin_manager.h"

namespace orvo {
namespace {

using nlohmann::json;
using testing::ElementsAre;

constexpr unsigned kSudoStart = 0xA0000000;
constexpr unsigned kNsOf64Ticks = 1000;  // at 64 MHz

struct Bench : ControlBench {
  SudoHandler* sudo = new SudoHandler(&mcu, "SUDO", kSudoStart, 4096, {}, {});

  Bench() {
    mcu.memory().AddSection(sudo);
    connection.CreatePeripherals(&mcu);
    Handshake();
    mcu.clock().Tickrement(1);  // past the pause that the handshake asked for
  }

  void Do(json command, const std::string& name) {
    command["command"] = name;
    sudo->DoCommand(command);
  }
  // The next message without its number.
  json Receive() {
    json message = client->Receive();
    message.erase("message_id");
    return message;
  }
  void Write(unsigned offset, unsigned value) {
    mcu.memory().set<true>(kSudoStart + offset, value);
  }
};

TEST(SudoHandler, AnswersItsCommands) {
  const json none = json::object();
  const std::tuple<const char*, json, json> cases[] = {
      {"stop_after", {{"nanoseconds", 1000}}, {{"description", "ok"}}},
      {"cancel_stop", none, {{"description", "stop_canceled"}}},
      {"stop_after", {{"nanoseconds", 0}}, {{"description", "ok"}}},
      {"resume_running", none, {{"description", "resumed"}}},
      {"get_device_time", none, {{"description", "device_time"}, {"value", 1000.0}}},
      {"get_pin_level", {{"pin_number", 5u}}, {{"value", true}}},
      {"get_pin_level", {{"pin_number", "GND"}}, {{"value", false}}},
      {"get_pin_level", {{"pin_number", "vdd"}}, {{"value", true}}}};
  for (auto [command, keys, reply] : cases) {
    Bench bench;
    bench.mcu.clock().Tickrement(63);
    bench.Do(keys, command);
    if (!reply.contains("description")) reply["description"] = "value_response";
    reply["type"] = "response";
    EXPECT_EQ(bench.Receive(), reply);
  }
}

TEST(SudoHandler, RefusesWithCommandAndKey) {
  const std::pair<json, const char*> refusals[] = {
      {{{"command", "fly"}}, "OrvoError: Unknown command type: fly in Sudo"},
      {{{"command", "set_timer"}},
       "UserError: command set_timer: the key \"nanoseconds\" is missing"},
      {{{"command", "stop_after"}, {"nanoseconds", -1}},
       "UserError: command stop_after: nanoseconds: expected an integer from 0 to "
       "18446744073709551615, found -1"},
      {{{"command", "get_pin_level"}}, "UserError: board.json: Missing pin pin_number"},
      {{{"command", "set_pin_level"}, {"pin_number", 5u}, {"pin_level", "up"}},
       "UserError: command set_pin_level: pin_level: expected a number, found a string"},
      {{{"command", "set_pin_level"}, {"pin_number", "vdd"}, {"pin_level", 0}},
       "OrvoError: Only wire level and wire voltage can be read from vdd/gnd wires"}};
  Bench bench;
  for (const auto& [command, message] : refusals) {
    EXPECT_EQ(ErrorOf([&] { bench.sudo->DoCommand(command); }), message);
  }
}

TEST(SudoHandler, SetPinLevelDrivesTheWireAndIsReported) {
  Bench bench;
  bench.Do({{"pin_number", 9u}, {"pin_level", 0}}, "set_pin_level");
  EXPECT_FALSE(bench.wires.GetWireLevel(9));
  EXPECT_EQ(bench.Receive()["description"], "pin_level_event");
  bench.wires.AddPinName("P0_9", 9);
  bench.Do({{"pin_number", "P0_9"}, {"pin_level", true}}, "set_pin_level");
  EXPECT_TRUE(bench.wires.GetWireLevel(9));
}

TEST(SudoHandler, StopAfterPausesAtItsTickUnlessItWasCanceled) {
  Bench bench;
  bench.Do({{"nanoseconds", kNsOf64Ticks}}, "stop_after");
  bench.Do(json::object(), "cancel_stop");
  bench.mcu.clock().Tickrement(100);
  EXPECT_FALSE(bench.mcu.IsPauseState());
  bench.Do({{"nanoseconds", kNsOf64Ticks}}, "stop_after");
  bench.mcu.clock().Tickrement(63);
  EXPECT_FALSE(bench.mcu.IsPauseState());
  bench.mcu.Stop();  // so that the pause doesn't wait for a resume
  bench.mcu.clock().Tickrement(1);
  EXPECT_TRUE(bench.mcu.IsPauseState());
}

TEST(SudoHandler, EachTimerPausesAndReportsItself) {
  Bench bench;
  bench.mcu.Stop();
  std::vector<int> ids;
  for (const unsigned microseconds : {2u, 1u}) {
    bench.Do({{"nanoseconds", microseconds * 1000.0}}, "set_timer");
    const json reply = bench.Receive();
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
    const json event = bench.Receive();
    EXPECT_EQ(event["description"], "timer_id");
    EXPECT_EQ(event["value"], id);
    EXPECT_EQ(bench.Receive()["description"], "stopped");
  }
}

TEST(SudoHandler, TimerOfOneIdRunsOnceAtATime) {
  Bench bench;
  bench.sudo->SetTimer(kNsOf64Ticks, 77);
  EXPECT_EQ(ErrorOf([&] { bench.sudo->SetTimer(1, 77); }),
            "OrvoError: Can't set timer twice by same id: 77 in Sudo");
  bench.mcu.Stop();
  bench.mcu.clock().Tickrement(64);
  bench.sudo->SetTimer(kNsOf64Ticks, 77);
}

TEST(SudoHandler, PausedStateIsReportedAndTerminateEndsTheRunWithCode0) {
  Bench bench;
  TerminateRecorder ended;
  bench.Do(json::object(), "get_state");
  EXPECT_EQ(bench.Receive()["value"], "running");
  bench.mcu.Stop();
  bench.Do(json::object(), "pause");
  bench.mcu.clock().Tickrement(1);
  EXPECT_EQ(bench.Receive()["value"], "paused");  // the answer to "pause"
  EXPECT_EQ(bench.Receive()["description"], "stopped");
  bench.Do(json::object(), "get_state");
  EXPECT_EQ(bench.Receive()["value"], "paused");
  bench.Do(json::object(), "terminate");
  EXPECT_THAT(ended.codes, ElementsAre(0));
}

// ---- Tasks of the firmware ----

// Its report: tests/system/control_connection_test.cpp.
TEST(SudoTasks, ExitPausesForAnyValueBut0) {
  Bench bench;
  for (const unsigned value : {0u, 2u}) {
    bench.Write(SudoHandler::TASKS_EXIT, value);
    EXPECT_EQ(bench.mcu.IsPauseState(), value != 0);
  }
}

class Port : public PlainSection, public GpioPort {
 public:
  Port(Mcu* mcu, WireManager* wires)
      : PlainSection(mcu, "P0", 0x50000000, 4096), pins_({10, 11, 12}, wires, nullptr, kPinInput) {}
  PinManager& pin_manager() override { return pins_; }

 private:
  PinManager pins_;
};

TEST(SudoTasks, ApplyPinForcesThePinsWireOfAModelledPort) {
  Bench bench;
  const auto apply = [&](unsigned value) {
    return ErrorOf([&] { bench.Write(SudoHandler::TASKS_APPLY_PIN, value); });
  };
  EXPECT_EQ(apply(1), "OrvoError: Unknown section : P0 in memory section");
  bench.mcu.memory().AddSection(new PlainSection(&bench.mcu, "P0", 0x50000000, 4096));
  EXPECT_EQ(apply(1), "OrvoError: SUDO can't force a pin: section P0 is no model of a GPIO port");
  bench.mcu.memory().AddSection(new Port(&bench.mcu, &bench.wires));
  bench.Write(SudoHandler::GPIO_PIN, 2);
  EXPECT_EQ(apply(0), "");
  EXPECT_TRUE(bench.wires.GetWireLevel(12));
  EXPECT_EQ(apply(1), "");
  EXPECT_FALSE(bench.wires.GetWireLevel(12));
  bench.Write(SudoHandler::GPIO_VALUE, 8);
  EXPECT_EQ(apply(1), "");
  EXPECT_TRUE(bench.wires.GetWireLevel(12));
  bench.Write(SudoHandler::GPIO_PIN, 3);
  EXPECT_EQ(apply(1), "UserError: SUDO can't force pin 3: port P0 has 3 pins");
}

}  // namespace
}  // namespace orvo
