// TIMER to the tick: rates, widths, compare and shorts, capture, counter modes, and what tasks
// take.
#include <stdio.h>

#include "drivers/event_wait.h"
#include "drivers/ppi.h"
#include "drivers/timer.h"

enum { kLongestCountTicks = 4 << 9 };

static void print(const char* what, unsigned count, const uint32_t* values) {
  printf("%s:", what);
  for (unsigned i = 0; i < count; ++i) printf(" %lu", (unsigned long)values[i]);
  printf("\n");
}
#define PRINT(what, ...) \
  print(what, sizeof((uint32_t[]){__VA_ARGS__}) / 4, (const uint32_t[]){__VA_ARGS__})

// A stopped timer, all of whose registers are as after reset but for what is given; its old
// schedule has run out.
static void prepare(unsigned timer, uint32_t prescaler, uint32_t bit_mode) {
  TIMER_TASKS_SHUTDOWN(timer) = 1;
  for (volatile int i = 0; i < kLongestCountTicks; ++i) {
  }
  TIMER_SHORTS(timer) = 0;
  TIMER_INTENCLR(timer) = ~0u;
  TIMER_MODE(timer) = kModeTimer;
  TIMER_BITMODE(timer) = bit_mode;
  TIMER_PRESCALER(timer) = prescaler;
  for (unsigned channel = 0; channel < 6; ++channel) {
    TIMER_CC(timer, channel) = 0;
    TIMER_EVENTS_COMPARE(timer, channel) = 0;
  }
}

static uint32_t capture(unsigned timer) {
  TIMER_TASKS_CAPTURE(timer, 5) = 1;
  return TIMER_CC(timer, 5);
}

static void rates(void) {
  uint32_t ticks[10];
  for (uint32_t prescaler = 0; prescaler < 10; ++prescaler) {
    prepare(0, prescaler, kBits16);
    TIMER_CC(0, 0) = 3;
    TIMER_INTENSET(0) = TIMER_INT_COMPARE(0);
    ticks[prescaler] = ticks_after(&TIMER_TASKS_START(0), 1, kTimer0Irq);
  }
  print("ticks of 3 counts, prescalers 0 to 9", 10, ticks);

  // Five bits count. 24 to 31 leave no rate: such a timer runs and stands still.
  prepare(0, 32 + 4, kBits16);
  TIMER_CC(0, 0) = 3;
  TIMER_INTENSET(0) = TIMER_INT_COMPARE(0);
  ticks[0] = ticks_after(&TIMER_TASKS_START(0), 1, kTimer0Irq);
  prepare(0, 24, kBits16);
  TIMER_CC(0, 0) = 1;
  STORE_AFTER(&TIMER_TASKS_START(0), 200, &TIMER_TASKS_CAPTURE(0, 1));
  ticks[1] = TIMER_CC(0, 1);
  ticks[2] = TIMER_EVENTS_COMPARE(0, 0);
  print("prescaler 36, capture and event with 24", 3, ticks);
}

// Compare 1 comes at 1 and, after the wrap, again at 1; compare 0 is 0 and stays silent.
static void widths(void) {
  static const uint32_t kModes[] = {kBits8, kBits16, kBits24};
  uint32_t ticks[3], silent = 0;
  for (unsigned i = 0; i < 3; ++i) {
    prepare(3, 0, kModes[i]);
    prepare(4, 0, kBits32);
    TIMER_CC(3, 1) = 1;
    TIMER_INTENSET(3) = TIMER_INT_COMPARE(1);
    if (kModes[i] == kBits24) TIMER_TASKS_START(4) = 1;
    TIMER_TASKS_START(3) = 1;
    const uint32_t first = next_pending(26);
    ticks[i] = next_pending(26) - first;
    silent |= TIMER_EVENTS_COMPARE(3, 0);
  }
  print("ticks of a turn of 8, 16, 24 bits", 3, ticks);
  PRINT("events of a compare with 0, 32 bits beside 24", silent, capture(4) >> 24);
}

static void shorts(void) {
  uint32_t ticks[3];
  prepare(0, 0, kBits8);
  TIMER_CC(0, 0) = 255;
  TIMER_SHORTS(0) = TIMER_CLEAR_SHORT(0);
  TIMER_INTENSET(0) = TIMER_INT_COMPARE(0);
  ticks[0] = ticks_after(&TIMER_TASKS_START(0), 1, kTimer0Irq);
  const uint32_t first = next_pending(kTimer0Irq);
  ticks[1] = next_pending(kTimer0Irq) - first;
  ticks[2] = next_pending(kTimer0Irq) - first - ticks[1];
  print("ticks to a clear at 255, and between", 3, ticks);

  prepare(0, 0, kBits16);
  TIMER_CC(0, 1) = TIMER_CC(0, 4) = 4;
  TIMER_SHORTS(0) = TIMER_CLEAR_SHORT(1);
  STORE_AFTER(&TIMER_TASKS_START(0), 24, &TIMER_TASKS_STOP(0));
  PRINT("cleared by 1, both match", TIMER_EVENTS_COMPARE(0, 1), TIMER_EVENTS_COMPARE(0, 4));

  // The time since the last count goes on in a capture of a stopped timer.
  prepare(0, 0, kBits16);
  clear_pending(kTimer0Irq);
  TIMER_CC(0, 2) = 5;
  TIMER_SHORTS(0) = TIMER_STOP_SHORT(2);
  TIMER_INTENSET(0) = TIMER_INT_COMPARE(2);
  __asm volatile(
      "str %3, [%0]\n\twfe\n\tstr %3, [%1]\n\t.rept 38\n\tnop\n\t.endr\n\tstr %3, [%2]\n\twfe" ::
          "r"(&TIMER_TASKS_START(0)),
      "r"(&TIMER_TASKS_CAPTURE(0, 0)), "r"(&TIMER_TASKS_CAPTURE(0, 1)), "r"(1)
      : "memory");
  TIMER_EVENTS_COMPARE(0, 2) = 0;
  for (volatile int i = 0; i < 100; ++i) {
  }
  PRINT("captured at the stop, and 40 ticks after it", TIMER_CC(0, 0), TIMER_CC(0, 1));
  PRINT("matches behind the stop", TIMER_EVENTS_COMPARE(0, 2));
}

static void captures(void) {
  uint32_t counts[4];
#define CAPTURE_AFTER(ticks, count)                                      \
  prepare(0, 4, kBits16);                                                \
  STORE_AFTER(&TIMER_TASKS_START(0), ticks, &TIMER_TASKS_CAPTURE(0, 0)); \
  count = TIMER_CC(0, 0)
  CAPTURE_AFTER(63, counts[0]);
  CAPTURE_AFTER(64, counts[1]);
  CAPTURE_AFTER(127, counts[2]);
  CAPTURE_AFTER(128, counts[3]);
  print("captured at 63, 64, 127, 128 of 64 ticks", 4, counts);

  // Stopped and started within one count: the schedule of the first start holds.
  uint32_t before, after;
  prepare(0, 9, kBits16);
  clear_pending(kTimer0Irq);
  TIMER_CC(0, 0) = 1;
  TIMER_INTENSET(0) = TIMER_INT_COMPARE(0);
  __asm volatile(
      "ldr %0, [%2]\n\tstr %5, [%3]\n\t.rept 97\n\tnop\n\t.endr\n\tstr %5, [%4]\n\t"
      "str %5, [%3]\n\twfe\n\tldr %1, [%2]\n\twfe"
      : "=&r"(before), "=&r"(after)
      : "r"(&DWT_CYCCNT), "r"(&TIMER_TASKS_START(0)), "r"(&TIMER_TASKS_STOP(0)), "r"(1)
      : "memory");
  PRINT("first count after a stop and a start", after - before - 2);

  // The PPI takes 6 ticks: the other timer has counted 48 / 4.
  prepare(0, 0, kBits16);
  prepare(1, 0, kBits16);
  TIMER_CC(0, 0) = 10;
  ppi_connect(0, &TIMER_EVENTS_COMPARE(0, 0), &TIMER_TASKS_CAPTURE(1, 0), 0);
  STORE_AFTER(&TIMER_TASKS_START(1), 2, &TIMER_TASKS_START(0));
  for (volatile int i = 0; i < 100; ++i) {
  }
  PRINT("captured by the other timer", TIMER_CC(1, 0));
  PPI_CHENCLR = ~0u;
}

static void tasks(void) {
  uint32_t counts[3];
  for (uint32_t mode = 0; mode < 3; ++mode) {
    prepare(0, 9, kBits16);
    TIMER_MODE(0) = mode;
    TIMER_TASKS_COUNT(0) = 1;  // not started yet
    TIMER_TASKS_START(0) = 0;
    for (int i = 0; i < 3; ++i) TIMER_TASKS_COUNT(0) = 0;
    counts[mode] = capture(0);
  }
  print("counted as timer, counter, low-power counter", 3, counts);
  // From 3: 4, 5 that the short clears, 1, 2.
  TIMER_CC(0, 0) = 5;
  TIMER_SHORTS(0) = TIMER_CLEAR_SHORT(0);
  for (int i = 0; i < 4; ++i) TIMER_TASKS_COUNT(0) = 1;
  PRINT("compare of a counter, its count", TIMER_EVENTS_COMPARE(0, 0), capture(0));
  TIMER_TASKS_CLEAR(0) = 2;
  TIMER_TASKS_SHUTDOWN(0) = 0;
  TIMER_TASKS_CAPTURE(0, 1) = 3;
  counts[0] = TIMER_CC(0, 1);
  TIMER_TASKS_COUNT(0) = 1;
  counts[1] = capture(0);
  TIMER_TASKS_STOP(0) = 0;
  TIMER_TASKS_COUNT(0) = 1;
  counts[2] = capture(0);
  print("other values than 1: capture, clear, stop", 3, counts);

  clear_pending(kTimer0Irq);
  counts[0] = is_pending(kTimer0Irq);
  TIMER_INTENSET(0) = TIMER_INT_COMPARE(0);
  counts[1] = is_pending(kTimer0Irq);
  TIMER_INTENCLR(0) = TIMER_INT_COMPARE(0);
  counts[2] = TIMER_INTENSET(0) | TIMER_INTENCLR(0);
  print("late enable raises, clear disables", 3, counts);
}

int main(void) {
  PRINT("captured before the first start", capture(0));
  rates();
  widths();
  shorts();
  captures();
  tasks();
  return 0;
}
