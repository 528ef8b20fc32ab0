// The clock block as start-up code uses it, the calibration of its low-frequency oscillator, and
// the identification words.
#include <stdio.h>

#include "boot/startup.h"
#include "drivers/clock.h"

enum { kInterruptCtto = 1 << 4 };

static volatile uint32_t timeouts, timeout_tick;

__attribute__((interrupt)) void power_clock_handler(void) {
  timeout_tick = DWT_CYCCNT;
  timeouts = timeouts + CLOCK_EVENTS_CTTO;
  CLOCK_EVENTS_CTTO = 0;
}

// The timer wakes the program after a quarter of a second, which then calibrates.
static void calibrate(void) {
  CLOCK_CTIV = 1;
  CLOCK_INTENSET = kInterruptCtto;
  NVIC_ISER(0) = 1u << kPowerClockIrq;
  const uint32_t start = DWT_CYCCNT;
  CLOCK_TASKS_CTSTART = 1;
  while (timeouts == 0) {
  }
  clock_start_high_frequency();
  CLOCK_EVENTS_DONE = 0;
  CLOCK_TASKS_CAL = 1;
  printf("timeout after %lu thousand ticks, calibrated %lu\n",
         (unsigned long)((timeout_tick - start) / 1000), (unsigned long)CLOCK_EVENTS_DONE);
}

int main(void) {
  clock_start_high_frequency();
  printf("high frequency: run %lu status %08lx\n", (unsigned long)CLOCK_HFCLKRUN,
         (unsigned long)CLOCK_HFCLKSTAT);
  CLOCK_TASKS_HFCLKSTOP = 1;
  printf("stopped: run %lu running %lu\n", (unsigned long)CLOCK_HFCLKRUN,
         (unsigned long)(CLOCK_HFCLKSTAT >> 16 & 1));
  clock_start_low_frequency(kLowFrequencyCrystal);
  printf("low frequency: run %lu status %08lx\n", (unsigned long)CLOCK_LFCLKRUN,
         (unsigned long)CLOCK_LFCLKSTAT);
  CLOCK_TASKS_LFCLKSTOP = 1;
  printf("stopped: run %lu running %lu\n", (unsigned long)CLOCK_LFCLKRUN,
         (unsigned long)(CLOCK_LFCLKSTAT >> 16 & 1));
  calibrate();
  printf("core %08lx page size %lu\n", (unsigned long)CPUID, (unsigned long)FICR_CODEPAGESIZE);
  return 0;
}
