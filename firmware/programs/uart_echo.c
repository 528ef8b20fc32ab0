// Echoes through UARTE at 1 Mbaud: first a count of four bytes, least significant first, then so
// many bytes. Each block is sent back once it is there as a whole.
#include "drivers/registers.h"

enum { kTxPin = 6, kRxPin = 8, kBlockSize = 128 };

static uint8_t block[kBlockSize];

static void receive(uint32_t length) {
  UARTE_RXD_PTR = (uint32_t)block;
  UARTE_RXD_MAXCNT = length;
  UARTE_EVENTS_ENDRX = 0;
  UART_TASKS_STARTRX = 1;
  while (UARTE_EVENTS_ENDRX == 0) {
  }
}

static void send(uint32_t length) {
  UARTE_TXD_PTR = (uint32_t)block;
  UARTE_TXD_MAXCNT = length;
  UARTE_EVENTS_ENDTX = 0;
  UART_TASKS_STARTTX = 1;
  while (UARTE_EVENTS_ENDTX == 0) {
  }
}

int main(void) {
  UART_ENABLE = 0;
  UART_PSEL_TXD = kTxPin;
  UART_PSEL_RXD = kRxPin;
  UART_BAUDRATE = UART_BAUDRATE_1M;
  UART_ENABLE = UART_ENABLE_UARTE;
  receive(4);
  uint32_t left = block[0] | block[1] << 8 | block[2] << 16 | (uint32_t)block[3] << 24;
  while (left > 0) {
    const uint32_t length = left < kBlockSize ? left : kBlockSize;
    receive(length);
    send(length);
    left -= length;
  }
  return 0;
}
