// How signals end a run. SIGINT and SIGTERM end it in order: the handler only wakes a thread,
// which tells the termination channel, so that no listener runs inside a signal handler. Fatal
// signals report and leave at once, with the signal's number as exit status.
#pragma once

#include <thread>

namespace orvo {

// Installs SignalHandler for SIGTERM, SIGINT and the fatal signals; ignores SIGPIPE. Before any
// other thread starts: SIGTERM and SIGINT are left to the watcher's thread.
void InstallSignalHandlers();

// Of SIGINT and SIGTERM only the first counts.
void SignalHandler(int sig);

// The thread that the handler wakes. It emits 0 on OrvoSignals::terminate. One at a time.
class SignalWatcher {
 public:
  // InstallSignalHandlers() comes first.
  SignalWatcher();
  SignalWatcher(const SignalWatcher&) = delete;
  SignalWatcher& operator=(const SignalWatcher&) = delete;
  ~SignalWatcher() { Join(); }

  // Ends the thread: afterwards a signal has no effect, and no listener runs any more.
  void Join();

 private:
  static void Watch();
  static bool EndsWithin(int limit_s);

  std::thread thread_;
};

}  // namespace orvo
