// Virtual time: a tick count, and the listeners that wait for a tick of it.
// An idle clock costs two comparisons per tick: the count against the earliest listener and
// against the earliest service function.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "time/owner_lock.h"
#include "time/service_tick_function.h"
#include "time/tick_listener.h"

namespace orvo {

class Clock {
 public:
  static constexpr unsigned long kNever = ~0ul;

  explicit Clock(std::string name) : service_(&tick_count_), name_(std::move(name)) {}
  Clock(const Clock&) = delete;
  Clock& operator=(const Clock&) = delete;
  virtual ~Clock() = default;

  // The current tick. A derived clock brings its count up to date first.
  virtual unsigned long TickCount() { return ticks(); }
  // Schedules at an absolute tick; a tick that has passed fires at the next step. Among equal
  // ticks the first attached fires first. Throws OrvoError if the listener waits already.
  // Any thread.
  virtual void AttachToTick(unsigned long tick, TickListener* listener, bool by_time);
  // Silent if the listener isn't attached. Any thread.
  virtual void DetachFromTick(TickListener* listener);
  virtual unsigned long GetFrequency() = 0;  // hertz
  // By-time listeners keep their distance in time, the others their tick.
  virtual void SetFrequency(unsigned long frequency_hz);

  // Schedules after a delay in virtual time that survives changes of the frequency. Any thread.
  void AttachToTime(unsigned long nanoseconds, TickListener* listener);
  // Advances by `ticks` steps and calls what becomes due at each; nothing below 1.
  void Tickrement(int ticks);
  // One step of the run loop: listeners, then service functions. Returns whether something was
  // due; while nothing is, there is no call at all.
  bool AdvanceOneTick() {
    const unsigned long tick = ticks() + 1;
    tick_count_.store(tick, std::memory_order_relaxed);
    const bool due = tick >= next_listener_tick_.load(std::memory_order_relaxed) ||
                     tick >= service_.next_due_tick();
    if (due) [[unlikely]]
      HandleTickListeners();
    return due;
  }
  // The step, unless something is due at it; then nothing happens.
  [[gnu::always_inline]] bool TakeQuietStep() {
    const unsigned long tick = ticks() + 1;
    if (tick >= next_listener_tick_.load(std::memory_order_relaxed) ||
        tick >= service_.next_due_tick())
      return false;
    tick_count_.store(tick, std::memory_order_relaxed);
    return true;
  }
  // From now on each step returns true, so that the run loop looks whether it has to stop without
  // a test of its own. Any thread.
  void ReportEveryStep();
  // Calls every due listener, those that become due meanwhile included.
  void HandleSelfTickListeners();
  // Listeners, then service functions.
  void HandleTickListeners();
  void CalcNextTick();

  unsigned long ticks() const { return tick_count_.load(std::memory_order_relaxed); }
  ServiceTickFunction& service() { return service_; }
  const std::string& name() const { return name_; }

 protected:
  unsigned long next_listener_tick() const {
    return next_listener_tick_.load(std::memory_order_relaxed);
  }
  // Moves the listeners that were attached by time to the same distance in time. Only the ratio of
  // the two frequencies counts. The tick count must be up to date.
  void UpdateAttachToTimeListeners(unsigned long new_hz, unsigned long old_hz);

  std::atomic<unsigned long> next_listener_tick_{kNever};
  std::atomic<unsigned long> tick_count_{0};
  ServiceTickFunction service_;
  std::string name_;
  std::atomic<unsigned long> frequency_hz_{0};
  bool enabled_ = true;

 private:
  struct Waiting {
    unsigned long tick;
    TickListener* listener;
    bool by_time;
  };

  // All of these with the lock held.
  void UpdateNextListenerTick();
  void Rescale(unsigned long new_hz, unsigned long old_hz);
  bool IsWaiting(const TickListener* listener) const;
  void Insert(unsigned long tick, TickListener* listener, bool by_time);

  // The next to be called is the last: a clock in steady use moves little and allocates nothing.
  std::vector<Waiting> waiting_;
  bool reports_every_step_ = false;
  OwnerLock listener_lock_;
};

// The clock that the instruction loop advances.
class SourceClock : public Clock {
 public:
  using Clock::Clock;
  unsigned long GetFrequency() override { return frequency_hz_.load(std::memory_order_relaxed); }
};

}  // namespace orvo
