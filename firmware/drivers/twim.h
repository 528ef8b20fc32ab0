// Whole transfers over TWIM. nRF52832 Product Specification, TWIM.
#pragma once

#include "drivers/serial.h"

static inline void twim_start(unsigned n, unsigned sda_pin, unsigned scl_pin, uint32_t frequency) {
  SERIAL_PSEL_SCL(n) = scl_pin;
  SERIAL_PSEL_SDA(n) = sda_pin;
  SERIAL_FREQUENCY(n) = frequency;
  SERIAL_ENABLE(n) = kTwim;
}

// Writes, then reads after a repeated start if rx_count isn't 0. Returns 0, or ERRORSRC if a byte
// wasn't acknowledged. The buffers lie in RAM.
static inline uint32_t twim_transfer(unsigned n, uint32_t address, const void* tx,
                                     uint32_t tx_count, void* rx, uint32_t rx_count) {
  SERIAL_ADDRESS(n) = address;
  serial_buffers(n, tx, tx_count, rx, rx_count);
  SERIAL_SHORTS(n) = rx_count == 0 ? TWIM_LASTTX_STOP : TWIM_LASTTX_STARTRX | TWIM_LASTRX_STOP;
  SERIAL_EVENTS_ERROR(n) = SERIAL_EVENTS_STOPPED(n) = 0;
  __asm volatile("" ::: "memory");  // the block reads and writes the buffers
  SERIAL_TASKS_STARTTX(n) = 1;
  while (SERIAL_EVENTS_STOPPED(n) == 0) {
  }
  __asm volatile("" ::: "memory");
  return SERIAL_EVENTS_ERROR(n) == 0 ? 0 : SERIAL_ERRORSRC(n);
}
