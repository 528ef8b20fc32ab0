// Things that stop the run with an error, chosen by WHAT: an instruction without implementation
// (0), a block of the chip without a model (1), a task without a model (2), the same started by the
// PPI (3), PPI channels in a circle (4), a calibration without the clock that it needs
// (5), an RTC's forced overflow (6), a watchdog that would pause (7).
#include <stdio.h>

#include "drivers/clock.h"
#include "drivers/ppi.h"

#define POWER_TASKS_CONSTLAT REGISTER(0x40000078)

int main(void) {
  printf("before\n");
#if WHAT == 0
  __asm volatile("ssat r0, #8, r1" ::: "r0");
#elif WHAT == 1
  (void)REGISTER(0x40005000);  // NFCT
#elif WHAT == 2
  POWER_TASKS_CONSTLAT = 1;
#elif WHAT == 3
  ppi_connect(0, &CLOCK_EVENTS_HFCLKSTARTED, &POWER_TASKS_CONSTLAT, 0);
  clock_start_high_frequency();
#elif WHAT == 4
  ppi_connect(0, &CLOCK_EVENTS_HFCLKSTARTED, &CLOCK_TASKS_HFCLKSTART, 0);
  clock_start_high_frequency();
#elif WHAT == 5
  CLOCK_TASKS_HFCLKSTOP = 1;
  CLOCK_TASKS_CAL = 1;
#elif WHAT == 6
  REGISTER(0x4000B00C) = 0;  // RTC0.TASKS_TRIGOVRFLW
#elif WHAT == 7
  REGISTER(0x4001050C) = 8;  // WDT.CONFIG
#endif
#if WHAT >= 3
  for (volatile int i = 0; i < 10; ++i) {
  }
#endif
  printf("after\n");
  return 0;
}
