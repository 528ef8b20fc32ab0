// RTC to the tick: rates, the low-frequency clock, and which events are seen by whom.
#include <stdio.h>

#include "drivers/clock.h"
#include "drivers/event_wait.h"
#include "drivers/ppi.h"
#include "drivers/timer.h"

enum { kCountTicks = 1953 };  // at prescaler 0

static void wait_ticks(uint32_t ticks) {
  const uint32_t start = DWT_CYCCNT;
  while (DWT_CYCCNT - start < ticks) {
  }
}

static void prepare(uint32_t prescaler) {
  RTC0_TASKS_STOP = 1;
  wait_ticks(2 * kCountTicks);
  RTC0_TASKS_CLEAR = 1;
  RTC0_EVTEN = 0;
  RTC0_INTENCLR = ~0u;
  RTC0_PRESCALER = prescaler;
  RTC0_EVENTS_TICK = RTC0_EVENTS_OVRFLW = 0;
  for (int channel = 0; channel < 4; ++channel) {
    RTC0_EVENTS_COMPARE(channel) = 0;
    RTC0_CC(channel) = 0xFFFFFF;
  }
  clear_pending(kRtc0Irq);
}

static void rates(void) {
  static const uint32_t kPrescalers[] = {0, 7, 32, 0x1FFF};  // the last keeps twelve bits
  printf("ticks of a count:");
  for (unsigned i = 0; i < 4; ++i) {
    prepare(kPrescalers[i]);
    RTC0_INTENSET = RTC_INT_TICK;
    const uint32_t first = ticks_after(&RTC0_TASKS_START, 1, kRtc0Irq);
    const uint32_t second = next_pending(kRtc0Irq);
    const uint32_t third = next_pending(kRtc0Irq);
    printf(" %lu %s", (unsigned long)first, third - second == first ? "even" : "UNEVEN");
    RTC0_TASKS_STOP = 1;
    // The slowest goes on until its count is over.
    if (first > kCountTicks) wait_ticks(first);
  }
  printf("\n");
}

static void low_frequency_clock(void) {
  prepare(0);
  CLOCK_TASKS_LFCLKSTOP = 1;
  RTC0_TASKS_START = 1;
  wait_ticks(10 * kCountTicks);
  const uint32_t stopped = RTC0_COUNTER;
  CLOCK_TASKS_LFCLKSTART = 1;
  wait_ticks(10 * kCountTicks);
  printf("counter without the clock %lu, with it %lu\n", (unsigned long)stopped,
         (unsigned long)RTC0_COUNTER);
}

// Two counts behind 0xFFFFFD, tick, overflow and compare 0 come together. A channel of the PPI
// listens to the compare and captures into a timer's register.
static void enables(const char* what, uint32_t evten, uint32_t inten) {
  prepare(0);
  TIMER_CC(0, 0) = 0xAA;
  ppi_connect(0, &RTC0_EVENTS_COMPARE(0), &TIMER_TASKS_CAPTURE(0, 0), 0);
  RTC0_EVTEN = evten;
  RTC0_INTENSET = inten;
  RTC0_CC(0) = 0xFF000000;  // 24 bits: 0
  RTC0_CC(1) = 0xFFFFFF;    // never shown
  RTC0_COUNTER = 0xFFFFFD;
  RTC0_TASKS_START = 1;
  wait_ticks(2 * kCountTicks + kCountTicks / 2);
  RTC0_TASKS_STOP = 1;
  printf("%s: counter %lx, tick %lu, overflow %lu, compare %lu %lu, interrupt %d, ppi %s\n", what,
         (unsigned long)RTC0_COUNTER, (unsigned long)RTC0_EVENTS_TICK,
         (unsigned long)RTC0_EVENTS_OVRFLW, (unsigned long)RTC0_EVENTS_COMPARE(0),
         (unsigned long)RTC0_EVENTS_COMPARE(1), is_pending(kRtc0Irq),
         TIMER_CC(0, 0) == 0xAA ? "silent" : "captured");
}

int main(void) {
  const uint32_t kAll = RTC_INT_TICK | RTC_INT_OVRFLW | TIMER_INT_COMPARE(0) | TIMER_INT_COMPARE(1);
  clock_start_low_frequency(kLowFrequencyCrystal);
  rates();
  low_frequency_clock();
  enables("neither", 0, 0);
  enables("evten only", kAll, 0);
  enables("inten only", 0, kAll);
  enables("both", kAll, kAll);
  enables("overflow only", RTC_INT_OVRFLW, RTC_INT_OVRFLW);

  prepare(3);
  RTC0_EVTENSET = 0x50003;
  RTC0_EVTENCLR = 0x10001;
  RTC0_TASKS_START = 0;  // only 1 starts
  wait_ticks(20 * kCountTicks);
  const uint32_t not_started = RTC0_COUNTER;
  RTC0_TASKS_START = 1;
  RTC0_PRESCALER = 5;
  printf("enabled %lx %lx %lx, started by 0: %lu, prescaler while running %lu\n",
         (unsigned long)RTC0_EVTEN, (unsigned long)RTC0_EVTENSET, (unsigned long)RTC0_EVTENCLR,
         (unsigned long)not_started, (unsigned long)RTC0_PRESCALER);

  // Enabled late, the overflow of above is caught up on.
  RTC0_EVENTS_OVRFLW = 1;
  const int before = is_pending(kRtc0Irq);
  RTC0_INTENSET = RTC_INT_OVRFLW;
  printf("pending before and after the enable: %d %d\n", before, is_pending(kRtc0Irq));
  return 0;
}
