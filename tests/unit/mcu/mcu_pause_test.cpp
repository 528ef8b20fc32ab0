#include <gmock/gmock.h>

#include <fstream>
#include <thread>

#include "control/connection_manager.h"
#include "runner/args_manager.h"
#include "support/test_mcu.h"
#include "unit/config/working_directory.h"
#include "unit/control/control_client.h"

namespace orvo {
namespace {

using nlohmann::json;

// Each pause lasts one poll interval of 100 ms of host time at least.
struct McuPauseTest : testing::Test {
  // The connection isn't told of the chip, so that the handshake doesn't pause it.
  McuPauseTest() {
    connection.Start(0, false);
    unsigned short port = 0;
    std::ifstream(".zandor/port") >> port;
    client = std::make_unique<ControlClient>(port);
    client->Send({{"type", "handshake"}, {"api_version", "1"}});
    client->Receive();
  }
  ~McuPauseTest() override { ArgsManager::Get().gdb = false; }

  // The next message, without what differs from run to run.
  json Next() {
    json message = client->Receive();
    message.erase("message_id");
    message.erase("device_time");
    return message;
  }
  void Step() { mcu.clock().Tickrement(1); }
  // Behind the chip, which waits for the same tick: first called inside the pause.
  void Behind(TickListener* listener) {
    mcu.clock().AttachToTick(mcu.clock().ticks(), listener, false);
  }

  WorkingDirectory directory;
  ConnectionManager connection;
  TestMcu mcu{nullptr, &connection};
  std::unique_ptr<ControlClient> client;

  static inline const json kPaused = {
      {"type", "response"}, {"description", "emulator_state"}, {"value", "paused"}};
  static inline const json kResumedResponse = {{"type", "response"}, {"description", "resumed"}};
  static inline const json kStopped = {{"type", "event"}, {"description", "stopped"}};
  static inline const json kResumedEvent = {{"type", "event"}, {"description", "resumed"}};
  // Marks the end of what a test expects.
  static inline const json kEnd = {
      {"type", "event"}, {"description", "interrupt"}, {"interrupt_type", "end"}};
  void SendEnd() { mcu.SendMcuInterruptPacket("end"); }
};

// Does something at a tick, also inside a pause.
struct Action : TickListener {
  explicit Action(std::function<void()> function) : function_(std::move(function)) {}
  unsigned long OnTick(unsigned long) override {
    function_();
    return 0;
  }
  std::function<void()> function_;
};

TEST_F(McuPauseTest, APauseIsTakenAtTheNextStepAndAnswersBothCommands) {
  Action resume([this] { mcu.Resume(true); });
  mcu.PauseCommand(true);
  EXPECT_TRUE(mcu.IsPauseState());
  Behind(&resume);
  Step();
  EXPECT_FALSE(mcu.IsPauseState());
  EXPECT_EQ(mcu.clock().ticks(), 1u);  // time stood still
  SendEnd();
  for (const json& expected : {kPaused, kStopped, kResumedResponse, kResumedEvent, kEnd}) {
    EXPECT_EQ(Next(), expected);
  }
}

TEST_F(McuPauseTest, APauseThatIsResumedBeforeItsStepAnswersBothCommands) {
  mcu.PauseCommand(true);
  mcu.Resume(true);
  Step();
  mcu.PauseCommand(false);  // nothing is left of the first
  mcu.Resume(false);
  Step();
  SendEnd();
  for (const json& expected : {kPaused, kStopped, kResumedResponse, kResumedEvent, kEnd}) {
    EXPECT_EQ(Next(), expected);
  }
}

TEST_F(McuPauseTest, APauseCommandWhilePausedIsAnsweredAtOnce) {
  Action again([this] {
    mcu.PauseCommand(true);
    mcu.PauseCommand(false);
    mcu.Resume(false);
  });
  mcu.PauseCommand(false);
  Behind(&again);
  Step();
  SendEnd();
  for (const json& expected : {kStopped, kPaused, kResumedEvent, kEnd}) {
    EXPECT_EQ(Next(), expected);
  }
}

TEST_F(McuPauseTest, ResumingARunningChipIsAnsweredAtOnce) {
  mcu.Resume(true);
  mcu.Resume(false);
  SendEnd();
  for (const json& expected : {kResumedResponse, kResumedEvent, kResumedEvent, kEnd}) {
    EXPECT_EQ(Next(), expected);
  }
}

TEST_F(McuPauseTest, BkptReportsItsValueAndPausesOnceHoweverOftenItIsMet) {
  Action resume([this] { mcu.Resume(false); });
  mcu.Bkpt(171);
  mcu.Bkpt(2);
  Behind(&resume);
  Step();
  Step();
  SendEnd();
  const json bkpt = {{"type", "event"}, {"description", "bkpt"}};
  json first = bkpt, second = bkpt;
  first["value"] = "171";
  second["value"] = "2";
  for (const json& expected : {first, second, kStopped, kResumedEvent, kEnd}) {
    EXPECT_EQ(Next(), expected);
  }
}

TEST_F(McuPauseTest, AStopEndsThePauseWithoutAResumedPacket) {
  Action stop([this] { mcu.Stop(); });
  mcu.PauseCommand(false);
  Behind(&stop);
  Step();
  SendEnd();
  EXPECT_EQ(Next(), kStopped);
  EXPECT_EQ(Next(), kEnd);
}

TEST_F(McuPauseTest, TheDebuggersPauseCountsOnlyWithADebugger) {
  mcu.PausedMcyByDebugger();
  EXPECT_FALSE(mcu.IsPauseState());
  Step();
  mcu.ResumeMcuByDebugger();  // answers at once: nothing stood
  ArgsManager::Get().gdb = true;
  Action resume([this] { mcu.ResumeMcuByDebugger(); });
  mcu.PausedMcyByDebugger();
  EXPECT_TRUE(mcu.IsPauseState());
  Behind(&resume);
  Step();
  SendEnd();
  for (const json& expected : {kResumedEvent, kStopped, kResumedEvent, kEnd}) {
    EXPECT_EQ(Next(), expected);
  }
}

TEST_F(McuPauseTest, AnInternalResumeLeavesThePauseThatACommandAskedFor) {
  Action internal([this] { mcu.InternalResume(true); });
  Action resume([this] { mcu.Resume(true); });
  mcu.PauseCommand(false);
  Behind(&internal);
  Behind(&resume);
  Step();
  SendEnd();
  for (const json& expected : {kStopped, kResumedResponse, kResumedEvent, kEnd}) {
    EXPECT_EQ(Next(), expected);
  }
}

// Also for the thread sanitiser: no request may be lost between two pauses.
TEST_F(McuPauseTest, EveryPauseOfAnotherThreadIsTaken) {
  std::atomic<bool> done{false};
  std::vector<json> messages;
  std::thread sdk([&] {
    for (int i = 0; i < 4; ++i) {
      mcu.PauseCommand(true);
      for (int n = 0; n < 2; ++n) messages.push_back(Next());
      mcu.Resume(true);
      for (int n = 0; n < 2; ++n) messages.push_back(Next());
    }
    done = true;
  });
  while (!done) Step();
  sdk.join();
  ASSERT_EQ(messages.size(), 16u);
  for (size_t i = 0; i < messages.size(); i += 4) {
    EXPECT_EQ(messages[i], kPaused);
    EXPECT_EQ(messages[i + 1], kStopped);
    EXPECT_EQ(messages[i + 2], kResumedResponse);
    EXPECT_EQ(messages[i + 3], kResumedEvent);
  }
}

TEST_F(McuPauseTest, AnExceptionEntryIsReportedByItsName) {
  mcu.memory().set<false>(0x40 + 12, 0x1001);
  mcu.registers().SetSP(TestMcu::kRamStart + 0x100);
  mcu.setEnabled(3, true);
  mcu.interrupts().RaiseInterrupt(3, true);
  mcu.interrupts().ExecuteInterruptIfNeeded();
  EXPECT_EQ(Next(),
            json({{"type", "event"}, {"description", "interrupt"}, {"interrupt_type", "IRQ3"}}));
}

TEST(McuWithoutConnection, SendsNothingAndGoesOn) {
  TestMcu mcu;
  mcu.Bkpt(1);
  mcu.Resume(true);
  mcu.SendMcuInterruptPacket("IRQ0");
  mcu.clock().Tickrement(1);
  EXPECT_FALSE(mcu.IsPauseState());
}

}  // namespace
}  // namespace orvo
