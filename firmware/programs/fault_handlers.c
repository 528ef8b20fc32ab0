// Each kind of fault, taken by its own handler when that is enabled and by the HardFault handler
// when it is not. With ESCAPE the program ends in a fault that nobody takes: of the kind of that
// number, its own handler enabled but absent if ESCAPE is 10 higher. ARMv7-M ARM, B1.5.14, B3.2.
#include <stdio.h>

#include "boot/startup.h"
#include "drivers/registers.h"

enum { kMemory, kBus, kUsage, kDivision, kKinds, kNotEnabled = 0, kEnabled = 10 };

#define SHCSR_ALL_ENABLED (7u << 16)

// The probes: a fault in the first instruction. Those whose pc does not move on are left by their
// handler, see below.
__attribute__((naked)) static void read_nowhere(void) {
  __asm volatile("mov r0, #0x30000000\n\tldr r1, [r0]\n\tnop\n\tbx lr");
}
__attribute__((naked)) static void run_nowhere(void) {
  __asm volatile("mov r0, #0x30000000\n\tbx r0");
}
__attribute__((naked)) static void run_undefined(void) {
  __asm volatile("nop\n\tudf #1\n\tnop\n\tbx lr");
}
__attribute__((naked)) static void divide(void) {
  __asm volatile("mov r0, #0\n\tudiv r1, r0, r0\n\tnop\n\tbx lr");
}
static void (*const probes[kKinds])(void) = {read_nowhere, run_nowhere, run_undefined, divide};

#ifndef ESCAPE
static const char* const kind_names[kKinds] = {"memory", "bus", "usage", "division"};
static volatile uint32_t seen_exception, seen_pc, seen_tick;

// The frame's pc becomes its lr: the probe returns.
__attribute__((used)) static void note(uint32_t* frame) {
  seen_pc = frame[6];
  frame[6] = frame[5];
  frame[7] |= 1u << 24;
}

__attribute__((naked)) static void fault_handler(void) {
  __asm volatile(
      "ldr r0, =0xE0001004\n\t"  // DWT_CYCCNT
      "ldr r0, [r0]\n\t"
      "ldr r1, =seen_tick\n\t"
      "str r0, [r1]\n\t"
      "mrs r0, ipsr\n\t"
      "ldr r1, =seen_exception\n\t"
      "str r0, [r1]\n\t"
      "mrs r0, msp\n\t"
      "b   note");
}

void hard_fault_handler(void) __attribute__((alias("fault_handler")));
void mem_manage_handler(void) __attribute__((alias("fault_handler")));
void bus_fault_handler(void) __attribute__((alias("fault_handler")));
void usage_fault_handler(void) __attribute__((alias("fault_handler")));

static void probe(int kind, uint32_t enabled) {
  SHCSR = enabled;
  CFSR = 0;
  HFSR = 0;
  MMFAR = 0;
  seen_exception = 0;
  uint32_t tick;
  __asm volatile("ldr %0, [%1]\n\tblx %2"
                 : "=&r"(tick)
                 : "r"(&DWT_CYCCNT), "r"(probes[kind])
                 : "r0", "r1", "r2", "r3", "r12", "lr", "cc", "memory");
  const uint32_t start = (uint32_t)probes[kind] & ~1u;
  printf("%s: exception %lu after %lu ticks, CFSR %08lx, HFSR %08lx, MMFAR %08lx, pc ",
         kind_names[kind], (unsigned long)seen_exception, (unsigned long)(seen_tick - tick),
         (unsigned long)CFSR, (unsigned long)HFSR, (unsigned long)MMFAR);
  if (seen_pc == 0x30000000) {
    printf("there\n");
  } else {
    printf("+%lu\n", (unsigned long)(seen_pc - start));
  }
}
#endif

int main(void) {
  CCR |= CCR_DIV_0_TRP;
#ifdef ESCAPE
  SHCSR = ESCAPE >= kEnabled ? SHCSR_ALL_ENABLED : 0;
  printf("a fault\n");
  probes[ESCAPE % kEnabled]();
  printf("survived\n");
#else
  for (int kind = 0; kind < kKinds; ++kind) {
    probe(kind, SHCSR_ALL_ENABLED);
    probe(kind, 0);
  }
  // Another fault's handler does not take it: a division while only the bus fault is enabled.
  probe(kDivision, 1u << 17);
#endif
  return 0;
}
