// Events that start tasks without the processor: the delay to the tick, forks and groups, a chain
// through three timers that settles in one tick, and the fixed channels.
#include "drivers/ppi.h"

#include <stdio.h>

#include "drivers/clock.h"

#define TIMER(n, offset) REGISTER(0x40008000 + 0x1000 * (n) + (offset))
#define TIMER_TASKS_START(n) TIMER(n, 0x000)
#define TIMER_TASKS_STOP(n) TIMER(n, 0x004)
#define TIMER_TASKS_COUNT(n) TIMER(n, 0x008)
#define TIMER_TASKS_CAPTURE(n, i) TIMER(n, 0x040 + 4 * (i))
#define TIMER_EVENTS_COMPARE(n, i) TIMER(n, 0x140 + 4 * (i))
#define TIMER_SHORTS(n) TIMER(n, 0x200)
#define TIMER_INTENSET(n) TIMER(n, 0x304)
#define TIMER_MODE(n) TIMER(n, 0x504)
#define TIMER_BITMODE(n) TIMER(n, 0x508)
#define TIMER_PRESCALER(n) TIMER(n, 0x510)
#define TIMER_CC(n, i) TIMER(n, 0x540 + 4 * (i))

#define RTC0_TASKS_START REGISTER(0x4000B000)
#define RTC0_EVTENSET REGISTER(0x4000B344)
#define RTC0_CC(i) REGISTER(0x4000B540 + 4 * (i))

enum { kCounter = 1, k32Bits = 3, kCompare0 = 1 << 16, kTimer1Irq = 9 };

// An event that nothing but this program makes.
#define EVENT TIMER_EVENTS_COMPARE(2, 5)

static uint32_t low_frequency_runs(void) { return CLOCK_LFCLKSTAT >> 16 & 1; }

// The status as read so many ticks after the store of the event: one, and one for each nop.
#define STATUS_AFTER(nops)                                      \
  ({                                                            \
    uint32_t status;                                            \
    CLOCK_TASKS_LFCLKSTOP = 1;                                  \
    __asm volatile("str %1, [%2]\n\t" nops "ldr %0, [%3]"       \
                   : "=&r"(status)                              \
                   : "r"(1), "r"(&EVENT), "r"(&CLOCK_LFCLKSTAT) \
                   : "memory");                                 \
    (unsigned long)(status >> 16 & 1);                          \
  })

static void delay(void) {
  ppi_connect(0, &EVENT, &CLOCK_TASKS_LFCLKSTART, 0);
  printf("clock runs after 5 ticks: %lu, after 6: %lu\n",
         STATUS_AFTER("nop\n\tnop\n\tnop\n\tnop\n\t"),
         STATUS_AFTER("nop\n\tnop\n\tnop\n\tnop\n\tnop\n\t"));
}

static void wait_a_little(void) {
  for (volatile int i = 0; i < 5; ++i) {
  }
}

// The channel's fork disables the group that it is in.
static void groups(void) {
  PPI_CHG(0) = 1;
  ppi_connect(0, &EVENT, &CLOCK_TASKS_LFCLKSTART, &PPI_TASKS_CHG_DIS(0));
  for (int i = 0; i < 2; ++i) {
    CLOCK_TASKS_LFCLKSTOP = 1;
    EVENT = 1;
    wait_a_little();
    printf("enabled %lx, clock runs: %lu\n", (unsigned long)PPI_CHEN,
           (unsigned long)low_frequency_runs());
  }
  PPI_TASKS_CHG_EN(0) = 0;  // any value is a trigger
  printf("enabled again %lx\n", (unsigned long)PPI_CHEN);
  PPI_CHENCLR = ~0u;
}

// TIMER0 counts microseconds and TIMER1 every tenth of them; the fifth stops TIMER0 and captures
// TIMER2, which has counted at 16 MHz from the same tick on.
static void chain(void) {
  TIMER_PRESCALER(0) = 4;
  TIMER_CC(0, 0) = 10;
  TIMER_SHORTS(0) = 1;  // COMPARE[0] to CLEAR
  TIMER_MODE(1) = kCounter;
  TIMER_CC(1, 0) = 5;
  TIMER_INTENSET(1) = kCompare0;
  TIMER_PRESCALER(2) = 0;
  TIMER_BITMODE(2) = k32Bits;
  TIMER_TASKS_START(1) = 1;
  ppi_connect(0, &EVENT, &TIMER_TASKS_START(0), &TIMER_TASKS_START(2));
  ppi_connect(1, &TIMER_EVENTS_COMPARE(0, 0), &TIMER_TASKS_COUNT(1), 0);
  ppi_connect(2, &TIMER_EVENTS_COMPARE(1, 0), &TIMER_TASKS_STOP(0), &TIMER_TASKS_CAPTURE(2, 0));
  EVENT = 1;
  while (TIMER_EVENTS_COMPARE(1, 0) == 0) {
  }
  // 5 * 10 * 64 ticks and the delay of one event, at 4 ticks per count: 801.
  printf("captured %lu, interrupt pending: %lu\n", (unsigned long)TIMER_CC(2, 0),
         (unsigned long)(NVIC_ISPR(0) >> kTimer1Irq & 1));
  TIMER_EVENTS_COMPARE(0, 0) = 0;
  for (int i = 0; i < 100; ++i) wait_a_little();
  printf("timer 0 %s\n", TIMER_EVENTS_COMPARE(0, 0) == 0 ? "stopped" : "STILL COUNTS");
  PPI_CHENCLR = ~0u;
}

// Channels 30 and 31: RTC0's COMPARE[0] clears and starts TIMER0. Here RTC0 counts 3, TIMER0 20.
static void fixed_channels(void) {
  clock_start_low_frequency(kLowFrequencyCrystal);
  TIMER_SHORTS(0) = 0;
  TIMER_CC(0, 0) = 0;
  TIMER_CC(0, 2) = 20;
  TIMER_EVENTS_COMPARE(0, 2) = 0;
  PPI_CHENSET = 3u << 30;
  RTC0_CC(0) = 3;
  RTC0_EVTENSET = kCompare0;
  const uint32_t start = DWT_CYCCNT;
  RTC0_TASKS_START = 1;
  while (TIMER_EVENTS_COMPARE(0, 2) == 0) {
  }
  const uint32_t ticks = DWT_CYCCNT - start;
  const uint32_t expected = 3 * 1953 + 6 + 20 * 64;
  printf("timer 0 started by the real-time counter: %s\n",
         ticks >= expected && ticks < expected + 20 ? "yes" : "NO");
}

int main(void) {
  delay();
  groups();
  chain();
  fixed_channels();
  return 0;
}
