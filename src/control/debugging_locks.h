// The handshake between a debugger and the run loop: breakpoints, and who waits for whom. The
// loop stands inside Mcu::Pause() while it is stopped; the debugger's worker thread stands in
// ResumeMcu() while the firmware runs.
#pragma once

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>

#include "time/tick_listener.h"

namespace orvo {

class Mcu;

class DebuggingLocks : public TickListener {
 public:
  explicit DebuggingLocks(Mcu* mcu) : mcu_(mcu) {}

  // Any thread. The firmware stops at the next tick of the main clock.
  void PauseMcu();
  // Run loop, which enters the pause by calling the main clock's listeners next.
  void PauseMcuForBreakpoint();
  // Both let the firmware go on, to the next stop or by one tick, and return when it has stopped.
  // A thread of the debugger, never the run loop.
  void ResumeMcu();
  void ResumeMcuOneStep();
  // Returns when the firmware stands. Any thread but the run loop.
  void DebuggerWait();
  // Releases all that wait, now and later: the run is over. Any thread.
  void Stop();
  // The end of a single step.
  unsigned long OnTick(unsigned long tick) override;

  // Run loop, before each instruction.
  bool CheckBreakpoints(unsigned pc) {
    return (maybe_.load(std::memory_order_relaxed) & Bit(pc)) != 0 && IsBreakpoint(pc);
  }
  // Any thread.
  void AddBreakpoint(unsigned address);
  void RemoveBreakpoint(unsigned address);

 private:
  // Breakpoints are few: one bit for all addresses that fall on it spares the loop the lock.
  static unsigned long Bit(unsigned address) { return 1ul << (address >> 1 & 63); }
  bool IsBreakpoint(unsigned pc);
  void SetPaused(bool paused);

  std::mutex mutex_;
  std::condition_variable paused_changed_;
  std::map<unsigned, bool> breakpoints_;  // false: removed
  std::atomic<unsigned long> maybe_{0};
  Mcu* mcu_;
  std::atomic<bool> paused_{false};
  std::atomic<bool> stopped_{false};
};

}  // namespace orvo
