// TWIM and TWI as masters of a bus on which SPIM_TWIM1 listens as TWIS, and a device at address 1
// that refuses what is written and gives 'A'. SDA is pin 26.
#include <stdio.h>
#include <string.h>

#include "drivers/event_wait.h"
#include "drivers/serial.h"

enum { kSdaPin = 26, kSclPin = 27 };
enum { kOwnAddress = 0x29, kOtherAddress = 0x2A, kDevice = 1, kNobody = 0x55 };

// The master is block 0, the slave block 1.
static char slave_in[16], slave_out[16], in[16], out[16];

static void start_master(uint32_t enable, uint32_t frequency) {
  SERIAL_ENABLE(0) = 0;
  SERIAL_PSEL_SCL(0) = kSclPin;
  SERIAL_PSEL_SDA(0) = kSdaPin;
  SERIAL_FREQUENCY(0) = frequency;
  SERIAL_ENABLE(0) = enable;
}

static void start_slave(void) {
  SERIAL_PSEL_SCL(1) = kSclPin;
  SERIAL_PSEL_SDA(1) = kSdaPin;
  SERIAL_ADDRESS(1) = kOwnAddress;
  SERIAL_ADDRESS1(1) = kOtherAddress;
  SERIAL_CONFIG_TWIS(1) = 3;
  SERIAL_ENABLE(1) = kTwis;
}

static void prepare_slave(const char* text, uint32_t out_count, uint32_t in_count) {
  memset(slave_in, 0, sizeof slave_in);
  strcpy(slave_out, text);
  serial_buffers(1, slave_out, out_count, slave_in, in_count);
  SERIAL_TASKS_PREPARERX(1) = SERIAL_TASKS_PREPARETX(1) = 1;
}

static void prepare_master(uint32_t address, const char* text, uint32_t in_count) {
  memset(in, 0, sizeof in);
  strcpy(out, text);
  SERIAL_ADDRESS(0) = address;
  serial_buffers(0, out, strlen(text), in, in_count);
}

static unsigned take(volatile uint32_t* event) {
  const unsigned happened = *event;
  *event = 0;
  return happened;
}

static void wait_for(volatile uint32_t* event) {
  while (*event == 0) {
  }
  *event = 0;
}

static unsigned long ticks_until(volatile uint32_t* task, volatile uint32_t* event) {
  const uint32_t bit = SERIAL_INT(*event);
  *event = 0;
  SERIAL_INTENSET(0) = bit;
  const uint32_t ticks = ticks_after(task, 1, kSerial0Irq);
  SERIAL_INTENCLR(0) = bit;
  return ticks;
}

static void easy_dma(uint32_t frequency) {
  start_master(kTwim, frequency);
  prepare_slave("wxyz", 4, 8);

  prepare_master(kOwnAddress, "abc", 0);
  SERIAL_SHORTS(0) = TWIM_LASTTX_STOP;
  unsigned long ticks = ticks_until(&SERIAL_TASKS_STARTTX(0), &SERIAL_EVENTS_STOPPED(0));
  printf("write %lu: %s %lu, amount %lu", ticks, slave_in, (unsigned long)SERIAL_RXD_AMOUNT(1),
         (unsigned long)SERIAL_TXD_AMOUNT(0));
  printf(", events %u%u", take(&SERIAL_EVENTS_TXSTARTED(0)), take(&SERIAL_EVENTS_LASTTX(0)));
  printf(", slave %u%u%u match %lu\n", take(&SERIAL_EVENTS_WRITE(1)),
         take(&SERIAL_EVENTS_RXSTARTED(1)), take(&SERIAL_EVENTS_STOPPED(1)),
         (unsigned long)SERIAL_MATCH(1));

  prepare_master(kOtherAddress, "", 3);
  SERIAL_SHORTS(0) = TWIM_LASTRX_STOP;
  ticks = ticks_until(&SERIAL_TASKS_STARTRX(0), &SERIAL_EVENTS_STOPPED(0));
  printf("read %lu: %s, amount %lu of %lu", ticks, in, (unsigned long)SERIAL_RXD_AMOUNT(0),
         (unsigned long)SERIAL_TXD_AMOUNT(1));
  printf(", events %u%u", take(&SERIAL_EVENTS_RXSTARTED(0)), take(&SERIAL_EVENTS_LASTRX(0)));
  printf(", slave %u%u%u match %lu\n", take(&SERIAL_EVENTS_READ(1)),
         take(&SERIAL_EVENTS_TXSTARTED(1)), take(&SERIAL_EVENTS_STOPPED(1)),
         (unsigned long)SERIAL_MATCH(1));

  prepare_master(kOwnAddress, "abc", 3);
  take(&SERIAL_EVENTS_STOPPED(0));
  ticks = ticks_until(&SERIAL_TASKS_STARTRX(0), &SERIAL_EVENTS_LASTRX(0));
  wait_for(&SERIAL_EVENTS_STOPPED(0));
  SERIAL_SHORTS(0) = TWIM_LASTTX_STOP;
  printf("last of three: read %lu, write %lu\n", ticks,
         ticks_until(&SERIAL_TASKS_STARTTX(0), &SERIAL_EVENTS_LASTTX(0)));
  wait_for(&SERIAL_EVENTS_STOPPED(0));

  prepare_slave("uv", 2, 8);
  prepare_master(kOwnAddress, "d", 1);
  SERIAL_SHORTS(0) = TWIM_LASTTX_STARTRX | TWIM_LASTRX_STOP;
  ticks = ticks_until(&SERIAL_TASKS_STARTTX(0), &SERIAL_EVENTS_STOPPED(0));
  printf("write and read %lu: %s %s\n", ticks, slave_in, in);
}

// Two buffers after one another, and a stop that firmware asks for.
static void suspended(void) {
  start_master(kTwim, TWI_400_KHZ);
  prepare_slave("", 1, 8);
  prepare_master(kOwnAddress, "ab", 0);
  SERIAL_SHORTS(0) = TWIM_LASTTX_SUSPEND;
  printf("suspended after %lu", ticks_until(&SERIAL_TASKS_STARTTX(0), &SERIAL_EVENTS_SUSPENDED(0)));
  printf(" %s", slave_in);
  SERIAL_SHORTS(0) = 0;
  strcpy(out, "cde");
  SERIAL_TXD_MAXCNT(0) = 3;
  SERIAL_EVENTS_LASTTX(0) = 0;
  SERIAL_TASKS_STARTTX(0) = 1;
  SERIAL_TASKS_RESUME(0) = 1;
  wait_for(&SERIAL_EVENTS_LASTTX(0));
  SERIAL_EVENTS_STOPPED(0) = 0;
  SERIAL_TASKS_STOP(0) = 1;
  const unsigned stopped = SERIAL_EVENTS_STOPPED(0);
  wait_for(&SERIAL_EVENTS_STOPPED(0));
  printf(", resumed %s, stopped at once %u\n", slave_in, stopped);
}

static void errors(void) {
  start_master(kTwim, TWI_400_KHZ);
  SERIAL_SHORTS(0) = TWIM_LASTTX_STOP;
  static const struct {
    const char* name;
    uint32_t address;
  } kWrites[] = {{"nobody", kNobody}, {"refused", kDevice}};
  for (unsigned i = 0; i < 2; ++i) {
    prepare_master(kWrites[i].address, "ab", 0);
    SERIAL_EVENTS_STOPPED(0) = 0;
    const unsigned long ticks = ticks_until(&SERIAL_TASKS_STARTTX(0), &SERIAL_EVENTS_ERROR(0));
    const unsigned long source = SERIAL_ERRORSRC(0);
    SERIAL_ERRORSRC(0) = source;
    printf("%s: error after %lu, source %lu, cleared to %lu\n", kWrites[i].name, ticks, source,
           (unsigned long)SERIAL_ERRORSRC(0));
    wait_for(&SERIAL_EVENTS_STOPPED(0));
  }
  prepare_master(kDevice, "", 2);
  SERIAL_SHORTS(0) = TWIM_LASTRX_STOP;
  ticks_until(&SERIAL_TASKS_STARTRX(0), &SERIAL_EVENTS_STOPPED(0));
  printf("device gives %s\n", in);

  // Longer than the slave's buffers.
  prepare_slave("xyz", 2, 1);
  prepare_master(kOwnAddress, "abcd", 0);
  SERIAL_SHORTS(0) = TWIM_LASTTX_STOP;
  take(&SERIAL_EVENTS_ERROR(0));
  ticks_until(&SERIAL_TASKS_STARTTX(0), &SERIAL_EVENTS_STOPPED(0));
  printf("slave of one takes %s, errors %u %u\n", slave_in, take(&SERIAL_EVENTS_ERROR(0)),
         take(&SERIAL_EVENTS_ERROR(1)));
  prepare_master(kOwnAddress, "", 3);
  SERIAL_SHORTS(0) = TWIM_LASTRX_STOP;
  ticks_until(&SERIAL_TASKS_STARTRX(0), &SERIAL_EVENTS_STOPPED(0));
  printf("slave of two gives %x %x %x, error %u, overrun %lx\n", in[0], in[1], in[2],
         take(&SERIAL_EVENTS_ERROR(1)), (unsigned long)SERIAL_ORC(1));
}

// TWI: each byte through TXD and RXD.
static void byte_by_byte(void) {
  start_master(kTwi, TWI_100_KHZ);
  prepare_slave("pq", 2, 8);
  SERIAL_ADDRESS(0) = kOwnAddress;
  SERIAL_SHORTS(0) = 0;
  SERIAL_TASKS_STARTTX(0) = 1;
  printf("byte by byte");
  for (const char* c = "hi!"; *c != 0; ++c) {
    SERIAL_TXD(0) = (uint8_t)*c;
    wait_for(&SERIAL_EVENTS_TXDSENT(0));
  }
  take(&SERIAL_EVENTS_STOPPED(0));
  SERIAL_TASKS_STOP(0) = 1;
  printf(": %s, stopped %u", slave_in, take(&SERIAL_EVENTS_STOPPED(0)));
  SERIAL_TASKS_STARTRX(0) = 1;
  wait_for(&SERIAL_EVENTS_READY(0));
  SERIAL_SHORTS(0) = TWI_BB_STOP;  // before the byte boundary
  printf(", read %c", (char)SERIAL_RXD(0));
  wait_for(&SERIAL_EVENTS_STOPPED(0));
  printf("%c\n", (char)SERIAL_RXD(0));
}

int main(void) {
  start_slave();
  easy_dma(TWI_100_KHZ);
  easy_dma(TWI_250_KHZ);
  suspended();
  errors();
  byte_by_byte();
  SERIAL_FREQUENCY(0) = 0x06400000;  // 400 kbit/s of the manual's TWIM: ends the run
  SERIAL_TASKS_STARTTX(0) = 1;
  return 0;
}
