// How fatal signals end a process; SIGINT, SIGTERM and SIGPIPE: tests/system/signals_test.cpp and
// outputs_test.cpp. Each statement runs in a process of its own: handlers last.
#include "runner/signal_handler.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "runner/orvo_signals.h"

namespace orvo {
namespace {

struct SignalHandlerDeathTest : testing::Test {
  SignalHandlerDeathTest() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }
};

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
  EXPECT_EXIT(
      {
        InstallSignalHandlers();
        OrvoSignals::Get().terminate.Connect([](int) { ::raise(SIGSEGV); });
        const SignalWatcher watcher;
        ::kill(::getpid(), SIGINT);
        std::this_thread::sleep_for(std::chrono::seconds(5));
      },
      testing::ExitedWithCode(SIGSEGV), "Received signal: 11");
}

}  // namespace
}  // namespace orvo
