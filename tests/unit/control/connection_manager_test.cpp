#include "control/connection_manager.h"

#include <gmock/gmock.h>

#include <random>

#include "unit/control/control_bench.h"

namespace orvo {
namespace {

using nlohmann::json;
using testing::HasSubstr;

// A block that notes its commands, and may act on one.
class RecordingBlock : public MemorySection {
 public:
  explicit RecordingBlock(Mcu* mcu, const char* name = "Block")
      : MemorySection(mcu, name, 0x40000000, 4096) {}
  void DoCommand(const json& command) override {
    commands.push_back(command["command"]);
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

// ---- Frames ----

// In pieces as the network pleases, and behind them a frame of which some bytes are wrong: whatever
// it says now, a clear error or nothing comes of it.
TEST(ControlConnection, FramesAreReadInAnyPiecesAndASpoiltOneDoesNoHarm) {
  std::mt19937 random(8);
  const auto frame = [&random](const std::string& name) {
    return ControlClient::Frame(json{{"type", "command"},
                                     {"peripheral_type", "nrf52832"},
                                     {"peripheral_name", "first"},
                                     {"command", name},
                                     {"padding", std::string(random() % 300, 'x')}}
                                    .dump());
  };
  for (int round = 0; round < 100; ++round) {
    Bench bench;
    TerminateRecorder ended;
    bench.Handshake();
    std::string stream, spoilt = frame("spoilt");
    const std::vector<std::string> names = {"a", "b", "c", "d", "e", "f", "g", "h"};
    for (const std::string& name : names) stream += frame(name);
    for (unsigned i = random() % 8; i > 0; --i) {
      spoilt[random() % spoilt.size()] = static_cast<char>(random());
    }
    stream += spoilt;
    testing::internal::CaptureStderr();
    for (size_t start = 0, length = 0; start < stream.size(); start += length) {
      length = 1 + random() % 700;
      bench.client->SendBytes(stream.substr(start, length));
    }
    bench.client->EndSending();
    bench.Connect();
    bench.Command("first", {{"command", "end"}});
    const std::string error = ErrorOf([&] {
      bench.RunUntil([&] {
        return ended.ended ||
               (!bench.block->commands.empty() && bench.block->commands.back() == "end");
      });
      bench.mcu.clock().Tickrement(1);
    });
    bench.connection.ReleasePeripherals();
    const std::string output = testing::internal::GetCapturedStderr();
    bench.block->commands.resize(names.size());
    EXPECT_EQ(bench.block->commands, names);
    EXPECT_THAT(error, testing::MatchesRegex("|OrvoError: Peripheral .*|UserError: control .*"));
    EXPECT_TRUE(!ended.ended || output.find("control connection") != std::string::npos) << output;
  }
}

// ---- Messages ----

TEST(ControlConnection, MessagesOfTheSignalsAreNumberedFromTheFirstThatIsSent) {
  ControlBench bench;
  OrvoSignals::Get().send_json_message.emit({{"lost", true}});
  bench.Handshake();                // number 0
  UserError("Something \xff odd");  // not UTF-8, and before the chip
  const json error = bench.client->Receive();
  EXPECT_TRUE(error["device_time"].is_number_integer());
  EXPECT_EQ(error["value"], "Something \xef\xbf\xbd odd");
  bench.connection.CreatePeripherals(&bench.mcu);
  bench.mcu.clock().Tickrement(64);
  OrvoSignals::Get().send_json_message.emit({{"a", 1}});
  OrvoSignals::Get().send_json_event.emit({{"description", "hello"}});
  EXPECT_EQ(bench.client->Receive(), json({{"a", 1}, {"message_id", 2}}));
  EXPECT_EQ(bench.client->Receive(), json({{"type", "event"},
                                           {"description", "hello"},
                                           {"device_time", 1000.0},
                                           {"message_id", 3}}));
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
