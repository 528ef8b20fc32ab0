// A weather station: reads a BME280 on SDA pin 26 and prints what the compensation formulas make of
// it, SAMPLES times, one each PERIOD_MS milliseconds, or one behind the other if that is 0.
#include "drivers/bme280.h"

#include <stdio.h>
#include <stdlib.h>

#include "boot/startup.h"
#include "drivers/timer.h"

enum { kSdaPin = 26, kSclPin = 27, kCountsPerMs = 16000 };

static volatile uint32_t periods;

__attribute__((interrupt)) void timer0_handler(void) {
  TIMER_EVENTS_COMPARE(0, 0) = 0;
  periods = periods + 1;
}

static void start_timer(void) {
  TIMER_BITMODE(0) = kBits32;
  TIMER_PRESCALER(0) = 0;
  TIMER_CC(0, 0) = PERIOD_MS * kCountsPerMs;
  TIMER_SHORTS(0) = TIMER_CLEAR_SHORT(0);
  TIMER_INTENSET(0) = TIMER_INT_COMPARE(0);
  NVIC_ISER(0) = 1u << kTimer0Irq;
  TIMER_TASKS_START(0) = 1;
}

int main(void) {
  twim_start(0, kSdaPin, kSclPin, TWI_400_KHZ);
  uint8_t chip_id = 0;
  bme280_read(0xD0, &chip_id, 1);
  if (chip_id != kBme280ChipId) {
    printf("no BME280, chip id %x\n", chip_id);
    return 1;
  }
  bme280_write(0xE0, 0xB6);  // reset
  Bme280Calibration calibration;
  bme280_read_calibration(&calibration);
  if (PERIOD_MS != 0) start_timer();
  for (uint32_t n = 0; n < SAMPLES; ++n) {
    while (PERIOD_MS != 0 && periods < n) __asm volatile("wfe");
    Bme280Sample s;
    bme280_measure(&calibration, &s);
    const long t = s.temperature;
    printf("%4lu ms  ", (unsigned long)n * PERIOD_MS);
    if (t < 0) printf("-");
    printf("%ld.%02ld C  %lu.%lu %%  %lu hPa\n", labs(t) / 100, labs(t) % 100,
           (unsigned long)s.humidity / 1024, (unsigned long)s.humidity % 1024 * 10 / 1024,
           (unsigned long)s.pressure / 25600);
  }
  return 0;
}
