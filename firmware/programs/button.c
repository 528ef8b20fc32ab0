// A button at pin 11 that bounces, debounced by interrupts: each edge starts a timer anew, and 5 ms
// after the last one the level counts. A press toggles the light at pin 17. After two presses and
// releases the program sleeps until the pin's sense wakes it.
#include <stdio.h>

#include "boot/startup.h"
#include "drivers/gpio.h"
#include "drivers/timer.h"

enum { kButton = 11, kLight = 17, kCountsPerMs = 16000, kDebounceMs = 5 };

static volatile uint32_t edges, edge_ticks[16], presses, settled, wake_ups;

__attribute__((interrupt)) void gpiote_handler(void) {
  if (GPIOTE_EVENTS_PORT) {
    GPIOTE_EVENTS_PORT = 0;
    wake_ups = wake_ups + 1;
    return;
  }
  GPIOTE_EVENTS_IN(0) = 0;
  edge_ticks[edges % 16] = DWT_CYCCNT;
  edges = edges + 1;
  TIMER_TASKS_CLEAR(0) = 1;
  TIMER_TASKS_START(0) = 1;
}

__attribute__((interrupt)) void timer0_handler(void) {
  static uint32_t stable = 1;
  TIMER_EVENTS_COMPARE(0, 0) = 0;
  TIMER_TASKS_STOP(0) = 1;
  const uint32_t level = gpio_read(0, kButton);
  if (level == stable) return;
  stable = level;
  settled = settled + 1;
  if (level != 0) return;
  presses = presses + 1;
  if (presses % 2 != 0) {
    GPIO_OUTSET(0) = 1u << kLight;
  } else {
    GPIO_OUTCLR(0) = 1u << kLight;
  }
}

static void sleep_until(const volatile uint32_t* count, uint32_t wanted) {
  while (*count < wanted) __asm volatile("wfe");
}

int main(void) {
  GPIO_PIN_CNF(0, kLight) = GPIO_OUTPUT;
  GPIO_PIN_CNF(0, kButton) = GPIO_INPUT | GPIO_PULL_UP;
  TIMER_BITMODE(0) = kBits32;
  TIMER_PRESCALER(0) = 0;
  TIMER_CC(0, 0) = kDebounceMs * kCountsPerMs;
  TIMER_INTENSET(0) = TIMER_INT_COMPARE(0);
  GPIOTE_CONFIG(0) = GPIOTE_EVENT(kButton, kToggle);
  GPIOTE_INTENSET = GPIOTE_INT_IN(0);
  NVIC_ISER(0) = 1u << kGpioteIrq | 1u << kTimer0Irq;
  printf("ready\n");

  sleep_until(&settled, 4);
  printf("edges %lu, presses %lu, ticks between edges:", (unsigned long)edges,
         (unsigned long)presses);
  for (uint32_t i = 1; i < edges && i < 16; ++i) {
    printf(" %lu", (unsigned long)(edge_ticks[i] - edge_ticks[i - 1]));
  }
  printf("\n");

  GPIOTE_INTENCLR = GPIOTE_INT_IN(0);
  GPIO_PIN_CNF(0, kButton) = GPIO_INPUT | GPIO_PULL_UP | GPIO_SENSE_LOW;
  GPIOTE_INTENSET = GPIOTE_INT_PORT;
  const uint32_t asleep = DWT_CYCCNT;
  sleep_until(&wake_ups, 1);
  printf("woken after %lu ms\n", (unsigned long)((DWT_CYCCNT - asleep) / 64000));
  return 0;
}
