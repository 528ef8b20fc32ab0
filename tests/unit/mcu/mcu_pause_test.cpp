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

// A pause that nothing wakes looks after 100 ms of host time.
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
  // These are the messages, and there are no more.
  void ExpectMessages(std::vector<json> messages) {
    mcu.SendMcuInterruptPacket("end");
    messages.push_back(
        {{"type", "event"}, {"description", "interrupt"}, {"interrupt_type", "end"}});
    for (const json& message : messages) EXPECT_EQ(Next(), message);
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
  ExpectMessages({kPaused, kStopped, kResumedResponse, kResumedEvent});
}

TEST_F(McuPauseTest, APauseThatIsResumedBeforeItsStepAnswersBothCommands) {
  mcu.PauseCommand(true);
  mcu.Resume(true);
  Step();
  mcu.PauseCommand(false);  // nothing is left of the first
  mcu.Resume(false);
  Step();
  ExpectMessages({kPaused, kStopped, kResumedResponse, kResumedEvent});
}

// Before the pause is taken, and while it stands.
TEST_F(McuPauseTest, PausesAndResumesOfOneTickAreEachAnsweredInTheirOrder) {
  const auto pairs = [this] {
    for (int i = 0; i < 3; ++i) {
      mcu.PauseCommand(true);
      mcu.Resume(true);
    }
    mcu.Resume(true);
    mcu.PauseCommand(true);
  };
  Action again(pairs), resume([this] { mcu.Resume(true); });
  pairs();
  Behind(&again);
  Behind(&resume);
  Step();
  EXPECT_FALSE(mcu.IsPauseState());
  std::vector<json> messages;
  for (int i = 0; i < 3; ++i) {
    messages.insert(messages.end(), {kPaused, kStopped, kResumedResponse, kResumedEvent});
  }
  messages.insert(messages.end(), {kResumedResponse, kResumedEvent, kPaused, kStopped});
  // It stands already: the first pause is answered at once, the rest as before.
  std::vector<json> standing(messages.begin() + 4, messages.end());
  messages.insert(messages.end(), {kPaused, kResumedResponse, kResumedEvent});
  messages.insert(messages.end(), standing.begin(), standing.end());
  messages.insert(messages.end(), {kResumedResponse, kResumedEvent});
  ExpectMessages(messages);
}

TEST_F(McuPauseTest, BkptReportsItsValueAndPausesOnceHoweverOftenItIsMet) {
  Action resume([this] { mcu.Resume(false); });
  mcu.Bkpt(171);
  mcu.Bkpt(2);
  Behind(&resume);
  Step();
  Step();
  const json first = {{"type", "event"}, {"description", "bkpt"}, {"value", "171"}};
  const json second = {{"type", "event"}, {"description", "bkpt"}, {"value", "2"}};
  ExpectMessages({first, second, kStopped, kResumedEvent});
}

TEST_F(McuPauseTest, AStopEndsThePauseWithoutAResumedPacket) {
  Action stop([this] { mcu.Stop(); });
  mcu.PauseCommand(false);
  Behind(&stop);
  Step();
  ExpectMessages({kStopped});
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
  ExpectMessages({kResumedEvent, kStopped, kResumedEvent});
}

TEST_F(McuPauseTest, AnInternalResumeLeavesThePauseThatACommandAskedFor) {
  Action internal([this] { mcu.InternalResume(true); });
  Action resume([this] { mcu.Resume(true); });
  mcu.PauseCommand(false);
  Behind(&internal);
  Behind(&resume);
  Step();
  ExpectMessages({kStopped, kResumedResponse, kResumedResponse, kResumedEvent});
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
  std::vector<json> expected;
  for (int i = 0; i < 4; ++i) {
    expected.insert(expected.end(), {kPaused, kStopped, kResumedResponse, kResumedEvent});
  }
  EXPECT_EQ(messages, expected);
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
