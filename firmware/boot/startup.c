// From reset to main, and what comes after it. Source: ARMv7-M ARM, B1.5.3 (vector table), B3.2.20
// (CPACR); nRF52832 Product Specification, "Peripherals" (interrupt numbers).
// A handler that a program does not define is absent: its vector is 0. Left out: static
// constructors, which C programs do not have.
#include "boot/startup.h"

#include <stdlib.h>

#include "drivers/console.h"
#include "drivers/registers.h"

extern uint32_t stack_top[], data_load[], data_start[], data_end[], bss_start[], bss_end[];
int main(void);
void reset_handler(void);

typedef union {
  void (*handler)(void);
  uint32_t* stack;
} Vector;

__attribute__((section(".vectors"), used)) static const Vector vectors[] = {
    {.stack = stack_top},
    {reset_handler},
    {nmi_handler},
    {hard_fault_handler},
    {mem_manage_handler},
    {bus_fault_handler},
    {usage_fault_handler},
    {0},
    {0},
    {0},
    {0},
    {svcall_handler},
    {0},
    {0},
    {pendsv_handler},
    {systick_handler},
    {power_clock_handler},
    {0},
    {uarte0_uart0_handler},
    {0},
    {0},
    {0},
    {gpiote_handler},
    {0},
    {timer0_handler},
};

void _exit(int status) { firmware_done(status); }

void reset_handler(void) {
  CPACR |= 0xFu << 20;  // full access to CP10 and CP11, the FPU
  __asm volatile("dsb\n\tisb" ::: "memory");

  const uint32_t* from = data_load;
  for (uint32_t* to = data_start; to < data_end;) *to++ = *from++;
  for (uint32_t* to = bss_start; to < bss_end;) *to++ = 0;

  console_start();
  exit(main());
}
