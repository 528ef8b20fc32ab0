// The demonstration: a picture computed in single precision, a checksum, and a search for primes
// that SysTick interrupts every tenth of a virtual second.
#include <stdint.h>
#include <stdio.h>

#include "boot/startup.h"
#include "drivers/clock.h"
#include "drivers/registers.h"
#include "drivers/systick.h"

enum { kTicksPerSecond = 10, kSecondsTenths = 8 };

extern const uint32_t data_load[];  // where the code ends and the initial data begin

static volatile uint32_t tenths;

__attribute__((interrupt)) void systick_handler(void) { tenths = tenths + 1; }

static void print_banner(void) {
  puts(
      "\n"
      "    ___  _ ____   _____\n"
      "   / _ \\| '__\\ \\ / / _ \\    a Cortex-M4 board without the board\n"
      "  | (_) | |   \\ V / (_) |\n"
      "   \\___/|_|    \\_/ \\___/\n");
  printf("  core %08lx at %d MHz, floating point on, printing through the UART\n\n",
         (unsigned long)CPUID, kCoreHz / 1000000);
}

static void draw_mandelbrot_set(void) {
  enum { kColumns = 64, kRows = 21, kSteps = 60 };
  static const char shades[] = " .,:;=+*%#";  // by twos of steps; @ never escaped
  enum { kLastShade = sizeof shades - 2 };
  for (int row = 0; row < kRows; ++row) {
    char line[kColumns + 1];
    const float imaginary = -1.2f + 2.4f * (float)row / (kRows - 1);
    for (int column = 0; column < kColumns; ++column) {
      const float real = -2.1f + 2.9f * (float)column / (kColumns - 1);
      float x = 0, y = 0;
      int steps = 0;
      while (steps < kSteps && x * x + y * y < 4.0f) {
        const float next = x * x - y * y + real;
        y = 2.0f * x * y + imaginary;
        x = next;
        ++steps;
      }
      const int shade = steps / 2 < kLastShade ? steps / 2 : kLastShade;
      line[column] = steps == kSteps ? '@' : shades[shade];
    }
    line[kColumns] = '\0';
    printf("  %s\n", line);
  }
}

static uint32_t crc32(const uint8_t* data, const uint8_t* end) {
  uint32_t crc = 0xFFFFFFFFu;
  while (data < end) {
    crc ^= *data++;
    for (int i = 0; i < 8; ++i) crc = crc & 1 ? crc >> 1 ^ 0xEDB88320u : crc >> 1;
  }
  return ~crc;
}

static int is_prime(uint32_t n) {
  for (uint32_t d = 3; d * d <= n; d += 2) {
    if (n % d == 0) return 0;
  }
  return 1;
}

static void search_for_primes(void) {
  uint32_t found = 1, candidate = 1;  // 2 is known
  systick_start(kCoreHz / kTicksPerSecond);
  for (uint32_t printed = 0; printed < kSecondsTenths;) {
    candidate += 2;
    if (is_prime(candidate)) ++found;
    if (tenths == printed) continue;
    ++printed;
    printf("  [%2lu.%lu s] %6lu primes up to %lu\n", (unsigned long)(printed / 10),
           (unsigned long)(printed % 10), (unsigned long)found, (unsigned long)candidate);
  }
  systick_stop();
}

int main(void) {
  clock_start_high_frequency();
  print_banner();
  draw_mandelbrot_set();

  const uint8_t* code = (const uint8_t*)0x100;
  const uint8_t* end = (const uint8_t*)data_load;
  printf("\n  CRC-32 of the program's %lu bytes: %08lx\n\n", (unsigned long)(end - code),
         (unsigned long)crc32(code, end));

  search_for_primes();
  const float seconds = (float)DWT_CYCCNT / (float)kCoreHz;
  printf("\n  done after %.3f s of virtual time\n\n", (double)seconds);
  return 0;
}
