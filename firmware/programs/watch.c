// The memory watch unit: which of the program's accesses it sees, in RAM, which is otherwise served
// without a look at observers, and in a peripheral.
#include <stdio.h>

#include "drivers/registers.h"

#define MWU_EVENTS_REGION_WA(n) REGISTER(0x40020100 + 8 * (n))
#define MWU_EVENTS_REGION_RA(n) REGISTER(0x40020104 + 8 * (n))
#define MWU_EVENTS_PREGION_WA(n) REGISTER(0x40020160 + 8 * (n))
#define MWU_INTENSET REGISTER(0x40020304)
#define MWU_PERREGION_SUBSTATWA(n) REGISTER(0x40020400 + 8 * (n))
#define MWU_REGIONENSET REGISTER(0x40020514)
#define MWU_REGIONENCLR REGISTER(0x40020518)
#define MWU_REGION_START(n) REGISTER(0x40020600 + 16 * (n))
#define MWU_REGION_END(n) REGISTER(0x40020604 + 16 * (n))
#define MWU_PREGION_SUBS(n) REGISTER(0x400206C8 + 16 * (n))

enum { kRegion0 = 3, kPeripheralRegion0Writes = 1 << 24, kMwuIrq = 32, kTimer0 = 8 };

static volatile uint32_t words[8];

// Clears what it tells.
static void print(const char* after) {
  printf("%s: written %lu, read %lu, interrupt %lu\n", after,
         (unsigned long)MWU_EVENTS_REGION_WA(0), (unsigned long)MWU_EVENTS_REGION_RA(0),
         (unsigned long)(NVIC_ISPR(1) >> (kMwuIrq - 32) & 1));
  MWU_EVENTS_REGION_WA(0) = 0;
  MWU_EVENTS_REGION_RA(0) = 0;
  NVIC_ICPR(1) = 1u << (kMwuIrq - 32);
}

int main(void) {
  MWU_REGION_START(0) = (uint32_t)(uintptr_t)&words[2];
  MWU_REGION_END(0) = (uint32_t)(uintptr_t)&words[3] + 3;
  MWU_INTENSET = 1;
  words[2] = 1;
  print("not enabled");
  MWU_REGIONENSET = kRegion0;
  words[1] = 1;
  words[4] = words[5];
  print("outside");
  __asm volatile("stm %0, {r0-r3}" : : "r"(&words[0]) : "memory");
  print("store of four words");
  __asm volatile("ldrb r0, [%0]" : : "r"((const char*)words + 13) : "r0", "memory");
  print("load of a byte");
  MWU_REGIONENCLR = kRegion0;
  words[2] = 1;
  print("disabled");

  MWU_PREGION_SUBS(0) = 1u << kTimer0;
  MWU_REGIONENSET = kPeripheralRegion0Writes;
  REGISTER(0x40008510) = 3;  // TIMER0.PRESCALER
  REGISTER(0x40009510) = 3;  // TIMER1.PRESCALER
  printf("peripheral: written %lu, subregions %lx\n", (unsigned long)MWU_EVENTS_PREGION_WA(0),
         (unsigned long)MWU_PERREGION_SUBSTATWA(0));
  return 0;
}
