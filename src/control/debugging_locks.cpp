#include "control/debugging_locks.h"

#include "mcu/mcu.h"

namespace orvo {

DebuggingLocks::DebuggingLocks(Mcu* mcu) : mcu_(mcu) { mcu_->SetDebugger(this); }

DebuggingLocks::~DebuggingLocks() {
  mcu_->SetDebugger(nullptr);
  mcu_->clock().DetachFromTick(this);
}

// --- Stopping and going on -----------------------------------------------------------------------

void DebuggingLocks::PauseMcu() {
  mcu_->PausedMcyByDebugger();
  const std::lock_guard lock(mutex_);
  paused_ = true;
  changed_.notify_all();
}

void DebuggingLocks::PauseMcuForBreakpoint() { PauseMcu(); }

void DebuggingLocks::DemandPause() {
  {
    const std::lock_guard lock(mutex_);
    ++demands_;
  }
  PauseMcu();
}

void DebuggingLocks::ResumeAllowed() {
  const std::lock_guard lock(mutex_);
  --demands_;
}

bool DebuggingLocks::ResumeMcu() {
  mcu_->clock().DetachFromTick(this);  // left by a step that another stop has overtaken
  return GoOn();
}

bool DebuggingLocks::ResumeMcuOneStep() {
  SourceClock& clock = mcu_->clock();
  clock.DetachFromTick(this);
  clock.AttachToTick(clock.ticks() + 1, this, false);
  return GoOn();
}

bool DebuggingLocks::GoOn() {
  // First the flags, then the firmware: it may come to its next stop before this thread goes on.
  {
    const std::lock_guard lock(mutex_);
    paused_ = false;
    standing_ = false;  // the run loop says so again, should it stay
  }
  mcu_->ResumeMcuByDebugger();
  // A demand from before these two lines would be lost; a later one stops the firmware by itself.
  bool demanded = false;
  {
    const std::lock_guard lock(mutex_);
    demanded = demands_ > 0;
  }
  if (demanded) PauseMcu();
  return DebuggerWait();
}

bool DebuggingLocks::DebuggerWait() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return (paused_ && standing_) || stopped_; });
  return !stopped_;
}

void DebuggingLocks::Stop() {
  const std::lock_guard lock(mutex_);
  stopped_ = true;
  paused_ = true;
  changed_.notify_all();
}

// A sleep counts as one instruction: GDB would otherwise ask for each of its ticks.
unsigned long DebuggingLocks::OnTick(unsigned long tick) {
  if (mcu_->IsAsleep()) return tick + 1;
  PauseMcu();
  return 0;
}

// --- The chip while it stands --------------------------------------------------------------------

void DebuggingLocks::BeginStanding() {
  const std::lock_guard lock(mutex_);
  standing_ = true;
  changed_.notify_all();
}

void DebuggingLocks::EndStanding() {
  std::unique_lock lock(mutex_);
  standing_ = false;
  changed_.wait(lock, [this] { return !accessed_; });
}

bool DebuggingLocks::Enter() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return standing_ || stopped_; });
  if (stopped_) return false;
  accessed_ = true;
  return true;
}

void DebuggingLocks::Leave() {
  const std::lock_guard lock(mutex_);
  accessed_ = false;
  changed_.notify_all();
}

// --- Breakpoints ---------------------------------------------------------------------------------

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
