// RNG and TEMP: their numbers, and when they come.
#include <stdio.h>

#include "drivers/event_wait.h"

// nRF52832 Product Specification, RNG and TEMP, "Registers".
#define RNG_TASKS_START REGISTER(0x4000D000)
#define RNG_TASKS_STOP REGISTER(0x4000D004)
#define RNG_EVENTS_VALRDY REGISTER(0x4000D100)
#define RNG_SHORTS REGISTER(0x4000D200)
#define RNG_INTENSET REGISTER(0x4000D304)
#define RNG_VALUE REGISTER(0x4000D508)
#define TEMP_TASKS_START REGISTER(0x4000C000)
#define TEMP_EVENTS_DATARDY REGISTER(0x4000C100)
#define TEMP_INTENSET REGISTER(0x4000C304)
#define TEMP_INTENCLR REGISTER(0x4000C308)
#define TEMP_TEMP REGISTER(0x4000C508)

enum { kTempIrq = 12, kRngIrq = 13, kValueTicks = 12800 };

static void wait_for_a_value(void) {
  for (volatile int i = 0; i < kValueTicks; ++i) {
  }
}

int main(void) {
  RNG_TASKS_START = 2;
  wait_for_a_value();
  printf("started by 2: %lu\n", (unsigned long)RNG_EVENTS_VALRDY);

  RNG_INTENSET = 1;
  uint32_t values[16], ticks[4];
  ticks[0] = ticks_after(&RNG_TASKS_START, 1, kRngIrq);
  uint32_t last = next_pending(kRngIrq);
  for (int i = 0; i < 16; ++i) {
    const uint32_t now = next_pending(kRngIrq);
    values[i] = RNG_VALUE;
    ticks[1] = now - last;
    last = now;
  }
  // Stopped and started: a whole period from there.
  RNG_TASKS_STOP = 1;
  RNG_SHORTS = 1;
  ticks[2] = ticks_after(&RNG_TASKS_START, 1, kRngIrq);
  RNG_EVENTS_VALRDY = 0;
  wait_for_a_value();
  printf("ticks %lu %lu %lu, behind the short %lu\n", (unsigned long)ticks[0],
         (unsigned long)ticks[1], (unsigned long)ticks[2], (unsigned long)RNG_EVENTS_VALRDY);

  TEMP_TASKS_START = 1;
  const uint32_t silent = TEMP_EVENTS_DATARDY;
  TEMP_INTENSET = 1;
  TEMP_TASKS_START = 1;
  const int pending = is_pending(kTempIrq);
  TEMP_EVENTS_DATARDY = 0;
  TEMP_INTENCLR = 1;
  printf("ready without interrupt %lu, with %d, cleared %lu, enabled %lu\n", (unsigned long)silent,
         pending, (unsigned long)TEMP_EVENTS_DATARDY, (unsigned long)TEMP_INTENSET);

  uint32_t all = 0;
  printf("numbers");
  for (int i = 0; i < 16; ++i) {
    const uint32_t temperature = TEMP_TEMP;
    printf(" %lu %lu", (unsigned long)values[i], (unsigned long)temperature);
    all |= values[i] | temperature;
  }
  printf("\n%s\n", all < 256 ? "bytes" : "NO BYTES");
  return 0;
}
