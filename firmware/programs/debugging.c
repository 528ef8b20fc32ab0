// What a debugger stops in: nested calls with locals, floating point, an interrupt handler that
// comes while main works, IT blocks, and a loop that never ends if ENDLESS says so.
#include <stdio.h>

#include "boot/startup.h"
#include "drivers/systick.h"

enum { kPeriodTicks = 997 };

typedef struct {
  int x, y;
} Point;

volatile uint32_t systicks;
volatile float scale = 1.5f;

static void count_systick(void) { systicks = systicks + 1; }

__attribute__((interrupt, noinline)) void systick_handler(void) { count_systick(); }

__attribute__((noinline)) static int innermost(int depth, const Point* point) {
  const int weighted = point->x * 100 + point->y + depth;
  return weighted;  // innermost stops here
}

__attribute__((noinline)) static int middle(int depth, Point point) {
  char name[] = "middle";
  point.x += name[0] == 'm';
  if (depth > 0) return middle(depth - 1, point) + 1;
  return innermost(depth, &point);
}

__attribute__((noinline)) static float scaled(float value) {
  const float doubled = value * 2.0f;
  return doubled * scale;  // scaled stops here
}

// A block of four instructions, the second and the third of which hold the condition for a < b.
// uint32_t(uint32_t a, uint32_t b): a + 16 for a < b, otherwise b - 1 + 4.
__attribute__((naked, noinline)) uint32_t chosen(__attribute__((unused)) uint32_t a,
                                                 __attribute__((unused)) uint32_t b) {
  __asm volatile(
      "cmp    r0, r1\n\t"
      "ittee  lo\n"
      "chosen_first:\n\t"
      "addlo  r0, #8\n"
      "chosen_second:\n\t"
      "addlo  r0, #8\n"
      "chosen_third:\n\t"
      "subhs  r0, r1, #1\n"
      "chosen_fourth:\n\t"
      "addhs  r0, #4\n\t"
      "bx     lr");
}

int main(void) {
  systick_start(kPeriodTicks);
  uint32_t total = 0;
  do {
    Point point = {3, 4};
    for (int round = 0; round < 40; ++round) {
      total += (uint32_t)middle(3, point);
      total += (uint32_t)(int)scaled((float)round);
      total += chosen((uint32_t)round, 20);
      point.y = round;
    }
  } while (ENDLESS);
  systick_stop();
  printf("total %lu\n", (unsigned long)total);
  printf("interrupts %s\n", systicks > 5 ? "came" : "DID NOT COME");
  return 0;
}
