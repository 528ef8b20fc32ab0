// Ten million ticks of the kernel: a monitor compares each of its wake-ups with the cycle counter,
// a producer and a consumer share a queue, a task times out at an empty one, and two workers of one
// priority compute in turns. What is printed depends on virtual time only.
#include <stdio.h>
#include <string.h>

#include "drivers/registers.h"
#include "kernel/kernel.h"

enum { kPeriodTicks = 1000, kStackWords = 256 };
enum { kMonitorPeriod = 10, kMonitored = 1000, kProducerPeriod = 3, kTimeout = 7 };

static KernelQueue items, empty;
static uint32_t item_buffer[8], empty_buffer[1];
static uint32_t first_origin, last_wrap, first_wrap, late_wraps, wraps;
static uint32_t sent, received, out_of_order, received_sum, fullest;
static uint32_t timeouts, inexact_timeouts;
static volatile uint32_t rounds[2], wrong_rounds;

// The tick of SysTick's last wrap: the counter's value tells how long ago it was.
static uint32_t last_wrap_tick(void) {
  uint32_t tick, value;
  __asm volatile("ldr %0, [%2]\n\tldr %1, [%3]"
                 : "=&r"(tick), "=&r"(value)
                 : "r"(&DWT_CYCCNT), "r"(&SYST_CVR)
                 : "memory");
  return tick + 1 - (kPeriodTicks - value);
}

static void monitor(void* unused) {
  (void)unused;
  uint32_t last = kernel_now();
  for (uint32_t n = 0; n <= kMonitored; ++n) {
    kernel_delay_until(&last, kMonitorPeriod);
    last_wrap = last_wrap_tick();
    const uint32_t origin = last_wrap - kernel_now() * kPeriodTicks;
    if (n == 0) {
      first_wrap = last_wrap;
      first_origin = origin;
    }
    if (origin != first_origin || kernel_now() != last) late_wraps = late_wraps + 1;
    wraps = wraps + 1;
  }
  kernel_stop();
}

static void producer(void* unused) {
  (void)unused;
  uint32_t last = kernel_now();
  for (;;) {
    kernel_delay_until(&last, kProducerPeriod);
    kernel_send(&items, &sent, KERNEL_FOREVER);
    sent = sent + 1;
  }
}

// Sleeps now and then, so that the queue fills up.
static void consumer(void* unused) {
  (void)unused;
  for (;;) {
    if (items.count > fullest) fullest = items.count;
    uint32_t item;
    kernel_receive(&items, &item, KERNEL_FOREVER);
    if (item != received) out_of_order = out_of_order + 1;
    received = received + 1;
    received_sum = (received_sum ^ item) * 16777619u;
    if (received % 64 == 0) kernel_delay(40);
  }
}

static void times_out(void* unused) {
  (void)unused;
  for (;;) {
    const uint32_t before = kernel_now();
    uint32_t item;
    kernel_receive(&empty, &item, kTimeout);
    timeouts = timeouts + 1;
    if (kernel_now() - before != kTimeout) inexact_timeouts = inexact_timeouts + 1;
  }
}

typedef struct {
  uint64_t integer;
  float value;
} Result;

static Result compute(uint32_t seed) {
  Result result = {seed, (float)seed};
  for (uint32_t i = 1; i < 200; ++i) {
    result.integer = result.integer * 6364136223846793005u + i;
    if (result.integer & 8) result.integer ^= result.integer / i;
    result.value = (result.value + (float)i) / (1.0f + result.value * 0.125f);
  }
  return result;
}

static Result expected[2];

static void worker(void* argument) {
  const uint32_t n = (uint32_t)argument;
  for (;; rounds[n] = rounds[n] + 1) {
    const Result result = compute(n + 1);
    if (result.integer != expected[n].integer ||
        memcmp(&result.value, &expected[n].value, sizeof result.value) != 0) {
      wrong_rounds = wrong_rounds + 1;
    }
  }
}

int main(void) {
  static const struct {
    void (*entry)(void*);
    uint32_t argument;
    uint8_t priority;
  } tasks[] = {{monitor, 0, 7},  {times_out, 0, 6}, {producer, 0, 5},
               {consumer, 0, 4}, {worker, 0, 2},    {worker, 1, 2}};
  enum { kTasks = sizeof tasks / sizeof *tasks };
  static KernelTask records[kTasks];
  static uint32_t stacks[kTasks][kStackWords] __attribute__((aligned(8)));

  for (uint32_t n = 0; n < 2; ++n) expected[n] = compute(n + 1);
  kernel_queue_init(&items, item_buffer, sizeof *item_buffer, 8);
  kernel_queue_init(&empty, empty_buffer, sizeof *empty_buffer, 1);
  for (int n = 0; n < kTasks; ++n) {
    kernel_create(&records[n], tasks[n].entry, (void*)tasks[n].argument, stacks[n], kStackWords,
                  tasks[n].priority);
  }
  kernel_start(kPeriodTicks);

  printf("%lu wake-ups over %lu ticks, %lu of them off\n", (unsigned long)wraps,
         (unsigned long)(last_wrap - first_wrap), (unsigned long)late_wraps);
  printf("sent %lu, received %lu, out of order %lu, sum %08lx, up to %lu waiting\n",
         (unsigned long)sent, (unsigned long)received, (unsigned long)out_of_order,
         (unsigned long)received_sum, (unsigned long)fullest);
  printf("timeouts %lu, inexact %lu\n", (unsigned long)timeouts, (unsigned long)inexact_timeouts);
  const uint32_t more = rounds[0] > rounds[1] ? rounds[0] : rounds[1];
  const uint32_t fewer = rounds[0] + rounds[1] - more;
  printf("workers: wrong rounds %lu, equal shares: %s\n", (unsigned long)wrong_rounds,
         fewer > 100 && more - fewer <= more / 10 ? "yes" : "NO");
  return 0;
}
