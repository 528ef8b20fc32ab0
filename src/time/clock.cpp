// The scheduler of virtual time. Listeners come from any thread, hence the lock; it is never held
// while one of them is called.
#include "time/clock.h"

#include <algorithm>
#include <iterator>

#include "runner/errors.h"
#include "time/virtual_time.h"

namespace orvo {

namespace {

// Not with the lock held: the error tells the control connection, whose listeners may attach.
[[noreturn]] void ThrowAttachedTwice() {
  throw OrvoError("Can't call AttachToTick twice from same object");
}

}  // namespace

// Behind those that wait for the same tick already.
inline void Clock::Insert(unsigned long tick, TickListener* listener, bool by_time) {
  waiting_.push_back({tick, listener, by_time});
  for (auto place = waiting_.end() - 1; place != waiting_.begin() && std::prev(place)->tick <= tick;
       --place) {
    std::iter_swap(place, std::prev(place));
  }
}

// A walk: few wait at a time.
inline bool Clock::IsWaiting(const TickListener* listener) const {
  for (const Waiting& waiting : waiting_) {
    if (waiting.listener == listener) return true;
  }
  return false;
}

inline void Clock::UpdateNextListenerTick() {
  const unsigned long earliest = waiting_.empty() ? kNever : waiting_.back().tick;
  next_listener_tick_.store(reports_every_step_ ? 0 : earliest, std::memory_order_relaxed);
}

void Clock::AttachToTick(unsigned long tick, TickListener* listener, bool by_time) {
  {
    const std::lock_guard lock(listener_lock_);
    if (!IsWaiting(listener)) {
      Insert(tick, listener, by_time);
      UpdateNextListenerTick();
      return;
    }
  }
  ThrowAttachedTwice();
}

void Clock::DetachFromTick(TickListener* listener) {
  const std::lock_guard lock(listener_lock_);
  std::erase_if(waiting_, [listener](const Waiting& w) { return w.listener == listener; });
  UpdateNextListenerTick();
}

void Clock::ReportEveryStep() {
  const std::lock_guard lock(listener_lock_);
  reports_every_step_ = true;
  UpdateNextListenerTick();
}

void Clock::AttachToTime(unsigned long nanoseconds, TickListener* listener) {
  const unsigned long delay_ticks = TicksFromNanoseconds(nanoseconds, GetFrequency());
  const unsigned long now = TickCount();
  AttachToTick(now + std::min(delay_ticks, kNever - now), listener, true);
}

void Clock::Tickrement(int ticks) {
  for (; ticks > 0; --ticks) {
    AdvanceOneTick();
  }
}

// One turn of the lock gives back the listener that was called and takes the next. AttachToTick
// would do no more: a derived clock, which overrides it, attaches to its source afterwards anyway.
void Clock::HandleSelfTickListeners() {
  TickListener* listener = nullptr;
  unsigned long again_tick = 0;
  for (;;) {
    {
      const std::lock_guard lock(listener_lock_);
      if (again_tick != 0) {
        if (IsWaiting(listener)) break;
        // By tick, even if the first attachment was by time.
        Insert(again_tick, listener, false);
      }
      listener = nullptr;
      if (!waiting_.empty() && waiting_.back().tick <= ticks()) {
        listener = waiting_.back().listener;
        waiting_.pop_back();
      }
      // Already here, so that a callback that runs the clock itself finds a true mark.
      UpdateNextListenerTick();
    }
    if (listener == nullptr) return;
    again_tick = listener->OnTick(ticks());
  }
  ThrowAttachedTwice();
}

void Clock::HandleTickListeners() {
  HandleSelfTickListeners();
  if (service_.next_due_tick() <= ticks()) service_.HandleTickListeners(ticks());
}

void Clock::CalcNextTick() {
  {
    const std::lock_guard lock(listener_lock_);
    UpdateNextListenerTick();
  }
  service_.CalcNextTick();
}

void Clock::SetFrequency(unsigned long frequency_hz) {
  const unsigned long old_hz = GetFrequency();
  const std::lock_guard lock(listener_lock_);
  if (frequency_hz != old_hz) Rescale(frequency_hz, old_hz);
  frequency_hz_.store(frequency_hz, std::memory_order_relaxed);
}

void Clock::UpdateAttachToTimeListeners(unsigned long new_hz, unsigned long old_hz) {
  const std::lock_guard lock(listener_lock_);
  Rescale(new_hz, old_hz);
}

void Clock::Rescale(unsigned long new_hz, unsigned long old_hz) {
  if (old_hz == 0) return;  // no time has a length in ticks yet
  const unsigned long now = ticks();
  // In order of call, and the new distances ascend too: among equal ticks the order stays.
  std::vector<Waiting> moved;
  for (auto waiting = waiting_.rbegin(); waiting != waiting_.rend(); ++waiting) {
    if (waiting->by_time) moved.push_back(*waiting);
  }
  std::erase_if(waiting_, [](const Waiting& waiting) { return waiting.by_time; });
  for (const Waiting& waiting : moved) {
    const unsigned long remaining = waiting.tick - std::min(waiting.tick, now);
    const double rescaled =
        static_cast<double>(remaining) / static_cast<double>(old_hz) * static_cast<double>(new_hz);
    const unsigned long tick = now + std::min(TruncateToTicks(rescaled), kNever - now);
    Insert(tick, waiting.listener, true);
  }
  UpdateNextListenerTick();
}

}  // namespace orvo
