// Never ends: says that it is there, then runs (0), waits for an event that never comes (1), or
// prints for ever (2), by WAIT.
#include <stdio.h>

int main(void) {
  printf("waiting\n");
  for (unsigned long line = 0;; ++line) {
#if WAIT == 1
    __asm volatile("wfe");
#elif WAIT == 2
    printf("line %lu of a text without end\n", line);
#endif
  }
}
