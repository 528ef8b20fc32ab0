// The two clocks of the nRF52. nRF52832 Product Specification, CLOCK.
#pragma once

#include "drivers/registers.h"

static inline void clock_start_high_frequency(void) {
  CLOCK_EVENTS_HFCLKSTARTED = 0;
  CLOCK_TASKS_HFCLKSTART = 1;
  while (CLOCK_EVENTS_HFCLKSTARTED == 0) {
  }
}

enum { kLowFrequencyRc = 0, kLowFrequencyCrystal = 1 };

static inline void clock_start_low_frequency(uint32_t source) {
  CLOCK_LFCLKSRC = source;
  CLOCK_EVENTS_LFCLKSTARTED = 0;
  CLOCK_TASKS_LFCLKSTART = 1;
  while (CLOCK_EVENTS_LFCLKSTARTED == 0) {
  }
}
