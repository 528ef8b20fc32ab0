// The environment sensor BME280 over TWIM 0. Bosch BME280 data sheet, "Memory map" and
// "Compensation formulas".
#pragma once

#include <string.h>

#include "drivers/twim.h"

enum { kBme280Address = 0x76, kBme280ChipId = 0x60 };

typedef struct {
  uint16_t t1;
  int16_t t2, t3;
  uint16_t p1;
  int16_t p2, p3, p4, p5, p6, p7, p8, p9;
  uint8_t h1, h3;
  int16_t h2, h4, h5;
  int8_t h6;
} Bme280Calibration;

typedef struct {
  int32_t temperature;  // 0.01 degrees Celsius
  uint32_t pressure;    // 1/256 Pa
  uint32_t humidity;    // 1/1024 % of relative humidity
} Bme280Sample;

static inline void bme280_read(uint8_t first_register, void* bytes, uint32_t count) {
  twim_transfer(0, kBme280Address, &first_register, 1, bytes, count);
}

static inline void bme280_write(uint8_t reg, uint8_t value) {
  const uint8_t bytes[] = {reg, value};
  twim_transfer(0, kBme280Address, bytes, sizeof bytes, 0, 0);
}

static inline void bme280_read_calibration(Bme280Calibration* c) {
  uint8_t low[26], high[7];
  bme280_read(0x88, low, sizeof low);
  bme280_read(0xE1, high, sizeof high);
  memcpy(c, low, 24);  // t1 to p9
  c->h1 = low[25];
  c->h2 = (int16_t)(high[0] | high[1] << 8);
  c->h3 = high[2];
  c->h4 = (int16_t)((int8_t)high[3] * 16 | (high[4] & 15));
  c->h5 = (int16_t)((int8_t)high[5] * 16 | high[4] >> 4);
  c->h6 = (int8_t)high[6];
}

// The names are the data sheet's, as are the shifts.
static inline int32_t bme280_fine_temperature(const Bme280Calibration* c, int32_t adc_t) {
  const int32_t var1 = (((adc_t >> 3) - ((int32_t)c->t1 << 1)) * c->t2) >> 11;
  const int32_t difference = (adc_t >> 4) - (int32_t)c->t1;
  const int32_t var2 = (((difference * difference) >> 12) * c->t3) >> 14;
  return var1 + var2;
}

static inline uint32_t bme280_pressure(const Bme280Calibration* c, int32_t t_fine, int32_t adc_p) {
  int64_t var1 = (int64_t)t_fine - 128000;
  int64_t var2 = var1 * var1 * c->p6;
  var2 = var2 + var1 * c->p5 * (1 << 17);
  var2 = var2 + ((int64_t)c->p4 * ((int64_t)1 << 35));
  var1 = ((var1 * var1 * c->p3) >> 8) + var1 * c->p2 * (1 << 12);
  var1 = ((((int64_t)1 << 47) + var1) * c->p1) >> 33;
  if (var1 == 0) return 0;
  int64_t p = 1048576 - adc_p;
  p = (((p << 31) - var2) * 3125) / var1;
  var1 = (c->p9 * (p >> 13) * (p >> 13)) >> 25;
  var2 = (c->p8 * p) >> 19;
  return (uint32_t)(((p + var1 + var2) >> 8) + c->p7 * 16);
}

static inline uint32_t bme280_humidity(const Bme280Calibration* c, int32_t t_fine, int32_t adc_h) {
  int32_t v = t_fine - 76800;
  v = ((((adc_h << 14) - (c->h4 * (1 << 20)) - (c->h5 * v)) + 16384) >> 15) *
      (((((((v * c->h6) >> 10) * (((v * c->h3) >> 11) + 32768)) >> 10) + 2097152) * c->h2 + 8192) >>
       14);
  v = v - (((((v >> 15) * (v >> 15)) >> 7) * c->h1) >> 4);
  if (v < 0) v = 0;
  if (v > 419430400) v = 419430400;
  return (uint32_t)v >> 12;
}

// All three quantities once, with oversampling of 1, after which the sensor sleeps again.
static inline void bme280_measure(const Bme280Calibration* c, Bme280Sample* sample) {
  enum { kCtrlHum = 0xF2, kCtrlMeas = 0xF4, kData = 0xF7, kModeMask = 3 };
  bme280_write(kCtrlHum, 1);
  bme280_write(kCtrlMeas, 1 << 5 | 1 << 2 | 1);
  uint8_t control, d[8];
  do {
    bme280_read(kCtrlMeas, &control, 1);
  } while ((control & kModeMask) != 0);
  bme280_read(kData, d, sizeof d);
  const int32_t t_fine = bme280_fine_temperature(c, d[3] << 12 | d[4] << 4 | d[5] >> 4);
  sample->temperature = (t_fine * 5 + 128) >> 8;
  sample->pressure = bme280_pressure(c, t_fine, d[0] << 12 | d[1] << 4 | d[2] >> 4);
  sample->humidity = bme280_humidity(c, t_fine, d[6] << 8 | d[7]);
}
