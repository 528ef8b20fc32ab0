// SysTick on the core clock, 64 MHz. ARMv7-M ARM, B3.3.
#pragma once

#include "drivers/registers.h"

enum { kCoreHz = 64000000 };

// Calls systick_handler every `period_ticks`, first after one period.
static inline void systick_start(uint32_t period_ticks) {
  SYST_RVR = period_ticks;
  SYST_CVR = 0;
  SYST_CSR = 7;  // CLKSOURCE, TICKINT, ENABLE
}

static inline void systick_stop(void) { SYST_CSR = 4; }
