// nRF52 RTC. Source: nRF52832 Product Specification, RTC - Real-time counter.
// The clock calls once per count, at 32768 Hz over the prescaler in whole ticks of the main clock.
// Not modelled: TASKS_TRIGOVRFLW, which ends the run.
#pragma once

#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/registers/nrf52_rtc.h"
#include "time/tick_listener.h"

namespace orvo {

class PowerClockHandler;

class RTCHandler : public Nrf52Handler<Nrf52RTC>, public TickListener {
 public:
  using Nrf52Handler::Nrf52Handler;

  void set_TASKS_START(unsigned offset, unsigned value) override;
  void set_TASKS_STOP(unsigned offset, unsigned value) override;
  void set_TASKS_CLEAR(unsigned offset, unsigned value) override;
  void set_INTENSET(unsigned offset, unsigned value) override;
  void set_EVTEN(unsigned offset, unsigned value) override;
  void set_EVTENSET(unsigned offset, unsigned value) override;
  void set_EVTENCLR(unsigned offset, unsigned value) override;
  void set_PRESCALER(unsigned offset, unsigned value) override;
  void set_CC(unsigned offset, unsigned channel, unsigned value) override;

  // One count, if the low-frequency clock runs.
  unsigned long OnTick(unsigned long tick) override;
  void Reset(ResetType type) override;

 private:
  void setEventen(unsigned value);
  void setInterruptsAndEvents();
  // The event happens if it is enabled; returns whether its interrupt is.
  bool HandleEvent(unsigned evten, unsigned evten_bit, unsigned intenset, unsigned intenset_bit,
                   unsigned event_offset);

  bool running_ = false;
  bool tick_unarmed_ = true;  // not attached to the clock
  unsigned long ticks_per_count_ = 0;
  PowerClockHandler* power_clock_ = nullptr;  // looked up at the first count
};

}  // namespace orvo
