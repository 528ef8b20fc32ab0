// One instruction is one tick: measured by the cycle counter around loops of known length, by
// SysTick between two of its interrupts, and around a skipped conditional instruction.
#include <stdio.h>

#include "boot/startup.h"
#include "drivers/registers.h"
#include "drivers/systick.h"

// Ticks between the two reads of the counter. The second read counts itself: 1 + body.
#define TICKS_OF(body)                                        \
  ({                                                          \
    uint32_t first, second;                                   \
    __asm volatile("ldr %0, [%2]\n\t" body "\n\tldr %1, [%2]" \
                   : "=&r"(first), "=&r"(second)              \
                   : "r"(0xE0001004u)                         \
                   : "r0", "r1", "r2", "r3", "cc", "memory"); \
    second - first;                                           \
  })

static volatile uint32_t moments[4], taken;

__attribute__((interrupt)) void systick_handler(void) {
  const uint32_t now = DWT_CYCCNT;
  if (taken < 4) moments[taken] = now;
  taken = taken + 1;
}

int main(void) {
  printf("nothing %lu\n", (unsigned long)TICKS_OF(""));
  printf("one nop %lu\n", (unsigned long)TICKS_OF("nop"));
  printf("loop of 1000 %lu\n",
         (unsigned long)TICKS_OF("movw r0, #1000\n1:\n\tsubs r0, r0, #1\n\tbne 1b"));
  printf("division %lu\n", (unsigned long)TICKS_OF("mov r0, #99\n\tmov r1, #7\n\tudiv r0, r0, r1"));
  printf("push and pop of four %lu\n", (unsigned long)TICKS_OF("push {r0-r3}\n\tpop {r0-r3}"));
  printf("skipped conditional %lu\n",
         (unsigned long)TICKS_OF("cmp r0, r0\n\tit ne\n\tmovne r0, #1"));
  systick_start(5000);
  while (taken < 4) __asm volatile("nop");  // one-tick instructions only: the handler is prompt
  systick_stop();
  for (int i = 1; i < 4; ++i) {
    printf("systick period %lu\n", (unsigned long)(moments[i] - moments[i - 1]));
  }
  return 0;
}
