// SysTick interrupts while main computes and prints, a lower PendSV that SysTick interrupts in its
// turn, a supervisor call, and a device interrupt. The text does not depend on the moments at
// which the interrupts come.
#include <stdio.h>

#include "boot/startup.h"
#include "drivers/registers.h"
#include "drivers/systick.h"

enum { kPeriodTicks = 1009, kWanted = 200 };

static volatile uint32_t systicks, pendsvs, nested, services, device_interrupts;
static volatile uint32_t in_pendsv;
static volatile uint64_t busy_sum;

__attribute__((interrupt)) void systick_handler(void) {
  systicks = systicks + 1;
  if (in_pendsv) nested = nested + 1;
  if (systicks % 8 == 0) ICSR = ICSR_PENDSVSET;
}

// At the lowest priority; runs longer than one SysTick period, shorter than eight.
__attribute__((interrupt)) void pendsv_handler(void) {
  in_pendsv = 1;
  pendsvs = pendsvs + 1;
  for (uint32_t i = 1; i < 20; ++i) busy_sum = busy_sum + 0x123456789ABCu / i;
  in_pendsv = 0;
}

__attribute__((interrupt)) void svcall_handler(void) { services = services + 1; }

__attribute__((interrupt)) void power_clock_handler(void) {
  CLOCK_EVENTS_HFCLKSTARTED = 0;
  device_interrupts = device_interrupts + 1;
}

// Long enough for many interrupts; uses flags, conditional execution and 64-bit division.
static uint64_t work(uint32_t rounds) {
  uint64_t a = 0x0123456789ABCDEFu, b = 3;
  for (uint32_t i = 1; i <= rounds; ++i) {
    a = a * 6364136223846793005u + i;
    if (a & 0x10) b += a % i;
    b = b > a ? b - (a >> 3) : b + (a << 1);
  }
  return a ^ b;
}

int main(void) {
  const uint64_t undisturbed = work(2000);

  SHPR3 = 0x40E00000;  // SysTick 0x40, PendSV 0xE0
  SHPR2 = 0x80000000;  // SVCall 0x80
  systick_start(kPeriodTicks);
  const uint64_t disturbed = work(2000);
  printf("work %s\n", disturbed == undisturbed ? "undisturbed" : "DISTURBED");
  while (systicks < kWanted) {
  }
  systick_stop();
  const uint32_t stopped_at = systicks;
  for (volatile int i = 0; i < 3 * kPeriodTicks; ++i) {
  }
  printf("systick %s\n", systicks == stopped_at ? "stopped" : "STILL RUNNING");
  printf("pendsv for every eighth: %s\n", pendsvs == systicks / 8 ? "yes" : "NO");
  printf("systick inside pendsv: %s\n", nested >= pendsvs ? "yes" : "NO");

  __asm volatile("svc #7");
  __asm volatile("svc #8");
  printf("services %lu\n", (unsigned long)services);

  CLOCK_INTENSET = 1;
  NVIC_ISER(0) = 1u << kPowerClockIrq;
  CLOCK_TASKS_HFCLKSTART = 1;
  while (device_interrupts == 0) {
  }
  NVIC_ICER(0) = 1u << kPowerClockIrq;
  CLOCK_TASKS_HFCLKSTART = 1;
  printf("device interrupts %lu\n", (unsigned long)device_interrupts);

  __asm volatile("cpsid i");
  ICSR = ICSR_PENDSVSET;
  const uint32_t before = pendsvs;
  __asm volatile("cpsie i");
  __asm volatile("nop\n\tnop");
  printf("masked pendsv taken after cpsie: %s\n", pendsvs == before + 1 ? "yes" : "NO");
  return 0;
}
