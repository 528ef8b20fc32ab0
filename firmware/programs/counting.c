// SysTick without its interrupt, and more instructions of one tick each: what COUNTFLAG, the
// current value and the cycle counter read, to the tick. ARMv7-M ARM, B3.3 and C1.8.
#include <stdio.h>

#include "boot/startup.h"
#include "drivers/registers.h"
#include "drivers/systick.h"

enum { kReload = 1000, kMeasured = 8 };

#define SYST_BASE 0xE000E010u
#define DWT_BASE 0xE0001000u

// r4 holds the base of SysTick, r5 of the cycle counter, r6 the address of the numbers that are
// measured. Each line of the text is one instruction.
#define MEASURE(text)               \
  __asm volatile(text               \
                 : "+r"(r6)         \
                 : "r"(r4), "r"(r5) \
                 : "r0", "r1", "r2", "r3", "r8", "lr", "s0", "s1", "cc", "memory")
#define MEASURE_REGISTERS                       \
  register uint32_t r4 __asm("r4") = SYST_BASE; \
  register uint32_t r5 __asm("r5") = DWT_BASE;  \
  register uint32_t* r6 __asm("r6") = measured

static uint32_t measured[kMeasured];

static void print(const char* name, int count) {
  printf("%s:", name);
  for (int i = 0; i < count; ++i) printf(" %lu", (unsigned long)measured[i]);
  printf("\n");
}

// A loop of three ticks from the tick of the start on: it looks at 1, 4, 7 ... 1000, 1003 ... after
// it. CSR is read once more each time.
static void poll(void) {
  SYST_RVR = kReload;
  MEASURE_REGISTERS;
  MEASURE(
      "mov   r1, #5\n\t"  // CLKSOURCE, ENABLE
      "ldr   r0, [r5, #4]\n\t"
      "str   r1, [r4]\n\t"  // one tick after r0
      "1: ldr r2, [r4]\n\t"
      "tst   r2, #0x10000\n\t"
      "beq   1b\n\t"
      "ldr   r3, [r4]\n\t"
      "ldr   r8, [r5, #4]\n\t"
      "sub   r8, r8, r0\n\t"
      "ubfx  r2, r2, #16, #1\n\t"
      "ubfx  r3, r3, #16, #1\n\t"
      "stmia r6!, {r2, r3, r8}\n\t"
      "2: ldr r2, [r4]\n\t"
      "tst   r2, #0x10000\n\t"
      "beq   2b\n\t"
      "ldr   r8, [r5, #4]\n\t"
      "sub   r8, r8, r0\n\t"
      "stmia r6!, {r8}");
  SYST_CSR = 4;
  print("flag, flag again, ticks of two wraps", 4);
}

// Writing the current value starts the reading anew and leaves the next wrap where it was; a new
// reload value counts for reading at once, for the wrap from the next one on. Both deliberate.
static void count_down(void) {
  SYST_RVR = kReload;
  MEASURE_REGISTERS;
  MEASURE(
      "mov   r1, #5\n\t"
      "str   r1, [r4]\n\t"
      "ldr   r0, [r5, #4]\n\t"  // one tick after the start
      "ldr   r1, [r4, #8]\n\t"
      "nop\n\t"
      "ldr   r2, [r4, #8]\n\t"
      "str   r2, [r4, #8]\n\t"
      "ldr   r3, [r4, #8]\n\t"
      "stmia r6!, {r1, r2, r3}\n\t"
      "mov   r1, #500\n\t"
      "str   r1, [r4, #4]\n\t"
      "1: ldr r2, [r4]\n\t"
      "tst   r2, #0x10000\n\t"
      "beq   1b\n\t"
      "ldr   r8, [r5, #4]\n\t"
      "sub   r8, r8, r0\n\t"
      "2: ldr r2, [r4]\n\t"
      "tst   r2, #0x10000\n\t"
      "beq   2b\n\t"
      "ldr   r3, [r5, #4]\n\t"
      "sub   r3, r3, r0\n\t"
      "stmia r6!, {r3, r8}");
  SYST_CSR = 4;
  print("current values, ticks of the wraps", 5);
}

// Switched off before the wrap and on again: a whole period from then on.
static void stop_and_start(void) {
  SYST_RVR = kReload;
  MEASURE_REGISTERS;
  MEASURE(
      "mov   r1, #5\n\t"
      "mov   r2, #4\n\t"
      "mov   r8, #300\n\t"
      "str   r1, [r4]\n\t"
      "1: subs r8, r8, #1\n\t"
      "bne   1b\n\t"
      "str   r2, [r4]\n\t"
      "nop\n\t"
      "ldr   r0, [r5, #4]\n\t"
      "str   r1, [r4]\n\t"
      "2: ldr r2, [r4]\n\t"
      "tst   r2, #0x10000\n\t"
      "beq   2b\n\t"
      "ldr   r8, [r5, #4]\n\t"
      "sub   r8, r8, r0\n\t"
      "stmia r6!, {r8}");
  SYST_CSR = 4;
  print("wrap after stop and start", 1);
}

// Ticks between two readings of the counter, the second included: one more than the instructions.
#define TICKS_OF(n, text)             \
  MEASURE("ldr r8, [r5, #4]\n\t" text \
          "\n\tldr r0, [r5, #4]\n\tsub r0, r0, r8\n\tstr r0, [r6, #4*" #n "]")

__attribute__((naked)) void svcall_handler(void) { __asm volatile("bx lr"); }

static void instructions(void) {
  MEASURE_REGISTERS;
  TICKS_OF(0, "bl 1f\n\tb 2f\n\t1: bx lr\n\t2:");
  TICKS_OF(
      1, "cmp r4, r5\n\tittee eq\n\tmoveq r0, #1\n\tmoveq r1, #1\n\tmovne r2, #1\n\tmovne r3, #1");
  TICKS_OF(2, "vmov s0, r4\n\tvcvt.f32.u32 s0, s0\n\tvdiv.f32 s1, s0, s0\n\tvsqrt.f32 s1, s1");
  TICKS_OF(3, "ldmia sp, {r0-r3}\n\tldr r0, [r4, #12]\n\tldrd r0, r1, [sp]\n\tldr r0, [sp, #1]");
  TICKS_OF(4, "svc #0");
  TICKS_OF(5, "wfi\n\tsev\n\tdsb\n\tisb");
  print("call, it, float, load, svc, hints", 6);
}

int main(void) {
  poll();
  count_down();
  stop_and_start();
  instructions();
  return 0;
}
