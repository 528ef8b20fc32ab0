// nRF52 TIMER. Source: nRF52832 Product Specification, TIMER - Timer/counter.
// The clock calls once per count. Rates are those of a 16 MHz source, in whole ticks of the main
// clock; a timer never counts faster than that clock.
#pragma once

#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/registers/nrf52_timer.h"
#include "time/tick_listener.h"

namespace orvo {

class TimerHandler : public Nrf52Handler<Nrf52TIMER>, public TickListener {
 public:
  using Nrf52Handler::Nrf52Handler;

  void set_TASKS_START(unsigned offset, unsigned value) override;
  void set_TASKS_STOP(unsigned offset, unsigned value) override;
  void set_TASKS_COUNT(unsigned offset, unsigned value) override;
  void set_TASKS_CLEAR(unsigned offset, unsigned value) override;
  void set_TASKS_SHUTDOWN(unsigned offset, unsigned value) override;
  void set_TASKS_CAPTURE(unsigned offset, unsigned channel, unsigned value) override;
  void set_INTENSET(unsigned offset, unsigned value) override;

  // One count.
  unsigned long OnTick(unsigned long tick) override;
  void Reset(ResetType type) override;

 private:
  static constexpr unsigned kChannels = 6;

  unsigned long TicksPerCount();
  void Count();
  void compareAndSetEvents();

  bool running_ = false;
  bool tick_armed_ = false;  // attached to the clock
  unsigned counter_ = 0;
  unsigned long last_tick_ = 0;  // of the last count, or of the start
  // 0 while the timer doesn't count by itself: before its first start, as a counter, and with a
  // prescaler that leaves no rate.
  unsigned long ticks_per_count_ = 0;
};

}  // namespace orvo
