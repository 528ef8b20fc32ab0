// nRF52 POWER and CLOCK in one section. Source: nRF52832 Product Specification, CLOCK and POWER.
// A clock start takes no virtual time: status and event follow the task at once. The oscillators
// have no accuracy, and power modes change nothing.
// Not modelled: power-fail warning, RAM retention, system off, and USB supply detection.
#pragma once

#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/registers/nrf52_power_clock.h"
#include "time/tick_listener.h"

namespace orvo {

class PowerClockHandler : public Nrf52Handler<Nrf52POWER_CLOCK>, public TickListener {
 public:
  using Nrf52Handler::Nrf52Handler;

  // HFCLKSTAT and LFCLKSTAT: bit 16 while the clock runs. The RTC counts by the second.
  unsigned get_hf_status() { return MemorySection::get(HFCLKSTAT); }
  unsigned get_lf_status() { return MemorySection::get(LFCLKSTAT); }

  void set_TASKS_HFCLKSTART(unsigned offset, unsigned value) override;
  void set_TASKS_HFCLKSTOP(unsigned offset, unsigned value) override;
  void set_TASKS_LFCLKSTART(unsigned offset, unsigned value) override;
  void set_TASKS_LFCLKSTOP(unsigned offset, unsigned value) override;
  void set_TASKS_CAL(unsigned offset, unsigned value) override;
  void set_TASKS_CTSTART(unsigned offset, unsigned value) override;
  void set_TASKS_CTSTOP(unsigned offset, unsigned value) override;
  void set_TASKS_LOWPWR(unsigned offset, unsigned value) override;
  void set_INTENSET(unsigned offset, unsigned value) override;

  // End of the calibration timer's interval.
  unsigned long OnTick(unsigned long tick) override;
  void Reset(ResetType type) override;

 private:
  bool calibration_timer_running_ = false;
};

}  // namespace orvo
