// nRF52 RNG. Source: nRF52832 Product Specification, RNG - Random number generator.
// A byte every 12800 ticks, whatever the clock's frequency.
// Not modelled: bias correction, which would change the pace.
#pragma once

#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/random_source.h"
#include "peripherals/nrf52/registers/nrf52_rng.h"
#include "time/tick_listener.h"

namespace orvo {

class RNGHandler : public Nrf52Handler<Nrf52RNG>, public TickListener {
 public:
  using Nrf52Handler::Nrf52Handler;

  // Makes the values those of the seed, in every run. A reset doesn't start them anew.
  void Seed(unsigned seed) { random_.Seed(seed, start()); }

  void set_TASKS_START(unsigned offset, unsigned value) override;
  void set_TASKS_STOP(unsigned offset, unsigned value) override;
  void set_INTENSET(unsigned offset, unsigned value) override;

  // The next value is ready.
  unsigned long OnTick(unsigned long tick) override;
  void Reset(ResetType type) override;

 private:
  RandomSource random_;
  bool running_ = false;
};

}  // namespace orvo
