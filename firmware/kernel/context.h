// A task's context: what an exception stacks on the process stack, and below that the registers
// that it leaves. ARMv7-M ARM, B1.5.6 to B1.5.8. An exception's frame holds no floating-point
// registers here: all of them are saved, not only s16 to s31.
//     ... fpscr r4 - r11 EXC_RETURN   s0 - s31   r0 - r3 r12 lr pc xpsr
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

enum { kContextFrameWords = 8, kContextSavedWords = 10 + 32, kContextSavedLr = 9 };
enum { kReturnToMain = 0xFFFFFFF9, kReturnToTask = 0xFFFFFFFD };  // EXC_RETURN

// In a naked PendSV handler: CONTEXT_SAVE leaves the stack pointer of the running task in r0,
// CONTEXT_LOAD takes that of the next one there and returns. Four and five instructions.
#define CONTEXT_SAVE         \
  "mrs    r0, psp\n\t"       \
  "vstmdb r0!, {s0-s31}\n\t" \
  "vmrs   r1, fpscr\n\t"     \
  "stmdb  r0!, {r1, r4-r11, lr}\n\t"
#define CONTEXT_LOAD                 \
  "ldmia  r0!, {r1, r4-r11, lr}\n\t" \
  "vmsr   fpscr, r1\n\t"             \
  "vldmia r0!, {s0-s31}\n\t"         \
  "msr    psp, r0\n\t"               \
  "bx     lr"

// In a naked SVCall handler: calls uint32_t serve(uint32_t* frame, uint32_t exc_return), whose
// result is the EXC_RETURN value to leave with.
#define CONTEXT_SERVE(serve) \
  "tst   lr, #4\n\t"         \
  "ite   eq\n\t"             \
  "mrseq r0, msp\n\t"        \
  "mrsne r0, psp\n\t"        \
  "mov   r1, lr\n\t"         \
  "bl    " #serve            \
  "\n\t"                     \
  "bx    r0"

// The number of a supervisor call stands in the instruction before the stacked pc.
static inline uint32_t context_call_number(const uint32_t* frame) {
  return ((const uint8_t*)frame[6])[-2];
}

// The stack pointer of a task that is to begin at `entry` with `argument` in r0.
static inline uint32_t* context_prepare(uint32_t* stack, size_t stack_words, uint32_t entry,
                                        uint32_t argument) {
  uint32_t* const frame = stack + stack_words - kContextFrameWords;
  uint32_t* const stack_pointer = frame - kContextSavedWords;
  memset(stack_pointer, 0, 4 * (kContextSavedWords + kContextFrameWords));
  stack_pointer[kContextSavedLr] = kReturnToTask;
  frame[0] = argument;
  frame[6] = entry;
  frame[7] = 1u << 24;  // xPSR.T
  return stack_pointer;
}

// For the supervisor call that begins the first task; main's context stays on the main stack.
static inline uint32_t context_begin(const uint32_t* stack_pointer) {
  __asm volatile("msr psp, %0" : : "r"(stack_pointer + kContextSavedWords));
  return kReturnToTask;
}

// In main: makes that call, and goes on when another one returns to main, with the registers of
// whichever task made it.
static inline void context_leave_main(void) {
  __asm volatile("push {r4-r11}\n\tvpush {d8-d15}\n\tsvc #0\n\tvpop {d8-d15}\n\tpop {r4-r11}"
                 :
                 :
                 : "r0", "r1", "r2", "r3", "r12", "lr", "s0", "s1", "s2", "s3", "s4", "s5", "s6",
                   "s7", "s8", "s9", "s10", "s11", "s12", "s13", "s14", "s15", "cc", "memory");
}
