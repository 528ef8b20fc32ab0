// nRF52 TEMP. Source: nRF52832 Product Specification, TEMP - Temperature sensor.
// A measurement takes no time, and the temperature is a random number.
// Not modelled: the calibration registers, which are storage.
#pragma once

#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/random_source.h"
#include "peripherals/nrf52/registers/nrf52_temp.h"

namespace orvo {

class TEMPHandler : public Nrf52Handler<Nrf52TEMP> {
 public:
  using Nrf52Handler::Nrf52Handler;

  // Makes the values those of the seed, in every run. A reset doesn't start them anew.
  void Seed(unsigned seed) { random_.Seed(seed, start()); }

  void set_TASKS_START(unsigned offset, unsigned value) override;
  void set_TASKS_STOP(unsigned offset, unsigned value) override;
  void set_EVENTS_DATARDY(unsigned offset, unsigned value) override;
  void set_INTENSET(unsigned offset, unsigned value) override;
  // 0 to 255, another at each read.
  unsigned get_TEMP(unsigned offset) override;

 private:
  RandomSource random_;
};

}  // namespace orvo
