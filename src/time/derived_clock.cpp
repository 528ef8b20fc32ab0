#include "time/derived_clock.h"

#include <algorithm>

#include "runner/errors.h"
#include "time/virtual_time.h"

namespace orvo {

DerivedClock::DerivedClock(Clock* source, unsigned long division_factor_or_frequency, bool enabled,
                           const std::string& name, bool fixed_frequency)
    : Clock(name), source_(source), fixed_frequency_(fixed_frequency) {
  enabled_ = enabled;
  if (source_ != nullptr) last_source_tick_ = source_->TickCount();
  InitDivisionFactorOrFrequency(division_factor_or_frequency);
}

void DerivedClock::InitDivisionFactorOrFrequency(unsigned long value) {
  RequireDivisionFactor(value);
  const std::lock_guard lock(lock_);
  if (fixed_frequency_) {
    frequency_hz_.store(value, std::memory_order_relaxed);
  } else {
    division_factor_ = value;
  }
}

// Without the lock: the error tells the control connection, whose listeners may attach.
void DerivedClock::RequireDivisionFactor(unsigned long value) const {
  if (!fixed_frequency_ && value == 0) throw OrvoError("Division factor 0 for clock " + name_);
}

void DerivedClock::BringUpToDate() {
  if (fixed_frequency_ || !enabled_ || source_ == nullptr) return;
  const unsigned long source_tick = source_->TickCount();
  const unsigned long elapsed = source_tick - last_source_tick_;
  tick_count_.store(ticks() + elapsed / division_factor_, std::memory_order_relaxed);
  last_source_tick_ = source_tick - elapsed % division_factor_;
}

void DerivedClock::UpdateTick() {
  const std::lock_guard lock(lock_);
  BringUpToDate();
}

unsigned long DerivedClock::TickCount() {
  UpdateTick();
  return ticks();
}

unsigned long DerivedClock::GetFrequency() {
  if (fixed_frequency_) return frequency_hz_.load(std::memory_order_relaxed);
  const std::lock_guard lock(lock_);
  return source_ == nullptr ? 0 : source_->GetFrequency() / division_factor_;
}

unsigned long DerivedClock::NextSourceTick() {
  BringUpToDate();
  const unsigned long next_tick = next_listener_tick();
  if (!enabled_ || next_tick == kNever) return 0;
  const unsigned long distance = next_tick - std::min(next_tick, ticks());
  if (distance > (kNever - last_source_tick_) / division_factor_) return kNever;
  // A listener of tick 0 is called at the first source tick: 0 would say that none waits.
  return std::max(last_source_tick_ + distance * division_factor_, 1ul);
}

unsigned long DerivedClock::CalculateNextSourceTick() {
  const std::lock_guard lock(lock_);
  return NextSourceTick();
}

void DerivedClock::AttachSelfToTime(unsigned long nanoseconds) {
  source_->AttachToTime(nanoseconds, this);
}

void DerivedClock::AttachToSourceClockIfNeeded() {
  if (source_ == nullptr || !enabled_ || attached_) return;
  if (fixed_frequency_) {
    const unsigned long frequency_hz = frequency_hz_.load(std::memory_order_relaxed);
    if (frequency_hz == 0) return;
    const unsigned long source_hz = source_->GetFrequency();
    const unsigned long period_ns = 1'000'000'000 / frequency_hz;
    // A period that truncates to no source tick would call for ever at one tick of the source.
    if (frequency_hz < source_hz && TicksFromNanoseconds(period_ns, source_hz) > 0) {
      AttachSelfToTime(period_ns);
    } else {
      source_->AttachToTick(source_->TickCount() + 1, this, false);
    }
  } else {
    const unsigned long source_tick = NextSourceTick();
    if (source_tick == 0) return;
    source_->AttachToTick(source_tick, this, false);
    attached_source_tick_ = source_tick;
  }
  attached_ = true;
}

// A fixed clock goes on counting without listeners.
void DerivedClock::DetachFromSourceClockIfNeeded() {
  if (!attached_ || fixed_frequency_ || next_listener_tick() != kNever) return;
  source_->DetachFromTick(this);
  attached_ = false;
}

void DerivedClock::AttachAnew() {
  if (source_ != nullptr) source_->DetachFromTick(this);
  attached_ = false;
  AttachToSourceClockIfNeeded();
}

void DerivedClock::AttachToTick(unsigned long tick, TickListener* listener, bool by_time) {
  Clock::AttachToTick(tick, listener, by_time);
  const std::lock_guard lock(lock_);
  if (!attached_) {
    AttachToSourceClockIfNeeded();
  } else if (!fixed_frequency_ && NextSourceTick() < attached_source_tick_) {
    AttachAnew();  // nearer than the listeners for which the clock attached
  }
}

void DerivedClock::DetachFromTick(TickListener* listener) {
  Clock::DetachFromTick(listener);
  const std::lock_guard lock(lock_);
  DetachFromSourceClockIfNeeded();
}

void DerivedClock::SetFrequency(unsigned long frequency_hz) {
  if (!fixed_frequency_) {
    throw OrvoError("Cannot set frequency of a clock which not have a fixed frequency");
  }
  Clock::SetFrequency(frequency_hz);
  const std::lock_guard lock(lock_);
  AttachAnew();
}

void DerivedClock::UpdateInput(unsigned long frequency_hz, unsigned short) {
  if (fixed_frequency_) SetFrequency(frequency_hz);
}

void DerivedClock::SetDivisionFactor(unsigned long division_factor) {
  if (fixed_frequency_) return SetFrequency(division_factor);
  RequireDivisionFactor(division_factor);
  const std::lock_guard lock(lock_);
  BringUpToDate();
  // Whole ticks of the new length in what has passed of the old tick would count at once.
  if (source_ != nullptr) {
    const unsigned long source_tick = source_->TickCount();
    last_source_tick_ = source_tick - (source_tick - last_source_tick_) % division_factor;
  }
  // Frequencies are as the inverse of the factors.
  UpdateAttachToTimeListeners(division_factor_, division_factor);
  division_factor_ = division_factor;
  if (attached_) AttachAnew();
}

// Returns 0 always: the clock attaches itself anew, so that a thread that attaches a listener
// meanwhile finds the clock attached to its source or not, and nothing between.
unsigned long DerivedClock::OnTick(unsigned long) {
  UpdateTick();
  HandleTickListeners();
  const std::lock_guard lock(lock_);
  AttachAnew();
  // Deliberate: listeners of a fixed clock are called before the period that ends is counted.
  if (fixed_frequency_) tick_count_.store(ticks() + 1, std::memory_order_relaxed);
  return 0;
}

void DerivedClock::Enable() {
  const std::lock_guard lock(lock_);
  if (enabled_) return;
  enabled_ = true;
  if (source_ != nullptr) last_source_tick_ = source_->TickCount();
  AttachToSourceClockIfNeeded();
}

void DerivedClock::Disable() {
  const std::lock_guard lock(lock_);
  BringUpToDate();
  if (attached_) source_->DetachFromTick(this);
  attached_ = false;
  enabled_ = false;
}

bool DerivedClock::IsEnabled() const {
  const std::lock_guard lock(lock_);
  return enabled_;
}

}  // namespace orvo
