// The controller of a greenhouse: a BME280 on pins 26 and 27 measures ten times a second, and a fan
// at pin 17 runs above a limit. The button at pin 11 keeps it running until the next press. Lines
// from the UART: "limit N" sets the limit in degrees Celsius, "selftest" looks for the sensor and
// hands its verdict to the simulator.
#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "boot/startup.h"
#include "drivers/gpio.h"
#include "drivers/serial.h"
#include "drivers/sudo.h"
#include "drivers/timer.h"

enum { kRxPin = 8, kButton = 11, kFan = 17, kSda = 26, kScl = 27 };
enum { kSensor = 0x76, kChipIdRegister = 0xD0, kChipId = 0x60 };
enum { kCalibration = 0x88, kCtrlMeas = 0xF4, kTemperature = 0xFA };  // registers
enum { kMeasureOnce = 1 << 5 | 1, kPeriodCounts = 1600000 };          // of 16 MHz

static volatile bool due, pressed, line_complete;
static volatile unsigned line_length;
static char line[32];

// ---- Interrupts ----

__attribute__((interrupt)) void timer0_handler(void) {
  TIMER_EVENTS_COMPARE(0, 0) = 0;
  due = true;
}

__attribute__((interrupt)) void gpiote_handler(void) {
  GPIOTE_EVENTS_IN(0) = 0;
  pressed = true;
}

__attribute__((interrupt)) void uarte0_uart0_handler(void) {
  UART_EVENTS_RXDRDY = 0;
  const char c = (char)UART_RXD;
  if (line_complete) return;  // the last one waits still
  if (c == '\n') {
    line[line_length] = '\0';
    line_complete = true;
  } else if (line_length < sizeof line - 1) {
    line[line_length] = c;
    line_length = line_length + 1;
  }
}

// ---- The sensor, through TWIM ----

// EasyDMA reads and writes RAM behind the compiler's back.
static void transfer(const uint8_t* out, uint32_t out_count, uint8_t* in, uint32_t in_count) {
  serial_buffers(0, out, out_count, in, in_count);
  SERIAL_SHORTS(0) = in_count > 0 ? TWIM_LASTTX_STARTRX | TWIM_LASTRX_STOP : TWIM_LASTTX_STOP;
  SERIAL_EVENTS_STOPPED(0) = 0;
  __asm volatile("" ::: "memory");
  SERIAL_TASKS_STARTTX(0) = 1;
  while (SERIAL_EVENTS_STOPPED(0) == 0) {
  }
  __asm volatile("" ::: "memory");
}

static void read_registers(uint8_t address, uint8_t* values, uint32_t count) {
  transfer(&address, 1, values, count);
}

static void start_measurement(void) {
  static uint8_t command[] = {kCtrlMeas, kMeasureOnce};
  transfer(command, sizeof command, NULL, 0);
}

// Hundredths of a degree. BME280 data sheet, "Compensation formulas".
static int32_t read_temperature(void) {
  uint8_t raw[3], calibration[6];
  read_registers(kTemperature, raw, sizeof raw);
  read_registers(kCalibration, calibration, sizeof calibration);
  const int32_t t1 = calibration[0] | calibration[1] << 8;
  const int32_t t2 = (int16_t)(calibration[2] | calibration[3] << 8);
  const int32_t t3 = (int16_t)(calibration[4] | calibration[5] << 8);
  const int32_t adc = raw[0] << 12 | raw[1] << 4 | raw[2] >> 4;
  const int32_t a = ((adc >> 3) - (t1 << 1)) * t2 >> 11;
  const int32_t b = (adc >> 4) - t1;
  const int32_t fine = a + ((b * b >> 12) * t3 >> 14);
  return (fine * 5 + 128) >> 8;
}

// ---- The controller ----

static int32_t limit = 2600;
static bool override, fan;

static void set_fan(bool on, const char* reason) {
  if (on == fan) return;
  fan = on;
  if (on) {
    GPIO_OUTSET(0) = 1u << kFan;
  } else {
    GPIO_OUTCLR(0) = 1u << kFan;
  }
  printf("fan %s: %s\n", on ? "on" : "off", reason);
}

static void measure(void) {
  const int32_t temperature = read_temperature();
  start_measurement();
  char text[16];
  snprintf(text, sizeof text, "%ld.%02ld C", (long)(temperature / 100), (long)(temperature % 100));
  set_fan(override || temperature > limit, override ? "override" : text);
}

static void obey(const char* command) {
  if (strncmp(command, "limit ", 6) == 0) {
    limit = atoi(command + 6) * 100;
    printf("limit %ld C\n", (long)(limit / 100));
  } else if (strcmp(command, "selftest") == 0) {
    uint8_t id = 0;
    read_registers(kChipIdRegister, &id, 1);
    sudo_exit(id == kChipId ? 0 : 1);
  } else {
    printf("unknown: %s\n", command);
  }
}

static void start(void) {
  GPIO_PIN_CNF(0, kFan) = GPIO_OUTPUT;
  GPIO_PIN_CNF(0, kButton) = GPIO_INPUT | GPIO_PULL_UP;
  GPIOTE_CONFIG(0) = GPIOTE_EVENT(kButton, kFalling);
  GPIOTE_INTENSET = GPIOTE_INT_IN(0);
  SERIAL_PSEL_SCL(0) = kScl;
  SERIAL_PSEL_SDA(0) = kSda;
  SERIAL_FREQUENCY(0) = TWI_400_KHZ;
  SERIAL_ADDRESS(0) = kSensor;
  SERIAL_ENABLE(0) = kTwim;
  UART_PSEL_RXD = kRxPin;
  UART_INTENSET = UART_INT_RXDRDY;
  UART_TASKS_STARTRX = 1;
  TIMER_BITMODE(0) = kBits32;
  TIMER_PRESCALER(0) = 0;
  TIMER_CC(0, 0) = kPeriodCounts;
  TIMER_SHORTS(0) = TIMER_CLEAR_SHORT(0);
  TIMER_INTENSET(0) = TIMER_INT_COMPARE(0);
  NVIC_ISER(0) = 1u << kGpioteIrq | 1u << kTimer0Irq | 1u << kUarte0Irq;
  start_measurement();
  TIMER_TASKS_START(0) = 1;
}

int main(void) {
  start();
  printf("ready\n");
  for (;;) {
    if (due) {
      due = false;
      measure();
    }
    if (pressed) {
      pressed = false;
      override = !override;
      printf("override %s\n", override ? "on" : "off");
    }
    if (line_complete) {
      obey(line);
      line_length = 0;
      line_complete = false;
    }
    __asm volatile("wfe");
  }
}
