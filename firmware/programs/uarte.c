// Printing by EasyDMA: lines shorter and longer than one transfer, then one transfer that ends
// with an interrupt.
#include "drivers/uarte.h"

#include <stdio.h>
#include <string.h>

#include "boot/startup.h"
#include "drivers/console.h"
#include "drivers/registers.h"

static volatile uint32_t transfers_ended;

__attribute__((interrupt)) void uarte0_uart0_handler(void) {
  UARTE_EVENTS_ENDTX = 0;
  transfers_ended = transfers_ended + 1;
}

int main(void) {
  printf("fifo mode\n");
  fflush(stdout);
  uarte_start();
  console_select(uarte_write);
  printf("easy dma\n");

  static char line[601];
  for (unsigned i = 0; i < sizeof line - 1; ++i) line[i] = (char)('!' + i % 90);
  printf("%s\n", line);
  fflush(stdout);

  static char message[] = "interrupt at the end\n";
  UART_INTENSET = UART_INT_ENDTX;
  NVIC_ISER(0) = 1u << kUarte0Irq;
  UARTE_TXD_PTR = (uint32_t)message;
  UARTE_TXD_MAXCNT = sizeof message - 1;
  UART_TASKS_STARTTX = 1;
  while (transfers_ended == 0) {
  }
  UART_INTENCLR = UART_INT_ENDTX;
  printf("interrupts %lu, amount %lu\n", (unsigned long)transfers_ended,
         (unsigned long)UARTE_TXD_AMOUNT);
  return 0;
}
