// How signals end a process. Each test runs in a process of its own: handlers last.
#include "runner/signal_handler.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "runner/orvo_signals.h"

namespace orvo {
namespace {

// Waits for the termination channel, and leaves with the number of times that it was used plus 40.
[[noreturn]] void LeaveAfterTermination(void (*send)()) {
  InstallSignalHandlers();
  std::atomic<int> emissions{0};
  OrvoSignals::Get().terminate.Connect(
      [&emissions](int code) { emissions += code == 0 ? 1 : 100; });
  SignalWatcher watcher;
  send();
  for (int i = 0; i < 5000 && emissions == 0; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  watcher.Join();
  ::_exit(40 + emissions);
}

class SignalHandlerDeathTest : public testing::Test {
 protected:
  SignalHandlerDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

TEST_F(SignalHandlerDeathTest, InterruptAndTerminateEmitZeroOnce) {
  EXPECT_EXIT(LeaveAfterTermination([] { ::kill(::getpid(), SIGINT); }),
              testing::ExitedWithCode(41), "");
  EXPECT_EXIT(LeaveAfterTermination([] {
                ::kill(::getpid(), SIGTERM);
                ::kill(::getpid(), SIGINT);
                ::kill(::getpid(), SIGTERM);
              }),
              testing::ExitedWithCode(41), "");
}

TEST_F(SignalHandlerDeathTest, BrokenPipeIsIgnored) {
  EXPECT_EXIT(
      {
        InstallSignalHandlers();
        ::raise(SIGPIPE);
        ::_exit(7);
      },
      testing::ExitedWithCode(7), "");
}

TEST_F(SignalHandlerDeathTest, WatcherEndsWithoutASignal) {
  EXPECT_EXIT(
      {
        InstallSignalHandlers();
        { const SignalWatcher watcher; }
        ::_exit(7);
      },
      testing::ExitedWithCode(7), "");
}

TEST_F(SignalHandlerDeathTest, FatalSignalsReportAndLeaveWithTheirNumber) {
  for (const int sig : {SIGSEGV, SIGABRT, SIGFPE, SIGILL}) {
    EXPECT_EXIT(
        {
          InstallSignalHandlers();
          ::raise(sig);
        },
        testing::ExitedWithCode(sig), "Received signal: " + std::to_string(sig));
  }
}

// A listener that fails while the first failure is reported, as broken memory would make it.
TEST_F(SignalHandlerDeathTest, FaultInsideTheReportStillLeaves) {
  EXPECT_EXIT(
      {
        InstallSignalHandlers();
        OrvoSignals::Get().send_json_event.Connect([](const auto&) { ::raise(SIGSEGV); });
        ::raise(SIGFPE);
      },
      testing::ExitedWithCode(SIGFPE), "");
}

TEST_F(SignalHandlerDeathTest, FatalSignalAfterAnInterruptStillLeaves) {
  EXPECT_EXIT(LeaveAfterTermination([] {
                OrvoSignals::Get().terminate.Connect([](int) { ::raise(SIGSEGV); });
                ::kill(::getpid(), SIGINT);
              }),
              testing::ExitedWithCode(SIGSEGV), "Received signal: 11");
}

}  // namespace
}  // namespace orvo
