// SPIM with buffers of different lengths, and SPI with its double buffer, on a bus with an echo:
// MOSI 23, MISO 24, SCK 25, select 22.
#include <stdio.h>
#include <string.h>

#include "drivers/event_wait.h"
#include "drivers/gpio.h"
#include "drivers/ppi.h"
#include "drivers/serial.h"
#include "drivers/timer.h"

enum { kSelectPin = 22, kMosiPin = 23, kMisoPin = 24, kSckPin = 25 };

static void start(uint32_t enable, uint32_t frequency, uint32_t mode) {
  SERIAL_ENABLE(0) = 0;
  SERIAL_PSEL_SCL(0) = kSckPin;
  SERIAL_PSEL_SDA(0) = kMosiPin;
  SERIAL_PSEL_MISO(0) = kMisoPin;
  SERIAL_FREQUENCY(0) = frequency;
  SERIAL_CONFIG(0) = mode << 1;
  SERIAL_ENABLE(0) = enable;
}

static void select_slave(int on) {
  if (on) {
    GPIO_OUTCLR(0) = 1u << kSelectPin;
  } else {
    GPIO_OUTSET(0) = 1u << kSelectPin;
  }
}

static void easy_dma(uint32_t tx_count, uint32_t rx_count) {
  static char tx[8], rx[9];
  memcpy(tx, "abcdefgh", sizeof tx);
  memset(rx, '-', sizeof rx - 1);
  serial_buffers(0, tx, tx_count, rx, rx_count);
  SERIAL_EVENTS_ENDTX(0) = SERIAL_EVENTS_ENDRX(0) = SERIAL_EVENTS_END(0) = 0;
  clear_pending(kSerial0Irq);
  SERIAL_TASKS_START(0) = 1;
  for (unsigned i = 0; i < sizeof rx - 1; ++i) {
    if (rx[i] == 0) rx[i] = '0';
  }
  printf("%lu out, %lu in: %s, amounts %lu %lu, events %lu%lu%lu, interrupt %d\n",
         (unsigned long)tx_count, (unsigned long)rx_count, rx, (unsigned long)SERIAL_TXD_AMOUNT(0),
         (unsigned long)SERIAL_RXD_AMOUNT(0), (unsigned long)SERIAL_EVENTS_ENDTX(0),
         (unsigned long)SERIAL_EVENTS_END(0), (unsigned long)SERIAL_EVENTS_ENDRX(0),
         is_pending(kSerial0Irq));
}

static unsigned take_ready(void) {
  const unsigned ready = SERIAL_EVENTS_READY(0);
  SERIAL_EVENTS_READY(0) = 0;
  return ready;
}

static void byte_by_byte(uint32_t frequency) {
  start(kSpi, frequency, 0);
  SERIAL_INTENSET(0) = SERIAL_INT(SERIAL_EVENTS_READY(0));
  forget_event(kSerial0Irq);
  const uint32_t ticks = ticks_after(&SERIAL_TXD(0), 'a', kSerial0Irq);
  SERIAL_INTENCLR(0) = ~0u;
  printf("ready after %lu: %u", (unsigned long)ticks, take_ready());
  SERIAL_TXD(0) = 'b';
  const uint32_t sent = DWT_CYCCNT;
  while (DWT_CYCCNT - sent < 2 * ticks) {
  }
  printf(", of the second %u", take_ready());
  printf(", read %c", (char)SERIAL_RXD(0));
  printf(", ready %u", take_ready());
  SERIAL_TXD(0) = 'c';  // behind b again
  printf(", read %c", (char)SERIAL_RXD(0));
  printf(" %c", (char)SERIAL_RXD(0));
  printf(", ready %u\n", take_ready());
}

// A timer starts the transfers, and another counts them.
static void without_the_processor(void) {
  TIMER_MODE(1) = kModeCounter;
  TIMER_TASKS_START(1) = 1;
  TIMER_CC(0, 0) = 100;
  TIMER_SHORTS(0) = TIMER_CLEAR_SHORT(0);
  ppi_connect(0, &TIMER_EVENTS_COMPARE(0, 0), &SERIAL_TASKS_START(0), 0);
  ppi_connect(1, &SERIAL_EVENTS_END(0), &TIMER_TASKS_COUNT(1), &TIMER_TASKS_CAPTURE(1, 0));
  TIMER_TASKS_START(0) = 1;
  while (TIMER_CC(1, 0) < 5) {
  }
  TIMER_TASKS_STOP(0) = 1;
  printf("by a timer %lu\n", (unsigned long)TIMER_CC(1, 0));
}

int main(void) {
  GPIO_PIN_CNF(0, kSelectPin) = GPIO_OUTPUT;
  select_slave(1);
  SERIAL_ORC(0) = 0x12E;  // '.', of eight bits
  start(kSpim, SPI_8_MHZ, 3);
  SERIAL_INTENSET(0) = SERIAL_INT(SERIAL_EVENTS_END(0));
  easy_dma(4, 4);
  easy_dma(2, 5);
  easy_dma(5, 2);
  easy_dma(0, 3);
  easy_dma(0, 0);
  SERIAL_INTENCLR(0) = ~0u;
  printf("late interrupt %d", (clear_pending(kSerial0Irq), is_pending(kSerial0Irq)));
  SERIAL_INTENSET(0) = SERIAL_INT(SERIAL_EVENTS_END(0));
  printf(" %d, configuration %lx, enable %lx\n", is_pending(kSerial0Irq),
         (unsigned long)SERIAL_CONFIG(0), (unsigned long)SERIAL_ENABLE(0));
  SERIAL_INTENCLR(0) = ~0u;
  select_slave(0);
  printf("not selected, ");
  easy_dma(3, 3);
  select_slave(1);
  easy_dma(3, 3);
  SERIAL_TASKS_STOP(0) = 1;
  printf("stopped %lu\n", (unsigned long)SERIAL_EVENTS_STOPPED(0));

  without_the_processor();

  byte_by_byte(SPI_8_MHZ);
  byte_by_byte(SPI_1_MHZ);
  byte_by_byte(SPI_125_KHZ);

  start(kSpim, SPI_1_MHZ, 0);
  SERIAL_CONFIG(0) = 1;  // least significant bit first: the echo warns and works
  easy_dma(1, 1);
  SERIAL_ENABLE(0) = 2;  // SPIS: ends the run
  return 0;
}
