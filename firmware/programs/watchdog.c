// The watchdog, life by life: what each reset ended is told by the next life. Reset comes within a
// turn of the loop that notes the time, three ticks.
#include <stdio.h>
#include <string.h>

#include "drivers/event_wait.h"

// nRF52832 Product Specification, WDT, "Registers".
#define WDT_TASKS_START REGISTER(0x40010000)
#define WDT_EVENTS_TIMEOUT REGISTER(0x40010100)
#define WDT_INTENSET REGISTER(0x40010304)
#define WDT_INTENCLR REGISTER(0x40010308)
#define WDT_RUNSTATUS REGISTER(0x40010400)
#define WDT_REQSTATUS REGISTER(0x40010404)
#define WDT_CRV REGISTER(0x40010504)
#define WDT_RREN REGISTER(0x40010508)
#define WDT_RR(n) REGISTER(0x40010600 + 4 * (n))

enum { kReload = 0x6E524635, kWdtIrq = 16, kVectors = 16 + 38 };
// 100 cycles of 1953.125 ticks, and the two that the interrupt's handler has.
enum { kPeriodTicks = 195312, kHandlerTicks = 3906 };

__attribute__((section(".noinit"))) static volatile struct {
  uint32_t magic, life, since, last, interrupts;
} kept;

static uint32_t vectors[kVectors] __attribute__((aligned(256)));

// Notes the tick of the store.
static void store(volatile uint32_t* where, uint32_t value) {
  uint32_t next;
  __asm volatile("str %2, [%1]\n\tldr %0, [%3]"
                 : "=&r"(next)
                 : "r"(where), "r"(value), "r"(&DWT_CYCCNT)
                 : "memory");
  kept.since = next - 1;
}

// Feeds the watchdog in the time that is left before the reset.
__attribute__((interrupt)) static void wdt_handler(void) {
  kept.interrupts = kept.interrupts + 1;
  WDT_EVENTS_TIMEOUT = 0;
  store(&WDT_RR(0), kReload);
}

static void wait_for_reset(void) {
  uint32_t now;
  __asm volatile("1:\n\tldr %0, [%1]\n\tstr %0, [%2]\n\tb 1b"
                 : "=&r"(now)
                 : "r"(&DWT_CYCCNT), "r"(&kept.last)
                 : "memory");
}

static void tell_end(const char* what, uint32_t ticks) {
  // The last tick noted is the one of a load whose store came before the reset.
  const uint32_t lived = kept.last - kept.since;
  printf("%s: reset %s, interrupts %lu\n", what,
         lived >= ticks - 4 && lived <= ticks - 2 ? "to the tick" : "AT ANOTHER TICK",
         (unsigned long)kept.interrupts);
}

static void start(uint32_t interrupt) {
  kept.interrupts = 0;
  WDT_CRV = 99;
  WDT_RREN = 0x101;
  WDT_INTENSET = interrupt;
  store(&WDT_TASKS_START, 1);
}

static void fed_then_starved(void) {
  WDT_CRV = 99;
  WDT_RREN = 2;
  WDT_INTENSET = 1;
  WDT_TASKS_START = 0;
  printf("started by 0: %lu\n", (unsigned long)WDT_RUNSTATUS);
  WDT_TASKS_START = 2;
  WDT_CRV = 5;
  WDT_RREN = 1;
  for (int meal = 0; meal < 5; ++meal) {
    const uint32_t before = DWT_CYCCNT;
    while (DWT_CYCCNT - before < kPeriodTicks - 1000) {
    }
    WDT_RR(1) = kReload;
  }
  printf("fed: running %lu, timeout %lu, locked %lu %lu, requests %lx\n",
         (unsigned long)WDT_RUNSTATUS, (unsigned long)WDT_EVENTS_TIMEOUT, (unsigned long)WDT_CRV,
         (unsigned long)WDT_RREN, (unsigned long)WDT_REQSTATUS);
  store(&WDT_RR(1), kReload);
  const uint32_t fed = kept.since;
  kept.since = next_pending(kWdtIrq);
  kept.interrupts = is_pending(kWdtIrq);
  printf("interrupt %lu ticks after the last reload, timeout %lu\n",
         (unsigned long)(kept.since - fed), (unsigned long)WDT_EVENTS_TIMEOUT);
  wait_for_reset();
}

int main(void) {
  if (kept.magic != 0xD06F00D) {
    kept.magic = 0xD06F00D;
    kept.life = 0;
  }
  kept.life = kept.life + 1;
  memcpy(vectors, (void*)VTOR, 4 * 19);
  vectors[16 + kWdtIrq] = (uint32_t)wdt_handler;
  VTOR = (uint32_t)vectors;

  switch (kept.life) {
    case 1:
      fed_then_starved();
      return 1;
    case 2:
      tell_end("starved", kHandlerTicks);
      start(0);
      WDT_RR(0) = 1;        // no reload
      WDT_RR(1) = kReload;  // not enabled
      wait_for_reset();
      return 1;
    case 3:
      tell_end("without interrupt", kPeriodTicks);
      start(1);
      NVIC_ISER(0) = 1u << kWdtIrq;
      wait_for_reset();
      return 1;
    case 4:
      tell_end("reloaded by the handler", kPeriodTicks);
      start(1);
      WDT_INTENCLR = 1;
      wait_for_reset();
      return 1;
    case 5:
      tell_end("interrupt disabled", kPeriodTicks);
      // CRV is as after reset: 2^32 cycles, which are none.
      kept.last = 0;
      WDT_TASKS_START = 1;
      kept.last = 1;
      return 1;
    default:
      printf("whole range: reset %s\n", kept.last == 0 ? "at once" : "LATE");
      WDT_CRV = 99;
      WDT_RR(0) = kReload;  // as after reset, RREN has bit 0
      printf("started by a reload: %lu\n", (unsigned long)WDT_RUNSTATUS);
      return 0;
  }
}
