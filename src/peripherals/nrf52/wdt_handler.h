// nRF52 WDT. Source: nRF52832 Product Specification, WDT - Watchdog timer.
// Not modelled: pausing, in sleep and by a debugger. The real chip's watchdog outlives a reset;
// this one is reset with the others.
#pragma once

#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/registers/nrf52_wdt.h"
#include "time/tick_listener.h"

namespace orvo {

class WDTHandler : public Nrf52Handler<Nrf52WDT>, public TickListener {
 public:
  using Nrf52Handler::Nrf52Handler;

  void set_TASKS_START(unsigned offset, unsigned value) override;
  void set_INTENSET(unsigned offset, unsigned value) override;
  void set_CRV(unsigned offset, unsigned value) override;
  void set_RREN(unsigned offset, unsigned value) override;
  // Throws OrvoError for a watchdog that would pause while the core sleeps.
  void set_CONFIG(unsigned offset, unsigned value) override;
  void set_RR(unsigned offset, unsigned channel, unsigned value) override;

  // The period is over, or the time that the interrupt's handler had.
  unsigned long OnTick(unsigned long tick) override;
  void Reset(ResetType type) override;

 private:
  void AddToTick();

  bool running_ = false;
  bool timeout_interrupt_sent_ = false;
};

}  // namespace orvo
