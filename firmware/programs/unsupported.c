// Things that stop the run with an error, chosen by WHAT: an instruction without implementation
// (0), a block of the chip without a model (1), a task without a model (2).
#include <stdio.h>

#include "drivers/registers.h"

int main(void) {
  printf("before\n");
#if WHAT == 0
  __asm volatile("ssat r0, #8, r1" ::: "r0");
#elif WHAT == 1
  (void)REGISTER(0x40005000);  // NFCT
#elif WHAT == 2
  REGISTER(0x40000078) = 1;  // POWER.TASKS_CONSTLAT
#endif
  printf("after\n");
  return 0;
}
