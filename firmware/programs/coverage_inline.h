// A function that is inlined, in a file of its own. The words at the ends of lines are those of
// coverage.c.
#pragma once

static volatile unsigned above, below;

// Not more than the limit: a < b && "c" > 'd' in a source.
static inline __attribute__((always_inline)) unsigned clamp(unsigned value, unsigned limit) {  // any
  if (value > limit) {  // ran
    above = value;  // ran
    value = limit;  // ran
  } else {
    below = value;  // any
  }
  return value;  // ran
}  // any
