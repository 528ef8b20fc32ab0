// Waiting for events to the tick, a second vector table, and a reset out of a handler.
// ARMv7-M ARM, B1.5.18 (events), B3.2.5 (VTOR), B3.2.6 (AIRCR).
#include <stdio.h>

#include "boot/startup.h"
#include "drivers/registers.h"
#include "drivers/systick.h"

enum { kPeriodTicks = 1000, kLine = 20, kExternal = 16, kVectors = kExternal + kLine + 1 };

#define ICSR_PENDSTCLR (1u << 25)

// Kept through the reset.
__attribute__((section(".noinit"))) static volatile uint32_t magic, lives, reset_tick, restart_tick;

static volatile uint32_t systicks, systick_tick, first_services, second_services, line_taken,
    pendsvs;

// The tick of its second instruction.
__attribute__((naked)) void systick_handler(void) {
  __asm volatile(
      "ldr r0, =0xE0001004\n\t"
      "ldr r1, [r0]\n\t"
      "ldr r0, =systick_tick\n\t"
      "str r1, [r0]\n\t"
      "ldr r0, =systicks\n\t"
      "ldr r1, [r0]\n\t"
      "adds r1, #1\n\t"
      "str r1, [r0]\n\t"
      "bx  lr");
}

__attribute__((interrupt)) void svcall_handler(void) { first_services = first_services + 1; }

// --- The second table ----------------------------------------------------------------------------

void reset_handler(void);

__attribute__((naked)) static void second_reset_handler(void) {
  __asm volatile(
      "ldr r0, =0xE0001004\n\t"
      "ldr r0, [r0]\n\t"
      "ldr r1, =restart_tick\n\t"
      "str r0, [r1]\n\t"
      "b   reset_handler");
}

// The second call resets the chip; what follows the store is not reached.
__attribute__((interrupt)) static void second_svcall_handler(void) {
  second_services = second_services + 1;
  if (lives != 1 || second_services != 2) return;
  uint32_t tick;
  __asm volatile("ldr %0, [%1]\n\tstr %0, [%2]\n\tstr %4, [%3]\n1:\n\tb 1b"
                 : "=&r"(tick)
                 : "r"(&DWT_CYCCNT), "r"(&reset_tick), "r"(&AIRCR),
                   "r"(AIRCR_VECTKEY | AIRCR_SYSRESETREQ)
                 : "memory");
}

__attribute__((interrupt)) static void second_pendsv_handler(void) { pendsvs = pendsvs + 1; }
__attribute__((interrupt)) static void line_handler(void) { line_taken = line_taken + 1; }

// clang-format off
static void (*const second_table[kVectors])(void) __attribute__((aligned(256), used)) = {
    [1] = second_reset_handler,
    [11] = second_svcall_handler,
    [14] = second_pendsv_handler,
    [15] = systick_handler,
    [kExternal + kLine] = line_handler,
};
// clang-format on

// --- First life ----------------------------------------------------------------------------------

// Masked, so that what wakes is the event alone. All ticks count from the start of SysTick.
static void sleep_masked(void) {
  uint32_t latched, start, ticks[5], *next = ticks;
  SYST_RVR = kPeriodTicks;
  NVIC_ISPR(0) = 1u << kLine;  // disabled, and an event all the same
  __asm volatile(
      "cpsid i\n\t"
      "ldr   r0, [%[cyccnt]]\n\t"
      "wfe\n\t"  // consumes it
      "ldr   %[latched], [%[cyccnt]]\n\t"
      "sub   %[latched], r0\n\t"
      "mov   r0, #7\n\t"
      "mov   r1, #0x10\n\t"  // SEVONPEND
      "ldr   %[start], [%[cyccnt]]\n\t"
      "add   %[start], #2\n\t"
      "str   r0, [%[systick]]\n\t"
      "wfe\n\t"  // until the wrap at 1000
      "ldr   r2, [%[cyccnt]]\n\t"
      "wfe\n\t"  // the event is there still
      "ldr   r3, [%[cyccnt]]\n\t"
      "stmia %[next]!, {r2, r3}\n\t"
      "str   r1, [%[scr]]\n\t"
      "wfe\n\t"  // SysTick is pending already: an event of the wrap at 2000 by SEVONPEND only
      "ldr   r2, [%[cyccnt]]\n\t"
      "wfe\n\t"
      "sev\n\t"
      "wfe\n\t"
      "ldr   r3, [%[cyccnt]]\n\t"
      "stmia %[next]!, {r2, r3}\n\t"
      "mov   r0, #0\n\t"
      "str   r0, [%[scr]]\n\t"
      "mov   r0, #0x02000000\n\t"  // PENDSTCLR
      "str   r0, [%[icsr]]\n\t"
      "sev\n\t"  // no event without SEVONPEND
      "wfe\n\t"  // until the wrap at 3000
      "ldr   r2, [%[cyccnt]]\n\t"
      "wfe\n\t"
      "stmia %[next]!, {r2}\n\t"
      : [latched] "=&r"(latched), [start] "=&r"(start), [next] "+r"(next)
      : [cyccnt] "r"(&DWT_CYCCNT), [systick] "r"(&SYST_CSR), [scr] "r"(&SCR), [icsr] "r"(&ICSR)
      : "r0", "r1", "r2", "r3", "memory");
  systick_stop();
  ICSR = ICSR_PENDSTCLR;
  __asm volatile("cpsie i");
  printf("latched event: %lu ticks; woken at", (unsigned long)latched);
  for (int i = 0; i < 5; ++i) printf(" %lu", (unsigned long)(ticks[i] - start));
  printf("\n");
}

// The handler runs before the instruction behind the wfe.
static void sleep_until_interrupt(void) {
  uint32_t start, end;
  __asm volatile(
      "mov r0, #7\n\t"
      "ldr %0, [%2]\n\t"
      "add %0, #2\n\t"
      "str r0, [%3]\n\t"
      "wfe\n\t"
      "ldr %1, [%2]\n\t"
      : "=&r"(start), "=&r"(end)
      : "r"(&DWT_CYCCNT), "r"(&SYST_CSR)
      : "r0", "memory");
  systick_stop();
  printf("interrupt at %lu, thread at %lu\n", (unsigned long)(systick_tick - start),
         (unsigned long)(end - start));
}

static void move_vectors(void) {
  __asm volatile("svc #0");
  __asm volatile("cpsid i");
  ICSR = ICSR_PENDSVSET;  // the first table has no handler for it
  VTOR = (uint32_t)second_table | 0x80;
  __asm volatile("cpsie i\n\tnop\n\tsvc #0");
  printf("services %lu and %lu, pended before the move %lu, VTOR %s\n",
         (unsigned long)first_services, (unsigned long)second_services, (unsigned long)pendsvs,
         VTOR == (uint32_t)second_table ? "aligned" : "NOT ALIGNED");
}

int main(void) {
  if (magic != 0x600DCAFE) {
    magic = 0x600DCAFE;
    lives = 0;
  }
  lives = lives + 1;
  if (lives == 1) {
    sleep_masked();
    sleep_until_interrupt();
    move_vectors();
    NVIC_ICPR(0) = 1u << kLine;
    NVIC_ISER(0) = 1u << kLine;
    systick_start(kPeriodTicks);
    __asm volatile("svc #0");
    printf("not reached\n");
    return 1;
  }

  printf("life %lu, second instruction %lu ticks after the store\n", (unsigned long)lives,
         (unsigned long)(restart_tick - reset_tick - 2));
  for (volatile int i = 0; i < 2 * kPeriodTicks; ++i) {
  }
  uint32_t exception, primask;
  __asm volatile("mrs %0, ipsr\n\tmrs %1, primask" : "=r"(exception), "=r"(primask));
  printf("exception %lu, primask %lu, SysTick %lu with %lu interrupts\n", (unsigned long)exception,
         (unsigned long)primask, (unsigned long)SYST_CSR, (unsigned long)systicks);
  // Deliberate: the registers read as after a reset, but the table and the lines that are enabled
  // stay.
  __asm volatile("svc #0");
  NVIC_ISPR(0) = 1u << kLine;
  __asm volatile("nop");
  printf("VTOR %lu, services %lu and %lu, ISER %lu, line taken %lu\n", (unsigned long)VTOR,
         (unsigned long)first_services, (unsigned long)second_services, (unsigned long)NVIC_ISER(0),
         (unsigned long)line_taken);
  return 0;
}
