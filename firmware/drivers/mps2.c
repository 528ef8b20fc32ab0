// The console and the end of a program on the MPS2 board with the Cortex-M4 image AN386, which
// qemu-system-arm emulates: UART0 at 0x40004000 (Application Note AN386, CMSDK APB UART) and the
// semihosting call SYS_EXIT. Used to run the same workload there.
#include "boot/startup.h"
#include "drivers/console.h"
#include "drivers/registers.h"

#define MPS2_UART_DATA REGISTER(0x40004000)
#define MPS2_UART_STATE REGISTER(0x40004004)
#define MPS2_UART_CTRL REGISTER(0x40004008)
#define MPS2_UART_BAUDDIV REGISTER(0x40004010)

void console_start(void) {
  MPS2_UART_BAUDDIV = 16;
  MPS2_UART_CTRL = 1;  // TX enable
}

void console_write(const char* bytes, unsigned length) {
  while (length-- > 0) {
    while (MPS2_UART_STATE & 1) {  // TX buffer full
    }
    MPS2_UART_DATA = (uint8_t)*bytes++;
  }
}

void firmware_done(int status) {
  (void)status;
  register uint32_t operation __asm("r0") = 0x18;  // SYS_EXIT
  register uint32_t reason __asm("r1") = 0x20026;  // ADP_Stopped_ApplicationExit
  for (;;) __asm volatile("bkpt 0xab" : : "r"(operation), "r"(reason) : "memory");
}
