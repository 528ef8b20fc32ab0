// A light that walks over all pins of a port, one store and so one batch of changes a step, 64
// ticks apart. An output task at the end, of which there is no model, ends the run.
#include "drivers/gpio.h"

enum { kStepTicks = 64 };

int main(void) {
  for (unsigned pin = 0; pin < 32; ++pin) GPIO_PIN_CNF(0, pin) = GPIO_OUTPUT;
  uint32_t light = 1;
  __asm volatile(
      "1: str %0, [%1]\n\t.rept %c2 - 3\n\tnop\n\t.endr\n\t"
      "lsls %0, %0, #1\n\tbne 1b\n\tstr %0, [%1]"
      : "+l"(light)
      : "r"(&GPIO_OUT(0)), "i"(kStepTicks)
      : "cc", "memory");
  GPIOTE_TASKS_OUT(0) = 1;
  return 0;
}
