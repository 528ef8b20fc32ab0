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
