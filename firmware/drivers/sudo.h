// The simulator's own block, through which firmware reaches the simulation. A real chip has nothing
// at its address.
#pragma once

#include "drivers/registers.h"

// Reports the code to the client of the control connection and pauses until the client resumes.
// Without a client nobody resumes.
static inline void sudo_exit(uint32_t code) {
  SUDO_EXIT_CODE = code;
  SUDO_TASKS_EXIT = 1;
}

// Gives a pin of port 0 the level, as something on the board would.
static inline void sudo_force_pin(unsigned pin, unsigned level) {
  SUDO_GPIO_PIN = pin;
  SUDO_GPIO_VALUE = level;
  SUDO_TASKS_APPLY_PIN = 1;
}
