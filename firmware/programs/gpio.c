// GPIO and GPIOTE of one port, on a board that joins pins 0 and 4 by a short, and has an analog
// switch: address on pins 8 and 9, enable on 10, output on 12, its sources 1, 0, pin 13, 0.
#include "drivers/gpio.h"

#include <stdio.h>

#include "drivers/event_wait.h"
#include "drivers/ppi.h"
#include "drivers/timer.h"

enum { kBitTicks = 560 };

static void print(const char* what, unsigned count, const uint32_t* values) {
  printf("%s:", what);
  for (unsigned i = 0; i < count; ++i) printf(" %lx", (unsigned long)values[i]);
  printf("\n");
}
#define PRINT(what, ...) \
  print(what, sizeof((uint32_t[]){__VA_ARGS__}) / 4, (const uint32_t[]){__VA_ARGS__})

static void registers(void) {
  PRINT("after reset: in, out, pin_cnf", GPIO_IN(0), GPIO_OUT(0), GPIO_PIN_CNF(0, 31));

  // An output drives low at once, with the pull-down high; OUT counts from its next store on. IN
  // stands still while the pin is an output.
  uint32_t seen[3];
  GPIO_OUT(0) = 1u << 20;
  GPIO_PIN_CNF(0, 20) = GPIO_OUTPUT;
  seen[0] = gpio_read(0, 20);
  GPIO_PIN_CNF(0, 20) = GPIO_INPUT;
  seen[1] = gpio_read(0, 20);
  GPIO_PIN_CNF(0, 20) = GPIO_OUTPUT;
  GPIO_OUTSET(0) = 1u << 21;
  GPIO_PIN_CNF(0, 20) = GPIO_INPUT;
  seen[2] = gpio_read(0, 20);
  print("as output, released, after a store", 3, seen);
  GPIO_PIN_CNF(0, 20) = GPIO_OUTPUT | GPIO_PULL_DOWN;
  GPIO_PIN_CNF(0, 20) = GPIO_INPUT;
  seen[0] = gpio_read(0, 20);
  GPIO_PIN_CNF(0, 20) = GPIO_OUTPUT | GPIO_PULL_UP;
  GPIO_PIN_CNF(0, 20) = GPIO_INPUT;
  seen[1] = gpio_read(0, 20);
  print("released after pull-down, pull-up", 2, seen);

  PRINT("one word", GPIO_OUT(0), GPIO_OUTSET(0), GPIO_OUTCLR(0));
  GPIO_OUTCLR(0) = 3u << 20;
  GPIO_DIRSET(0) = 1u << 22;
  GPIO_OUTSET(0) = 1u << 22;
  PRINT("dirset is no direction: out, dir, in", GPIO_OUT(0), GPIO_DIR(0), gpio_read(0, 22));
  GPIO_OUT(0) = 0;
}

// Longer than the PPI takes, which brings the tasks of two close events together.
static void settle(void) {
  for (volatile int i = 0; i < 20; ++i) {
  }
}

// Pin 0 is high for that many ticks; an even number from 4 on.
static void pulse(uint32_t ticks) {
  uint32_t rounds = (ticks - 2) / 2;
  __asm volatile("str %2, [%1]\n\tnop\n\t1: subs %0, #1\n\tbne 1b\n\tstr %2, [%1, #4]"
                 : "+l"(rounds)
                 : "r"(&GPIO_OUTSET(0)), "r"(1)
                 : "cc", "memory");
}

// The pulse runs over the short to pin 4, whose edges capture TIMER1 by the PPI. Port events are
// enabled so that the channels are looked at; nothing else raises the interrupt.
static void pulses(void) {
  GPIOTE_CONFIG(0) = GPIOTE_EVENT(4, kRising);
  GPIOTE_CONFIG(1) = GPIOTE_EVENT(4, kFalling);
  GPIOTE_INTENSET = GPIOTE_INT_PORT;
  ppi_connect(0, &GPIOTE_EVENTS_IN(0), &TIMER_TASKS_CAPTURE(1, 0), 0);
  ppi_connect(1, &GPIOTE_EVENTS_IN(1), &TIMER_TASKS_CAPTURE(1, 1), 0);
  TIMER_BITMODE(1) = kBits32;
  TIMER_PRESCALER(1) = 0;
  TIMER_TASKS_START(1) = 1;
  GPIO_PIN_CNF(0, 0) = GPIO_OUTPUT;

  uint32_t counts[4];
  static const uint32_t kTicks[] = {8, 80, 800, 8000};
  printf("pulses in ticks:");
  for (unsigned i = 0; i < 4; ++i) {
    settle();
    pulse(kTicks[i]);
    settle();
    printf(" %lu", 4 * (unsigned long)(TIMER_CC(1, 1) - TIMER_CC(1, 0)));
  }
  printf("\n");
  PRINT("interrupt pending", is_pending(kGpioteIrq));

  // With no bit enabled no channel is looked at; a bit opens those below it too.
  GPIOTE_INTENCLR = ~0u;
  const uint32_t enables[] = {0, GPIOTE_INT_IN(0), GPIOTE_INT_IN(1), GPIOTE_INT_IN(7)};
  for (unsigned i = 0; i < 4; ++i) {
    GPIOTE_EVENTS_IN(0) = GPIOTE_EVENTS_IN(1) = 0;
    clear_pending(kGpioteIrq);
    GPIOTE_INTENSET = enables[i];
    pulse(10);
    counts[i] = GPIOTE_EVENTS_IN(0) << 8 | GPIOTE_EVENTS_IN(1) << 4 | is_pending(kGpioteIrq);
    GPIOTE_INTENCLR = ~0u;
  }
  print("enabled none, 0, 1, 7: in 0, in 1, interrupt", 4, counts);
  clear_pending(kGpioteIrq);
  GPIOTE_INTENSET = GPIOTE_INT_IN(1);
  PRINT("late enable raises", is_pending(kGpioteIrq));
  GPIOTE_INTENCLR = ~0u;
  GPIOTE_CONFIG(0) = GPIOTE_CONFIG(1) = 0;
  PPI_CHENCLR = ~0u;
}

// A start bit, the eight bits of each character and a stop bit, each of exactly 560 ticks.
static void bit_banged_uart(const char* text) {
  GPIO_OUTSET(0) = 1;
  for (volatile int i = 0; i < 1000; ++i) {
  }
  for (; *text != '\0'; ++text) {
    uint32_t bits = (uint32_t)*text << 1 | 1u << 9, count = 10;
    __asm volatile(
        "1: and r3, %0, #1\n\tstr r3, [%2]\n\tlsrs %0, %0, #1\n\tmovw r2, %3\n\t"
        "2: subs r2, #1\n\tbne 2b\n\tsubs %1, #1\n\tbne 1b"
        : "+l"(bits), "+l"(count)
        : "r"(&GPIO_OUT(0)), "i"((kBitTicks - 6) / 2)
        : "r2", "r3", "cc", "memory");
  }
}

// What `reader` reads: at first, while the other pin is high, and after that.
static uint32_t follows(unsigned driver, unsigned reader) {
  uint32_t seen = gpio_read(0, reader);
  GPIO_OUTSET(0) = 1u << driver;
  seen = seen << 4 | gpio_read(0, reader);
  GPIO_OUTCLR(0) = 1u << driver;
  return seen << 4 | gpio_read(0, reader);
}

static void short_from_its_other_side(void) {
  GPIO_PIN_CNF(0, 0) = GPIO_INPUT;
  GPIO_PIN_CNF(0, 4) = GPIO_OUTPUT;
  PRINT("short from its other side", follows(4, 0));
  GPIO_PIN_CNF(0, 4) = GPIO_INPUT;
  GPIO_PIN_CNF(0, 0) = GPIO_OUTPUT;
}

static void analog_switch(void) {
  enum { kEnable = 1 << 10, kSource3 = 2 << 8, kPin13 = 1 << 13 };
  uint32_t seen[4];
  for (unsigned pin = 8; pin <= 10; ++pin) GPIO_PIN_CNF(0, pin) = GPIO_OUTPUT;
  GPIO_PIN_CNF(0, 13) = GPIO_OUTPUT;
  for (unsigned source = 0; source < 4; ++source) {
    GPIO_OUT(0) = kEnable | source << 8 | kPin13;
    seen[source] = gpio_read(0, 12);
  }
  print("switched to 1, 2, 3, 4", 4, seen);

  GPIO_OUT(0) = kEnable | kSource3;
  seen[0] = follows(13, 12);
  GPIO_OUT(0) = kSource3;
  seen[1] = follows(13, 12);
  // On to source 1, in one store with a change of the source that is left.
  GPIO_OUT(0) = kEnable | kSource3 | kPin13;
  GPIO_OUT(0) = kEnable;
  seen[2] = gpio_read(0, 12);
  GPIO_OUT(0) = 0;
  GPIO_PIN_CNF(0, 13) = GPIO_INPUT;
  GPIO_PIN_CNF(0, 12) = GPIO_OUTPUT;
  GPIO_OUT(0) = kEnable | kSource3;
  seen[3] = follows(12, 13);
  print("through the switch: on, off, on to 1, back", 4, seen);
  GPIO_PIN_CNF(0, 12) = GPIO_INPUT;
}

// The port event at each level that is reported, on inputs only.
static void sense(void) {
  uint32_t seen[4];
  GPIOTE_INTENSET = GPIOTE_INT_PORT;
  GPIO_OUTCLR(0) = 1;
  for (unsigned i = 0; i < 4; ++i) {
    GPIO_PIN_CNF(0, 4) = i % 2 == 0 ? GPIO_SENSE_HIGH : GPIO_SENSE_LOW;
    GPIOTE_EVENTS_PORT = 0;
    clear_pending(kGpioteIrq);
    if (i < 2) {
      GPIO_OUTSET(0) = 1;
      seen[i] = GPIOTE_EVENTS_PORT << 4;
      GPIOTE_EVENTS_PORT = 0;
      GPIO_OUTCLR(0) = 1;
    } else {
      GPIO_PIN_CNF(0, 4) |= GPIO_OUTPUT;
      GPIO_OUTSET(0) = 1 << 4 | 1;
      GPIO_OUTCLR(0) = 1 << 4 | 1;
      seen[i] = 0;
    }
    seen[i] |= GPIOTE_EVENTS_PORT;
    seen[i] |= (uint32_t)is_pending(kGpioteIrq) << 8;
  }
  print("sense high, low, of an output high, low: interrupt, up, down", 4, seen);
}

int main(void) {
  registers();
  pulses();
  bit_banged_uart("exact!");
  short_from_its_other_side();
  analog_switch();
  sense();
  return 0;
}
