#include "control/debugging_locks.h"

#include "mcu/mcu.h"

namespace orvo {

void DebuggingLocks::PauseMcu() {
  mcu_->PausedMcyByDebugger();
  SetPaused(true);
}

void DebuggingLocks::PauseMcuForBreakpoint() { PauseMcu(); }

void DebuggingLocks::ResumeMcu() {
  // First the flag, then the firmware: it may come to its next stop before this thread goes on.
  SetPaused(false);
  mcu_->ResumeMcuByDebugger();
  DebuggerWait();
}

void DebuggingLocks::ResumeMcuOneStep() {
  SourceClock& clock = mcu_->clock();
  clock.DetachFromTick(this);  // left by a step that another stop has overtaken
  clock.AttachToTick(clock.ticks() + 1, this, false);
  ResumeMcu();
}

void DebuggingLocks::DebuggerWait() {
  std::unique_lock lock(mutex_);
  paused_changed_.wait(lock, [this] { return paused_ || stopped_; });
}

void DebuggingLocks::Stop() {
  stopped_ = true;
  SetPaused(true);
}

unsigned long DebuggingLocks::OnTick(unsigned long) {
  PauseMcu();
  return 0;
}

void DebuggingLocks::SetPaused(bool paused) {
  const std::lock_guard lock(mutex_);
  paused_ = paused;
  paused_changed_.notify_all();
}

void DebuggingLocks::AddBreakpoint(unsigned address) {
  const std::lock_guard lock(mutex_);
  breakpoints_[address] = true;
  maybe_ |= Bit(address);
}

void DebuggingLocks::RemoveBreakpoint(unsigned address) {
  const std::lock_guard lock(mutex_);
  const auto found = breakpoints_.find(address);
  if (found == breakpoints_.end()) return;
  found->second = false;
  unsigned long maybe = 0;
  for (const auto& [place, set] : breakpoints_) {
    if (set) maybe |= Bit(place);
  }
  maybe_ = maybe;
}

bool DebuggingLocks::IsBreakpoint(unsigned pc) {
  const std::lock_guard lock(mutex_);
  const auto found = breakpoints_.find(pc);
  return found != breakpoints_.end() && found->second;
}

}  // namespace orvo
