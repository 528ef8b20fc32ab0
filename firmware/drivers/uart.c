// nRF52832 Product Specification, UART, "Transmission". Left out: reception and flow control.
#include "drivers/uart.h"

#include "drivers/registers.h"

enum { kTxPin = 6 };

void uart_start(void) {
  UART_PSEL_TXD = kTxPin;
  UART_BAUDRATE = UART_BAUDRATE_115200;
  UART_ENABLE = UART_ENABLE_UART;
  UART_TASKS_STARTTX = 1;
}

void uart_write(const char* bytes, unsigned length) {
  for (unsigned i = 0; i < length; ++i) {
    UART_EVENTS_TXDRDY = 0;
    UART_TXD = (uint8_t)bytes[i];
    while (UART_EVENTS_TXDRDY == 0) {
    }
  }
}
