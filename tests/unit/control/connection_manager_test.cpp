#include "control/connection_manager.h"

#include <gmock/gmock.h>

#include "unit/control/control_bench.h"
#include "wires/wire_types.h"

namespace orvo {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A block that notes its commands, and may act on one.
class RecordingBlock : public MemorySection {
 public:
  explicit RecordingBlock(Mcu* mcu, const char* name = "Block")
      : MemorySection(mcu, name, 0x40000000, 4096) {}
  void DoCommand(const json& command) override {
    commands.push_back(std::to_string(GetMcu()->clock().ticks()) + " " +
                       command["command"].get<std::string>());
    if (action) action(command);
  }
  std::vector<std::string> commands;
  std::function<void(const json&)> action;
};

struct Bench : ControlBench {
  RecordingBlock* block = new RecordingBlock(&mcu);

  Bench() : ControlBench(R"({"class": "Block", "name": "first"})") {
    mcu.memory().AddSection(block);
    connection.CreatePeripherals(&mcu);
  }
};

// ---- Connecting ----

TEST(ControlConnection, PortFileHoldsTheChosenPortAndGoesAtTheEnd) {
  WorkingDirectory directory;
  {
    ConnectionManager connection;
    EXPECT_FALSE(directory.Has(".zandor"));
    connection.Start(0, false);
    const std::string port = directory.Read(".zandor/port");
    EXPECT_THAT(port, testing::EndsWith("\n"));
    EXPECT_TRUE(ControlClient(static_cast<unsigned short>(std::stoul(port))).connected());
  }
  EXPECT_FALSE(directory.Has(".zandor/port"));
}

// ---- Handshake ----

TEST(ControlConnection, EveryHandshakeIsAnsweredAndTheConnectionGoesOn) {
  const std::pair<json, json> handshakes[] = {
      {{{"type", "handshake"}, {"api_version", "1"}}, {{"response", "ok"}}},
      {{{"type", "handshake"}, {"api_version", "2"}},
       {{"response", "error"}, {"error", "Error expect api version [1], instead got [2]"}}},
      {{{"type", "command"}, {"command", "dropped"}},
       {{"response", "error"},
        {"error", "Error expect [handshake] message, instead got [command]"}}}};
  for (auto [message, answer] : handshakes) {
    Bench bench;
    bench.Connect();
    bench.client->Send(message);
    answer.update({{"type", "response"}, {"message_id", 0}});
    EXPECT_EQ(bench.client->Receive(), answer);
    ASSERT_TRUE(WaitUntil([&] { return bench.connection.IsConnected(); }));
    EXPECT_TRUE(bench.mcu.IsPauseState());
    bench.mcu.Resume(false);
    bench.Connect();  // the next client doesn't shake hands
    bench.Command("first", {{"command", "at once"}});
    EXPECT_TRUE(bench.RunUntil([&] { return !bench.block->commands.empty(); }));
  }
}

// ---- Commands ----

TEST(ControlConnection, QueuedCommandsRunInOrderAtOneTick) {
  Bench bench;
  bench.Handshake();
  bench.mcu.clock().Tickrement(9);
  const std::string frame = ControlClient::Frame(
      R"({"type": "command", "peripheral_type": "nrf52832", "peripheral_name": "first",
          "command": "a"})");
  // Split and joined as the network pleases.
  bench.client->SendBytes(frame.substr(0, 2));
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  bench.client->SendBytes(frame.substr(2, 50));
  std::this_thread::sleep_for(std::chrono::milliseconds(10));
  bench.client->SendBytes(frame.substr(52) + frame);
  bench.client->Send({{"type", "event"}, {"ignored", true}});
  bench.Command("first", {{"command", "b"}});
  bench.client->SendBytes(std::string(4, '\0'));  // closes when all before it is read
  EXPECT_TRUE(bench.client->Closed());
  EXPECT_THAT(bench.block->commands, IsEmpty());
  bench.mcu.clock().Tickrement(1);
  EXPECT_THAT(bench.block->commands, ElementsAre("10 a", "10 a", "10 b"));
}

TEST(ControlConnection, BadCommandsEndTheRunOnTheSimulationThread) {
  const std::pair<json, const char*> commands[] = {
      {{{"peripheral_type", "X"}, {"peripheral_name", "first"}},
       "OrvoError: Peripheral type: X not found"},
      {{{"peripheral_type", "nrf52832"}, {"peripheral_name", "second"}},
       "OrvoError: Peripheral id of type: second is missing"},
      {{{"peripheral_type", "nrf52832"}},
       "UserError: control connection: the key \"peripheral_name\" is missing"},
      {{{"peripheral_type", 1}, {"peripheral_name", "first"}},
       "UserError: control connection: peripheral_type: expected a string, found 1"},
      {{{"peripheral_type", "nrf52832"}, {"peripheral_name", "first"}, {"command", "x"}},
       "UserError: control connection: command for first: [json.exception.out_of_range.403] key "
       "'absent' not found"}};
  for (auto [command, message] : commands) {
    Bench bench;
    bench.Handshake();
    bench.block->action = [](const json& received) { received.at("absent"); };
    command["type"] = "command";
    bench.client->Send(command);
    EXPECT_THAT(ErrorOf([&] { bench.RunUntil([] { return false; }); }), HasSubstr(message));
  }
}

TEST(ControlConnection, WhatIsNoMessageEndsTheRunWithAnErrorEvent) {
  for (const auto& [text, reason] :
       {std::pair("{\"type\": ", "control connection: [json.exception.parse_error.101]"),
        {"[1]", "control connection: expected an object, found an array"},
        {"{}", "control connection: the key \"type\" is missing"},
        {"{\"type\": 5}", "control connection: type: expected a string, found 5"}}) {
    Bench bench;
    TerminateRecorder ended;
    bench.Handshake();
    testing::internal::CaptureStderr();
    bench.client->SendBytes(ControlClient::Frame(text));
    const json event = bench.client->Receive();
    bench.connection.ReleasePeripherals();  // waits for the server's thread
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(reason));
    EXPECT_THAT(ended.codes, ElementsAre(1));
    EXPECT_EQ(event["description"], "user_error");
    EXPECT_THAT(event["value"].get<std::string>(), HasSubstr(reason));
  }
}

TEST(ControlConnection, FrameBeyondTheLimitEndsTheClientAndNotTheRun) {
  Bench bench;
  TerminateRecorder ended;
  bench.Connect();
  testing::internal::CaptureStderr();
  bench.client->SendBytes("GET / HTTP/1.0\r\n");  // 1195725856 bytes, taken as a length
  EXPECT_THAT(bench.client->Receive().value("error", ""),
              "Frame of 1195725856 bytes is longer than the limit of 16777216 bytes");
  bench.Handshake();
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("1195725856"));
  EXPECT_TRUE(bench.connection.IsConnected());
  EXPECT_THAT(ended.codes, IsEmpty());
}

// ---- Messages ----

TEST(ControlConnection, MessagesAreNumberedFromTheFirstThatIsSent) {
  Bench bench;
  bench.connection.SendJsonMessage({{"lost", true}});
  bench.Handshake();  // number 0
  bench.mcu.clock().Tickrement(64);
  OrvoSignals::Get().send_json_message.emit({{"a", 1}});
  OrvoSignals::Get().send_json_event.emit({{"description", "hello"}});
  EXPECT_EQ(bench.client->Receive(), json({{"a", 1}, {"message_id", 1}}));
  EXPECT_EQ(bench.client->Receive(), json({{"type", "event"},
                                           {"description", "hello"},
                                           {"device_time", 1000.0},
                                           {"message_id", 2}}));
}

TEST(ControlConnection, BeforeTheChipEventsAreOfTimeZero) {
  ControlBench bench;
  bench.Handshake();
  UserError("Something " + std::string("\xff") + " odd");  // not UTF-8
  const json event = bench.client->Receive();
  EXPECT_TRUE(event["device_time"].is_number_integer());
  EXPECT_EQ(event["description"], "user_error");
  EXPECT_EQ(event["value"], "Something \xef\xbf\xbd odd");
}

TEST(ControlConnection, PinEventsCarryTheWire) {
  Bench bench;
  bench.Handshake();
  std::vector<WireLogicLevelEvent> events{{1, 17, 3, 3.0}, {0, 18, 4, 0.0}};
  bench.connection.SendPinLogicLevelEvents(&events);
  for (const auto& [wire, level] : {std::pair(17, 1), std::pair(18, 0)}) {
    const json event = bench.client->Receive();
    EXPECT_EQ(event["description"], "pin_level_event");
    EXPECT_EQ(event["pin_number"], wire);
    EXPECT_EQ(event["transition_type"], level);
    EXPECT_EQ(event["voltage"], level * 3.0);
  }
}

// ---- Commands to the SDK ----

TEST(CommandsToTheSdk, ReplyComesThroughBehindFurtherCommands) {
  Bench bench;
  bench.Handshake();
  json reply;
  bench.block->action = [&](const json& command) {
    if (command["command"] == "ask") {
      reply = bench.connection.SendJsonCommand({{"description", "i2c_event"}});
    }
  };
  std::thread sdk([&] {
    EXPECT_EQ(bench.client->Receive()["description"], "i2c_event");
    bench.Command("first", {{"command", "queued"}});
    bench.client->Send({{"type", "response"}, {"ack", true}});
  });
  bench.Command("first", {{"command", "ask"}});
  EXPECT_TRUE(bench.RunUntil([&] { return bench.block->commands.size() == 2; }));
  sdk.join();
  EXPECT_EQ(reply, json({{"type", "response"}, {"ack", true}}));
}

TEST(CommandsToTheSdk, WaitEndsWhenTheClientLeavesOrTheRunIsStopped) {
  for (const bool leaves : {true, false}) {
    Bench bench;
    bench.Handshake();
    std::thread sdk([&] {
      bench.client->Receive();
      leaves ? bench.client.reset() : bench.connection.Stop();
    });
    EXPECT_THAT(ErrorOf([&] {
                  bench.connection.SendJsonCommand({{"description", "ask"}});
                }),
                HasSubstr(leaves ? "UserError: The SDK left without a reply to "
                                   "{\"description\":\"ask\""
                                 : "OrvoError: The run was stopped while it waited for the SDK's "
                                   "reply"));
    sdk.join();
  }
}

}  // namespace
}  // namespace orvo
