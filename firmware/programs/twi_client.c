// A client of the control connection at the other end of two buses: as the master of TWIS on pin 26,
// and as a device at address 0x42 of TWIM on pin 28.
#include <stdio.h>

#include "drivers/event_wait.h"
#include "drivers/serial.h"

enum { kTwisPin = 26, kTwimPin = 28, kOwnAddress = 0x29, kDevice = 0x42 };

static char in[8], out[] = "abcd";

static void wait_for(volatile uint32_t* event) {
  while (*event == 0) {
  }
  *event = 0;
}

static void be_a_slave(void) {
  SERIAL_PSEL_SDA(1) = kTwisPin;
  SERIAL_ADDRESS(1) = kOwnAddress;
  SERIAL_CONFIG_TWIS(1) = 1;
  SERIAL_ENABLE(1) = kTwis;
  serial_buffers(1, out, 4, in, sizeof in - 1);
  SERIAL_TASKS_PREPARERX(1) = SERIAL_TASKS_PREPARETX(1) = 1;
  wait_for(&SERIAL_EVENTS_STOPPED(1));
  printf("got %s, %lu bytes\n", in, (unsigned long)SERIAL_RXD_AMOUNT(1));
  wait_for(&SERIAL_EVENTS_STOPPED(1));
  printf("gave %lu bytes\n", (unsigned long)SERIAL_TXD_AMOUNT(1));
  SERIAL_ENABLE(1) = 0;
}

static void transfer(volatile uint32_t* task, uint32_t shorts) {
  SERIAL_EVENTS_ERROR(0) = 0;
  SERIAL_SHORTS(0) = shorts;
  *task = 1;
  wait_for(&SERIAL_EVENTS_STOPPED(0));
}

static void be_a_master(void) {
  SERIAL_PSEL_SDA(0) = kTwimPin;
  SERIAL_FREQUENCY(0) = TWI_400_KHZ;
  SERIAL_ENABLE(0) = kTwim;
  SERIAL_ADDRESS(0) = kDevice;
  serial_buffers(0, out, 3, in, 2);
  transfer(&SERIAL_TASKS_STARTTX(0), TWIM_LASTTX_STOP);
  printf("refused %lu\n", (unsigned long)SERIAL_EVENTS_ERROR(0));
  transfer(&SERIAL_TASKS_STARTRX(0), TWIM_LASTRX_STOP);
  printf("device gives %02x %02x\n", in[0], in[1]);
}

int main(void) {
  be_a_slave();
  be_a_master();
  return 0;
}
