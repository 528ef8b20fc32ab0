// When an interrupt becomes pending, to the tick. wfe ends at that very tick, whether or not the
// line is enabled, but only if the line was not pending before. It leaves the event latch set,
// which the second wfe consumes.
#pragma once

#include "drivers/registers.h"

static inline int is_pending(unsigned line) { return NVIC_ISPR(line / 32) >> line % 32 & 1; }
static inline void clear_pending(unsigned line) { NVIC_ICPR(line / 32) = 1u << line % 32; }

// Clears the latch of wfe, which a line that became pending before may have set.
static inline void forget_event(unsigned line) {
  clear_pending(line);
  NVIC_ISPR(line / 32) = 1u << line % 32;
  __asm volatile("wfe" ::: "memory");
}

// Ticks from a store into the task until the line becomes pending; at least 4.
static inline uint32_t ticks_after(volatile uint32_t* task, uint32_t value, unsigned line) {
  uint32_t before, after;
  clear_pending(line);
  __asm volatile("ldr %0, [%2]\n\tstr %4, [%3]\n\twfe\n\tldr %1, [%2]\n\twfe"
                 : "=&r"(before), "=&r"(after)
                 : "r"(&DWT_CYCCNT), "r"(task), "r"(value)
                 : "memory");
  return after - 1 - (before + 1);
}

// The tick at which the line becomes pending next.
static inline uint32_t next_pending(unsigned line) {
  uint32_t after;
  clear_pending(line);
  __asm volatile("wfe\n\tldr %0, [%1]\n\twfe" : "=&r"(after) : "r"(&DWT_CYCCNT) : "memory");
  return after - 1;
}

// Stores 1 into the first task and, `ticks` later, into the second. A constant from 1 on.
#define STORE_AFTER(first, ticks, second)                                                      \
  __asm volatile("str %2, [%0]\n\t.rept %c3 - 1\n\tnop\n\t.endr\n\tstr %2, [%1]" ::"r"(first), \
                 "r"(second), "r"(1), "i"(ticks)                                               \
                 : "memory")
