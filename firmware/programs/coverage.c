// For the code coverage. A comment at the end of a line says what becomes of its code: "ran" or
// "not"; or "any" where that depends on the compiler, which passes over it in an IT block, or makes
// no code for it. Lines without have none. The tests compare reports with these words. The program
// stands by itself, and ends at 0x100 in done().
#include "coverage_inline.h"
#include "drivers/registers.h"

static volatile unsigned ticks, sink;
static volatile unsigned zero;

__attribute__((noinline)) static unsigned classify(unsigned value) {  // ran
  if (value == 0) {  // ran
    return 10;  // ran
  } else if (value == 77) {  // ran
    sink = 1;  // not
    return 11;  // not
  }
  switch (value) {  // ran
    case 1: sink = 2; break;  // ran
    case 2: sink = 3; break;  // not
    default: sink = 4;  // not
  }
  return sink;  // ran
}  // ran

__attribute__((noinline)) static unsigned count(unsigned rounds) {  // ran
  unsigned sum = 0;  // ran
  for (unsigned i = 0; i < rounds; ++i) {  // ran
    sink = i;  // not
    sum += sink;  // not
  }
  return sum;  // ran
}  // ran

// Kept in the image by the table below.
__attribute__((noinline)) static unsigned never(unsigned value) {  // not
  sink = value;  // not
  return sink + 1;  // not
}  // not

// Nobody calls it, and the linker drops it: its code stands nowhere, and must not take that of
// others for its own. Its rows begin at address 0 and reach into the code of the image.
unsigned dropped(unsigned value) {  // not
  for (unsigned i = 0; i < 100; ++i) {  // not
    sink = sink * 3 + value;  // not
    sink = sink ^ (sink >> 3) ^ i;  // not
    sink = sink / (value + 1) + i % 7;  // not
    sink = sink * 3 + value;  // not
    sink = sink ^ (sink >> 3) ^ i;  // not
    sink = sink / (value + 1) + i % 7;  // not
    sink = sink * 3 + value;  // not
    sink = sink ^ (sink >> 3) ^ i;  // not
    sink = sink / (value + 1) + i % 7;  // not
    sink = sink * 3 + value;  // not
    sink = sink ^ (sink >> 3) ^ i;  // not
    sink = sink / (value + 1) + i % 7;  // not
    sink = sink * 3 + value;  // not
    sink = sink ^ (sink >> 3) ^ i;  // not
    sink = sink / (value + 1) + i % 7;  // not
    sink = sink * 3 + value;  // not
    sink = sink ^ (sink >> 3) ^ i;  // not
    sink = sink / (value + 1) + i % 7;  // not
  }
  return sink;  // not
}  // not

static unsigned (*volatile const table[])(unsigned) = {classify, never, count};

void systick_handler(void) {  // ran
  ticks = ticks + 1;  // ran
  if (ticks == 1000) {  // ran
    sink = 5;  // any
  }
  SYST_CSR = 0;  // ran
}  // ran

void pendsv_handler(void) {  // not
  sink = 6;  // not
}  // not

int main(void) {  // ran
  unsigned result = clamp(zero + 5, 3);  // ran
  result += table[zero](zero);  // ran
  result += classify(zero + 1);  // ran
  result += table[zero + 2](zero);  // ran
  SYST_RVR = 100;  // ran
  SYST_CVR = 0;  // ran
  SYST_CSR = 3;  // ran
  while (ticks == 0) {  // ran
  }  // any
  return result == 15 ? 0 : 1;  // ran
}  // any

// The stop point stands before its first instruction.
__attribute__((section(".done"), used, noinline)) void done(int status) {  // not
  sink = (unsigned)status;  // not
  for (;;) {  // not
  }  // any
}

void reset(void) {  // ran
  zero = ticks = 0;  // ran
  done(main());  // ran
}  // not

__attribute__((section(".vectors"), used)) void (*const vectors[16])(void) = {
    (void (*)(void))0x20010000, reset, [14] = pendsv_handler, [15] = systick_handler};
