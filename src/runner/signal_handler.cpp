#include "runner/signal_handler.h"

#include <semaphore.h>
#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <iostream>

#include "runner/args_manager.h"
#include "runner/backtrace.h"
#include "runner/errors.h"
#include "runner/logger.h"
#include "runner/orvo_signals.h"

namespace orvo {
namespace {

// Signals that end the run in order: SIGINT and SIGTERM, and 0, which no handler sees.
constexpr unsigned kTerminating = 0x8005;
static_assert(kTerminating == (1u << SIGTERM | 1u << SIGINT | 1u));

// A report that hangs, on a lock that the failing thread holds, is cut off after this time.
constexpr unsigned kReportLimit_s = 5;

constexpr int kBacktraceFrames = 100;
constexpr int kStandardError = 2;
// How long an orderly end may take after SIGINT or SIGTERM.
constexpr int kShutdownLimit_s = 5;

// The handlers' side. A handler may touch lock-free atomics and post a semaphore, nothing else.
struct Semaphore {
  Semaphore() { ::sem_init(&semaphore, 0, 0); }
  sem_t semaphore;
};
Semaphore wake_up;
std::atomic<bool> first_time_called{true};
std::atomic<int> terminating_signal{0};
std::atomic<int> fatal_signal{0};
std::atomic<pid_t> failing_thread{0};
static_assert(std::atomic<int>::is_always_lock_free);

std::atomic<bool> watcher_ends{false};

void LeaveWithFatalSignal(int) { ::_exit(fatal_signal); }

// Only the watcher takes SIGINT and SIGTERM; the system calls of other threads go undisturbed.
void MaskTermination(int how) {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGINT);
  ::sigaddset(&signals, SIGTERM);
  ::pthread_sigmask(how, &signals, nullptr);
}

void SetHandler(int sig, void (*handler)(int), int flags) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  ::sigaction(sig, &action, nullptr);
}

// Reports and leaves. The state of this process is in doubt here, hence the limit on the time and
// the way out without destructors, under which other threads would still run.
[[noreturn]] void ReportFatalSignal(int sig) {
  int none = 0;
  if (!fatal_signal.compare_exchange_strong(none, sig)) {
    if (failing_thread == ::gettid()) ::_exit(none);  // a fault in this very report
    for (;;) ::pause();                               // the other thread's report ends us
  }
  failing_thread = ::gettid();
  SetHandler(SIGALRM, LeaveWithFatalSignal, 0);
  ::alarm(kReportLimit_s);

  logger::debug("main") << "received signal " << sig;
  WriteBacktrace(kBacktraceFrames, kStandardError);
  logger::error("Main") << OrvoError("Received signal: " + std::to_string(sig)).what();
  std::cout.flush();
  ArgsManager::Get().trace_stream.flush();
  std::fflush(nullptr);
  ::_exit(sig);
}

}  // namespace

void SignalHandler(int sig) {
  if (sig >= 16 || (kTerminating >> sig & 1) == 0) ReportFatalSignal(sig);
  if (!first_time_called.exchange(false)) return;
  const int saved_errno = errno;
  terminating_signal = sig;
  ::sem_post(&wake_up.semaphore);
  errno = saved_errno;
}

void InstallSignalHandlers() {
  // A stack of its own lets the handler report the overflow of the main thread's.
  static unsigned char stack[256 * 1024];
  stack_t alternate = {};
  alternate.ss_sp = stack;
  alternate.ss_size = sizeof(stack);
  ::sigaltstack(&alternate, nullptr);

  MaskTermination(SIG_BLOCK);  // threads started from here on inherit this
  SetHandler(SIGTERM, SignalHandler, SA_RESTART);
  SetHandler(SIGINT, SignalHandler, SA_RESTART);
  // A fault inside the handler comes to the handler again instead of hanging or killing silently.
  for (const int sig : {SIGSEGV, SIGABRT, SIGFPE, SIGILL})
    SetHandler(sig, SignalHandler, SA_ONSTACK | SA_NODEFER);
  SetHandler(SIGPIPE, SIG_IGN, 0);
}

SignalWatcher::SignalWatcher() {
  watcher_ends = false;
  thread_ = std::thread(Watch);
}

void SignalWatcher::Join() {
  if (!thread_.joinable()) return;
  watcher_ends = true;
  ::sem_post(&wake_up.semaphore);
  thread_.join();
}

// Whether the main thread asks the watcher to end before the limit.
bool SignalWatcher::EndsWithin(int limit_s) {
  timespec deadline;
  ::clock_gettime(CLOCK_REALTIME, &deadline);
  deadline.tv_sec += limit_s;
  while (!watcher_ends) {
    if (::sem_timedwait(&wake_up.semaphore, &deadline) != 0 && errno == ETIMEDOUT) return false;
  }
  return true;
}

void SignalWatcher::Watch() {
  MaskTermination(SIG_UNBLOCK);
  for (;;) {
    while (::sem_wait(&wake_up.semaphore) != 0) {
    }
    if (const int sig = terminating_signal.exchange(0); sig != 0) {
      logger::debug("main") << "received signal " << sig;
      OrvoSignals::Get().terminate.emit(0);
      if (!EndsWithin(kShutdownLimit_s)) {
        // The run stands in a write to a pipe that nobody reads, or in an open of one.
        static constexpr char kGivenUp[] = "The run did not end in time; leaving without a report.\n";
        [[maybe_unused]] const ssize_t written =
            ::write(kStandardError, kGivenUp, sizeof(kGivenUp) - 1);
        ::_exit(0);
      }
      return;
    }
    if (watcher_ends) return;
  }
}

}  // namespace orvo
