// nRF52832 Product Specification, UARTE, "Transmission". Left out: reception and flow control.
#include "drivers/uarte.h"

#include <string.h>

#include "drivers/registers.h"

enum { kTxPin = 6, kBufferSize = 255 };  // MAXCNT has 8 bits on the nRF52832

void uarte_start(void) {
  UART_ENABLE = 0;
  UART_PSEL_TXD = kTxPin;
  UART_BAUDRATE = UART_BAUDRATE_115200;
  UART_ENABLE = UART_ENABLE_UARTE;
}

void uarte_write(const char* bytes, unsigned length) {
  static char buffer[kBufferSize];  // EasyDMA reads RAM only; constants are in flash
  while (length > 0) {
    const unsigned part = length < kBufferSize ? length : kBufferSize;
    memcpy(buffer, bytes, part);
    UARTE_TXD_PTR = (uint32_t)buffer;
    UARTE_TXD_MAXCNT = part;
    UARTE_EVENTS_ENDTX = 0;
    UART_TASKS_STARTTX = 1;
    while (UARTE_EVENTS_ENDTX == 0) {
    }
    bytes += part;
    length -= part;
  }
}
