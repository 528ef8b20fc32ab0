// Hands a code to the client of the control connection, and goes on when the client resumes; then
// forces a pin, and in the end one that the chip doesn't have.
#include "drivers/sudo.h"

#include <stdio.h>

#include "drivers/gpio.h"

int main(void) {
  GPIO_PIN_CNF(0, 12) = 0;  // input, connected
  printf("before\n");
  SUDO_TASKS_EXIT = 0;
  sudo_exit(42);
  printf("after\n");
  sudo_force_pin(12, 0);
  printf("pin %u", gpio_read(0, 12));
  SUDO_GPIO_VALUE = 8;
  SUDO_TASKS_APPLY_PIN = 0;
  printf(" %u", gpio_read(0, 12));
  SUDO_TASKS_APPLY_PIN = 1;
  printf(" %u\n", gpio_read(0, 12));
  sudo_force_pin(32, 1);
  printf("not reached\n");
  return 0;
}
