// The end of every program, at address 0x100 (sections.ld). The stop point of a simulator or a
// debugger finds exit's argument in r0.
#include "boot/startup.h"

__attribute__((section(".firmware_done"), used)) void firmware_done(int status) {
  register int r0 __asm("r0") = status;
  for (;;) __asm volatile("wfi" : : "r"(r0));
}
