// An interrupt at each instruction of IT blocks that are executed for the first time, by a handler
// that is too: neither may take the other's conditions. ARMv7-M ARM, A7.3 (IT state), B1.5.6 (its
// saving at exception entry).
// Blocks and handlers are assembled once for each run, so that no run meets code of an earlier one.
#include <stdio.h>

#include "boot/startup.h"
#include "drivers/systick.h"

// Ticks of SysTick: so many that the handler has stopped it before it comes again, and up to one
// that comes behind the block.
enum { kShortest = 6, kLongest = 36 };
enum { kInputs = 3, kRuns = (kLongest - kShortest + 2) * kInputs };
enum { kStride = 64, kBlockInstructions = 20 };

static volatile uint32_t interrupted_at __attribute__((used));
static volatile uint32_t handled __attribute__((used));
static volatile uint32_t vectors[16] __attribute__((aligned(256)));

// uint32_t block(uint32_t). Narrow and wide instructions, blocks that hold, that don't, and both;
// behind each a narrow instruction that sets flags, as it wouldn't inside a block.
__attribute__((naked, aligned(64))) static void blocks(void) {
  __asm volatile(
      ".rept %c0\n\t"
      ".balign %c1\n\t"
      "cmp    r0, #5\n\t"
      "itete  lo\n\t"
      "movlo  r1, #1\n\t"
      "movwhs r1, #0x100\n\t"
      "addlo  r1, r1, #4\n\t"
      "orrhs  r1, r1, #0x1000\n\t"
      "subs   r2, r0, #3\n\t"
      "ite    eq\n\t"
      "moveq  r2, #7\n\t"
      "addne  r2, r2, #9\n\t"
      "lsls   r2, r2, #16\n\t"
      "itttt  ne\n\t"
      "addne  r1, r1, r2\n\t"
      "eorne  r1, r1, #0x80000000\n\t"
      "lslne  r1, r1, #1\n\t"
      "addne  r1, #3\n\t"
      "it     eq\n\t"
      "moveq  r1, #0\n\t"
      "mov    r0, r1\n\t"
      "bx     lr\n\t"
      ".endr" ::"i"(kRuns), "i"(kStride));
}

// Stops SysTick, notes where it came, and adds 3 to handled.
__attribute__((naked, aligned(64))) static void handlers(void) {
  __asm volatile(
      ".rept %c0\n\t"
      ".balign %c1\n\t"
      "movs   r0, #4\n\t"
      "movw   r3, #0xE010\n\t"  // SYST_CSR
      "movt   r3, #0xE000\n\t"
      "str    r0, [r3]\n\t"
      "ldr    r0, [sp, #24]\n\t"
      "movw   r3, #:lower16:interrupted_at\n\t"
      "movt   r3, #:upper16:interrupted_at\n\t"
      "str    r0, [r3]\n\t"
      "movw   r3, #:lower16:handled\n\t"
      "movt   r3, #:upper16:handled\n\t"
      "ldr    r0, [r3]\n\t"
      "movs   r1, #1\n\t"
      "subs   r1, #1\n\t"
      "ite    eq\n\t"
      "addeq  r0, #3\n\t"
      "addne  r0, #64\n\t"
      "str    r0, [r3]\n\t"
      "bx     lr\n\t"
      ".endr" ::"i"(kRuns), "i"(kStride));
}

static uint32_t copy_of(void (*code)(void), int run) {
  return (uint32_t)code + kStride * (uint32_t)run;
}

// With an interrupt after so many ticks of SysTick, 0 for none.
static uint32_t run_block(int run, uint32_t input, uint32_t period) {
  uint32_t (*const block)(uint32_t) = (uint32_t(*)(uint32_t))copy_of(blocks, run);
  vectors[15] = copy_of(handlers, run);
  interrupted_at = 0;
  SYST_RVR = period;
  if (period != 0) SYST_CSR = 7;
  __asm volatile("nop\n\tnop\n\tnop\n\tnop\n\tnop\n\tnop");
  const uint32_t result = block(input);
  SYST_CSR = 4;
  return result;
}

int main(void) {
  static const uint32_t inputs[kInputs] = {3, 9, (uint32_t)-6};
  uint32_t undisturbed[kInputs];
  uint32_t inside = 0, wrong = 0, places = 0;
  VTOR = (uint32_t)vectors;
  int run = 0;
  for (int i = 0; i < kInputs; ++i) {
    undisturbed[i] = run_block(run++, inputs[i], 0);
    printf("block(%ld) = %08lx\n", (long)inputs[i], (unsigned long)undisturbed[i]);
  }
  for (uint32_t period = kShortest; period <= kLongest; ++period) {
    for (int i = 0; i < kInputs; ++i) {
      const uint32_t start = copy_of(blocks, run) & ~1u, handled_before = handled;
      const uint32_t result = run_block(run++, inputs[i], period);
      const uint32_t offset = (interrupted_at & ~1u) - start;
      if (offset < kStride) {
        ++inside;
        places |= 1u << (offset / 2);
      }
      const uint32_t interrupts = interrupted_at == 0 ? 0 : 1;
      if (result != undisturbed[i] || handled - handled_before != 3 * interrupts) ++wrong;
    }
  }
  printf("interrupts inside %lu, at %d of %d instructions, wrong %lu\n", (unsigned long)inside,
         __builtin_popcount(places), kBlockInstructions, (unsigned long)wrong);
  return 0;
}
