// The handshake between a debugger and the run loop: breakpoints, who waits for whom, and who may
// touch the chip. The loop stands inside Mcu::Pause() while it is stopped; the debugger's worker
// thread stands in ResumeMcu() while the firmware runs.
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
  // The chip knows of its debugger from here on; it has to outlive it.
  explicit DebuggingLocks(Mcu* mcu);
  DebuggingLocks(const DebuggingLocks&) = delete;
  DebuggingLocks& operator=(const DebuggingLocks&) = delete;
  ~DebuggingLocks() override;

  // Any thread. The firmware stops at the next tick of the main clock.
  void PauseMcu();
  // Run loop, which enters the pause by calling the main clock's listeners next.
  void PauseMcuForBreakpoint();
  // Any thread. Like PauseMcu(), and until ResumeAllowed() every resume ends at once: the client's
  // wish for a stop may overtake its earlier wish to go on, which still waits to be handled.
  void DemandPause();
  void ResumeAllowed();
  // Both let the firmware go on, to the next stop or by one tick, or by a whole sleep of the core,
  // and return when it has stopped.
  // A thread of the debugger, never the run loop. False when the run is over instead.
  bool ResumeMcu();
  bool ResumeMcuOneStep();
  // Returns when the firmware stands. Any thread but the run loop. False when the run is over.
  bool DebuggerWait();
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

  // Run loop, around a wait in a pause. In between the debugger may touch the chip; the second
  // waits until it doesn't any more.
  void BeginStanding();
  void EndStanding();

  // A thread of the debugger: waits until the firmware stands, and keeps the run loop off the chip
  // for as long as this object lives. False when the run is over: the chip isn't to be touched
  // then.
  class ChipAccess {
   public:
    explicit ChipAccess(DebuggingLocks& locks) : locks_(locks), granted_(locks.Enter()) {}
    ChipAccess(const ChipAccess&) = delete;
    ChipAccess& operator=(const ChipAccess&) = delete;
    ~ChipAccess() {
      if (granted_) locks_.Leave();
    }
    explicit operator bool() const { return granted_; }

   private:
    DebuggingLocks& locks_;
    const bool granted_;
  };

 private:
  // Breakpoints are few: one bit for all addresses that fall on it spares the loop the lock.
  static unsigned long Bit(unsigned address) { return 1ul << (address >> 1 & 63); }
  bool IsBreakpoint(unsigned pc);
  bool GoOn();
  bool Enter();
  void Leave();

  // Guards all but maybe_; never held while the chip is called.
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<unsigned, bool> breakpoints_;  // false: removed
  std::atomic<unsigned long> maybe_{0};
  Mcu* mcu_;
  std::atomic<bool> paused_{false};  // a stop was asked for
  bool standing_ = false;            // the run loop waits in a pause
  bool accessed_ = false;            // by the debugger's thread
  bool stopped_ = false;
  int demands_ = 0;  // DemandPause() without its ResumeAllowed()
};

}  // namespace orvo
