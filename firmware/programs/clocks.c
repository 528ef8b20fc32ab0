// The clock block as start-up code uses it, and the identification words it reads.
#include <stdio.h>

#include "drivers/clock.h"

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
  printf("core %08lx page size %lu\n", (unsigned long)CPUID, (unsigned long)FICR_CODEPAGESIZE);
  return 0;
}
