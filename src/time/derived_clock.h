// A clock that runs on another clock, in one of two modes.
// Division mode: counts one tick per `division factor` ticks of its source. The count is worked out
// when somebody asks, and the source wakes the clock only for its own listeners.
// Fixed-frequency mode: keeps its frequency whatever the source does, and counts the calls for
// which it attaches itself to the source, one per period.
#pragma once

#include <mutex>
#include <string>

#include "time/clock.h"
#include "time/frequency.h"

namespace orvo {

class DerivedClock : public Clock, public FrequencyListener, public TickListener {
 public:
  // `division_factor_or_frequency`: hertz in fixed-frequency mode, otherwise source ticks per tick.
  // Throws OrvoError for a division factor of 0. The source must outlive the clock's use.
  DerivedClock(Clock* source, unsigned long division_factor_or_frequency, bool enabled,
               const std::string& name, bool fixed_frequency);

  unsigned long TickCount() override;
  void AttachToTick(unsigned long tick, TickListener* listener, bool by_time) override;
  void DetachFromTick(TickListener* listener) override;
  unsigned long GetFrequency() override;
  // Throws OrvoError in division mode.
  void SetFrequency(unsigned long frequency_hz) override;
  // Ignored in division mode, where the source alone gives the frequency.
  void UpdateInput(unsigned long frequency_hz, unsigned short input_number) override;
  unsigned long OnTick(unsigned long source_tick) override;

  // While disabled the count stands still: source ticks that pass meanwhile are lost.
  void Enable();
  void Disable();
  bool IsEnabled() const;
  // Keeps the part of a tick that has passed, less whole ticks of the new length. Throws OrvoError
  // for 0.
  void SetDivisionFactor(unsigned long division_factor);
  void InitDivisionFactorOrFrequency(unsigned long value);
  // Brings the count up to date.
  void UpdateTick();
  // The source tick of the next listener; 0 when disabled or when none waits.
  unsigned long CalculateNextSourceTick();

 private:
  void RequireDivisionFactor(unsigned long value) const;
  // All of these with the lock held.
  void BringUpToDate();
  unsigned long NextSourceTick();
  void AttachToSourceClockIfNeeded();
  void DetachFromSourceClockIfNeeded();
  void AttachAnew();
  void AttachSelfToTime(unsigned long nanoseconds);

  Clock* source_;
  unsigned long last_source_tick_ = 0;  // of the last update, less the remainder
  unsigned long division_factor_ = 1;
  bool fixed_frequency_;
  bool attached_ = false;
  unsigned long attached_source_tick_ = 0;  // in division mode
  // Guards the members above, since listeners attach from any thread. Taken before the locks of
  // the source, never across a callback.
  mutable std::mutex lock_;
};

}  // namespace orvo
