// Faults. With HANDLED the program has a HardFault handler that reports and goes on; without it the
// vector is 0, and a fault ends the run with status 1.
#include <stdio.h>

#include "boot/startup.h"
#include "drivers/registers.h"

#ifdef HANDLED
static volatile uint32_t hard_faults, usage_faults, hard_fault_status, fault_status, fault_address;

__attribute__((interrupt)) void hard_fault_handler(void) {
  hard_faults = hard_faults + 1;
  hard_fault_status = HFSR;
  fault_status = CFSR;
  fault_address = MMFAR;
  HFSR = 0;
}

__attribute__((interrupt)) void usage_fault_handler(void) {
  usage_faults = usage_faults + 1;
  fault_status = CFSR;
}
#endif

int main(void) {
  printf("reading where nothing is\n");
#ifdef HANDLED
  (void)REGISTER(0x30000000);
  __asm volatile("nop");
  printf("hard faults %lu, forced %lu, address %08lx\n", (unsigned long)hard_faults,
         (unsigned long)(hard_fault_status >> 30 & 1), (unsigned long)fault_address);

  volatile uint32_t zero = 0;
  printf("7 / 0 = %lu without the trap\n", (unsigned long)(7 / zero));
  CCR |= CCR_DIV_0_TRP;
  SHCSR = SHCSR_USGFAULTENA;
  volatile uint32_t quotient = 7 / zero;
  __asm volatile("nop");
  printf("7 / 0 = %lu, usage faults %lu, divide by zero %lu\n", (unsigned long)quotient,
         (unsigned long)usage_faults, (unsigned long)(fault_status >> 25 & 1));
  return 0;
#else
  (void)REGISTER(0x30000000);
  __asm volatile("nop");
  printf("not reached\n");
  return 0;
#endif
}
