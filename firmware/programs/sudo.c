// Hands a code to the client of the control connection, and goes on when the client resumes.
#include "drivers/sudo.h"

#include <stdio.h>

int main(void) {
  printf("before\n");
  sudo_exit(42);
  printf("after\n");
  return 0;
}
