// A dialogue over UARTE with flow control by two pins, as this block has none of its own: pin 7 is
// low while the program takes bytes, and it sends only while the far end holds pin 5 low. Ten
// times 16 bytes come in, and go back with 1 added, in blocks of four.
#include "drivers/gpio.h"
#include "drivers/registers.h"

enum { kClearToSendPin = 5, kTxPin = 6, kRequestToSendPin = 7, kRxPin = 8, kLength = 16 };

static uint8_t message[kLength];

int main(void) {
  GPIO_OUTSET(0) = 1u << kRequestToSendPin;
  GPIO_PIN_CNF(0, kRequestToSendPin) = GPIO_OUTPUT;
  GPIO_PIN_CNF(0, kClearToSendPin) = GPIO_INPUT;
  UART_ENABLE = 0;
  UART_PSEL_TXD = kTxPin;
  UART_PSEL_RXD = kRxPin;
  UART_BAUDRATE = UART_BAUDRATE_1M;
  UART_ENABLE = UART_ENABLE_UARTE;
  for (unsigned round = 0; round < 10; ++round) {
    UARTE_RXD_PTR = (uint32_t)message;
    UARTE_RXD_MAXCNT = kLength;
    UARTE_EVENTS_ENDRX = 0;
    UART_TASKS_STARTRX = 1;
    GPIO_OUTCLR(0) = 1u << kRequestToSendPin;
    while (UARTE_EVENTS_ENDRX == 0) {
    }
    GPIO_OUTSET(0) = 1u << kRequestToSendPin;
    for (unsigned i = 0; i < kLength; ++i) ++message[i];
    for (unsigned sent = 0; sent < kLength; sent += 4) {
      while (gpio_read(0, kClearToSendPin) != 0) {
      }
      UARTE_TXD_PTR = (uint32_t)(message + sent);
      UARTE_TXD_MAXCNT = 4;
      UART_TASKS_STARTTX = 1;
    }
  }
  return 0;
}
