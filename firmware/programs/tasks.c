// Two tasks on stacks of their own: started by a supervisor call, switched by PendSV, ended by
// another supervisor call that returns to main on the main stack. First they hand over to each
// other, then SysTick switches them in the middle of integer and float computations.
#include <stdio.h>
#include <string.h>

#include "boot/startup.h"
#include "drivers/registers.h"
#include "drivers/systick.h"
#include "kernel/context.h"

enum { kStackWords = 512 };
enum { kStart, kFinish, kTwicePlusOne, kNest };  // supervisor calls

#define ICSR_NMIPENDSET (1u << 31)

static uint32_t stacks[2][kStackWords] __attribute__((aligned(8)));
static uint32_t* stack_pointers[2] __attribute__((used));
static volatile uint32_t current __attribute__((used));
static uint32_t nested;

// Sixteen instructions.
__attribute__((naked)) void pendsv_handler(void) {
  __asm volatile(CONTEXT_SAVE
                 "ldr r2, =stack_pointers\n\t"
                 "ldr r3, =current\n\t"
                 "ldr r1, [r3]\n\t"
                 "str r0, [r2, r1, lsl #2]\n\t"
                 "eor r1, r1, #1\n\t"
                 "str r1, [r3]\n\t"
                 "ldr r0, [r2, r1, lsl #2]\n\t" CONTEXT_LOAD);
}

__attribute__((naked)) void systick_handler(void) {
  __asm volatile(
      "ldr r0, =0xE000ED04\n\t"  // ICSR
      "mov r1, #0x10000000\n\t"  // PENDSVSET
      "str r1, [r0]\n\t"
      "bx  lr");
}

__attribute__((interrupt)) void nmi_handler(void) { nested = nested + 1; }

// The argument of a call and its result are the stacked r0.
__attribute__((used)) static uint32_t serve(uint32_t* frame, uint32_t exc_return) {
  switch (context_call_number(frame)) {
    case kStart:
      return context_begin(stack_pointers[0]);
    case kFinish:
      return kReturnToMain;
    case kTwicePlusOne:
      frame[0] = 2 * frame[0] + 1;
      return exc_return;
    default:
      ICSR = ICSR_NMIPENDSET;
      return exc_return;
  }
}

__attribute__((naked)) void svcall_handler(void) { __asm volatile(CONTEXT_SERVE(serve)); }

static void run_tasks(void (*entry)(uint32_t)) {
  for (uint32_t n = 0; n < 2; ++n) {
    stack_pointers[n] = context_prepare(stacks[n], kStackWords, (uint32_t)entry, n);
  }
  current = 0;
  context_leave_main();
}

static void finish(void) { __asm volatile("svc %0" ::"i"(kFinish) : "memory"); }

static uint32_t twice_plus_one(uint32_t value) {
  register uint32_t r0 __asm("r0") = value;
  __asm volatile("svc %1" : "+r"(r0) : "i"(kTwicePlusOne) : "memory");
  return r0;
}

// --- Handing over --------------------------------------------------------------------------------

static uint32_t left[2][2], resumed[2][2], saved_lr[2], answer;

// Pends the switch; notes the tick before that and the tick of the first instruction afterwards.
#define YIELD(task, n)                                               \
  __asm volatile("ldr %0, [%2]\n\tstr %4, [%3]\n\tldr %1, [%2]"      \
                 : "=&r"(left[task][n]), "=&r"(resumed[task][n])     \
                 : "r"(&DWT_CYCCNT), "r"(&ICSR), "r"(ICSR_PENDSVSET) \
                 : "memory")

static void hand_over(uint32_t task) {
  if (task == 0) {
    answer = twice_plus_one(20);
    YIELD(0, 0);
    saved_lr[0] = stack_pointers[1][kContextSavedLr];
    YIELD(0, 1);
    saved_lr[1] = stack_pointers[1][kContextSavedLr];
    __asm volatile("svc %0" ::"i"(kNest) : "memory");
    finish();
  }
  __asm volatile("vadd.f32 s0, s0, s0" ::: "s0");
  YIELD(1, 0);
  YIELD(1, 1);
}

// --- Preempted -----------------------------------------------------------------------------------

enum { kSliceTicks = 997, kRounds = 3000 };

typedef struct {
  uint64_t integers;
  float floats[4];
} Digest;
static Digest digests[2];
static volatile uint32_t done[2];

// Flags, conditional execution, 64-bit products and quotients, and float registers in between.
static Digest compute(uint32_t seed) {
  Digest digest = {0x0123456789ABCDEFu + seed, {1.0f, 0.5f, 0.25f, (float)seed}};
  for (uint32_t i = 1; i <= kRounds; ++i) {
    digest.integers = digest.integers * 6364136223846793005u + i;
    if (digest.integers & 0x10) digest.integers ^= digest.integers % i;
    digest.floats[i % 4] += (float)i / (digest.floats[(i + 1) % 4] + 3.0f);
    if (digest.floats[i % 4] > 1000.0f) digest.floats[i % 4] *= 0.001f;
  }
  return digest;
}

static void compute_until_both_are_done(uint32_t task) {
  digests[task] = compute(task);
  done[task] = 1;
  while (!done[1 - task]) {
  }
  finish();
}

int main(void) {
  SHPR2 = 0xC0000000;  // SVCall
  SHPR3 = 0x40E00000;  // SysTick, PendSV

  run_tasks(hand_over);
  printf("answer %lu, nested %lu\n", (unsigned long)answer, (unsigned long)nested);
  printf("switches of %lu and %lu ticks\n", (unsigned long)(resumed[0][0] - left[1][0]),
         (unsigned long)(resumed[1][0] - left[0][1]));
  printf("exc_return after floats %08lx, at the next switch %08lx\n", (unsigned long)saved_lr[0],
         (unsigned long)saved_lr[1]);

  const Digest undisturbed[2] = {compute(0), compute(1)};
  const uint32_t start = DWT_CYCCNT;
  systick_start(kSliceTicks);
  run_tasks(compute_until_both_are_done);
  systick_stop();
  const uint32_t slices = (DWT_CYCCNT - start) / kSliceTicks;
  for (int i = 0; i < 2; ++i) {
    printf("task %d: integers %s, floats %s\n", i,
           digests[i].integers == undisturbed[i].integers ? "undisturbed" : "DISTURBED",
           memcmp(digests[i].floats, undisturbed[i].floats, sizeof digests[i].floats) == 0
               ? "undisturbed"
               : "DISTURBED");
  }
  printf("more than 100 slices: %s\n", slices > 100 ? "yes" : "NO");
  return 0;
}
