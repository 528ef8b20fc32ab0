// What ordinary C observes here that differs from the chip: one line per case, each computed by the
// instruction that a compiler picks for the expression named. docs/what-firmware-observes.md
// explains the lines.
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "boot/startup.h"

#define LINE(name, value) printf("%-34s %08lx\n", name, (unsigned long)(value))

static volatile uint32_t zero = 0;

static uint32_t bits(float value) {
  uint32_t result;
  memcpy(&result, &value, sizeof result);
  return result;
}

static uint32_t sbfx8(uint32_t x) {
  uint32_t r;
  __asm("sbfx %0, %1, #4, #8" : "=r"(r) : "r"(x));
  return r;
}

static uint32_t sxtab(uint32_t a, uint32_t b) {
  uint32_t r;
  __asm("sxtab %0, %1, %2" : "=r"(r) : "r"(a), "r"(b));
  return r;
}

static uint32_t sxtah(uint32_t a, uint32_t b) {
  uint32_t r;
  __asm("sxtah %0, %1, %2" : "=r"(r) : "r"(a), "r"(b));
  return r;
}

static uint32_t revsh(uint32_t x) {
  uint32_t r;
  __asm("revsh %0, %1" : "=r"(r) : "r"(x));
  return r;
}

// The high word of high:low + a * b, signed.
static uint32_t smlal_high(uint32_t low, uint32_t high, uint32_t a, uint32_t b) {
  __asm("smlal %0, %1, %2, %3" : "+r"(low), "+r"(high) : "r"(a), "r"(b));
  return high;
}

// x < 0 ? a : b as GCC's if-conversion writes it, with C as it was before.
static uint32_t if_negative(uint32_t x, uint32_t a, uint32_t b, uint32_t carry) {
  __asm("lsrs %3, %3, #1\n\t"
        "ands %1, %1, %0, asr #32\n\t"
        "it cc\n\t"
        "movcc %1, %2"
        : "+r"(x), "+&r"(a), "+r"(b), "+&r"(carry)
        :
        : "cc");
  return a;
}

static uint32_t from_float(float value) {
  uint32_t r;
  __asm("vcvt.u32.f32 %1, %1\n\tvmov %0, %1" : "=r"(r), "+t"(value));
  return r;
}

// N, Z, C, V after a comparison of a with b.
static uint32_t compare(float a, float b) {
  uint32_t r;
  __asm("vcmp.f32 %1, %2\n\tvmrs %0, fpscr" : "=r"(r) : "t"(a), "t"(b));
  return r >> 28;
}

static uint32_t fused(float a, float b, float c) {
  __asm("vfma.f32 %0, %1, %2" : "+t"(c) : "t"(a), "t"(b));
  return bits(c);
}

static volatile uint32_t stack_in_handler;

// Changes s0, as a handler that computes in float does, and notes its stack pointer.
__attribute__((naked)) void svcall_handler(void) {
  __asm("ldr r0, =stack_in_handler\n\tstr sp, [r0]\n\tmov r0, #0x40000000\n\tvmov s0, r0\n\tbx lr");
}

static uint32_t s0_after_exception(void) {
  uint32_t r;
  __asm volatile("vmov s0, %1\n\tsvc #0\n\tvmov %0, s0" : "=r"(r) : "r"(0x3F800000) : "s0");
  return r;
}

static uint32_t handler_stack_modulo_8(void) {
  __asm volatile("sub sp, #4\n\tsvc #0\n\tadd sp, #4" ::: "s0", "memory");
  return stack_in_handler % 8;
}

int main(void) {
  LINE("sbfx 8 bits of 0x000007f0", sbfx8(0x000007F0 | zero));
  LINE("sbfx 8 bits of 0x00000800", sbfx8(0x00000800 | zero));
  LINE("sbfx 8 bits of 0x00001010", sbfx8(0x00001010 | zero));
  LINE("sxtab 1000 + (int8_t)0xff", sxtab(1000 + zero, 0xFF));
  LINE("sxtab 16 + (int8_t)5", sxtab(16 + zero, 5));
  LINE("sxtah 70000 + (int16_t)5", sxtah(70000 + zero, 5));
  LINE("revsh of 0x0000007f", revsh(0x7F | zero));
  LINE("revsh of 0x00000100", revsh(0x100 | zero));
  LINE("smlal high of 0x80000000 + 0", smlal_high(0x80000000 | zero, 0, 0, 0));
  LINE("smlal high of 0x7fffffff + 0", smlal_high(0x7FFFFFFF | zero, 0, 0, 0));
  LINE("-1 < 0 ? 1 : 2, C clear before", if_negative(0xFFFFFFFF | zero, 1, 2, 0));
  LINE("-1 < 0 ? 1 : 2, C set before", if_negative(0xFFFFFFFF | zero, 1, 2, 1));
  LINE("1 < 0 ? 1 : 2, C set before", if_negative(1 | zero, 1, 2, 1));
  LINE("vcvt.u32 of 3e9", from_float(3.0e9f + (float)zero));
  LINE("vcvt.u32 of -1", from_float(-1.0f + (float)zero));
  LINE("vcvt.u32 of 2e9", from_float(2.0e9f + (float)zero));
  LINE("vcmp inf, inf", compare(INFINITY, INFINITY + (float)zero));
  LINE("vcmp -inf, -inf", compare(-INFINITY, -INFINITY + (float)zero));
  LINE("vcmp inf, 1", compare(INFINITY, 1.0f + (float)zero));
  LINE("vfma 1.0001 * 1.0001 - 1.0002",
       fused(1.0001f + (float)zero, 1.0001f + (float)zero, -1.0002f));
  LINE("inf - inf", bits(INFINITY - (INFINITY + (float)zero)) & 0x7FC00000);
  LINE("s0 = 1 after a handler used it", s0_after_exception());
  LINE("sp mod 8 in a handler, 4 before", handler_stack_modulo_8());
  return 0;
}
