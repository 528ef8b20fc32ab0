// The processor workload of `make bench`: sorting, a CRC, matrices in float, a state machine, and
// memory copies, each for about the same number of instructions. Prints one checksum per part.
// ROUNDS sets the length; with 0 rounds the image measures what starting costs. With TIMERS a timer
// at 16 MHz and an RTC at 32768 Hz, each at its fastest, count beside the work.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifdef TIMERS
#include "drivers/clock.h"
#include "drivers/timer.h"
#endif

#ifndef ROUNDS
#define ROUNDS 100
#endif

static uint32_t state = 12345;

static uint32_t next(void) {
  state = state * 1664525u + 1013904223u;
  return state >> 8;
}

static int ascending(const void* left, const void* right) {
  const uint32_t a = *(const uint32_t*)left, b = *(const uint32_t*)right;
  return a < b ? -1 : a > b;
}

// Insertion sort of our own and the library's qsort.
static uint32_t sorting(void) {
  static uint32_t words[512];
  for (int i = 0; i < 512; ++i) words[i] = next();
  for (int i = 1; i < 128; ++i) {
    const uint32_t word = words[i];
    int j = i - 1;
    for (; j >= 0 && words[j] > word; --j) words[j + 1] = words[j];
    words[j + 1] = word;
  }
  qsort(words, 512, sizeof *words, ascending);
  return words[0] ^ words[255] ^ words[511];
}

static uint32_t crc(void) {
  static uint8_t bytes[1024];
  for (unsigned i = 0; i < sizeof bytes; ++i) bytes[i] = (uint8_t)next();
  uint32_t value = 0xFFFFFFFFu;
  for (unsigned i = 0; i < sizeof bytes; ++i) {
    value ^= bytes[i];
    for (int k = 0; k < 8; ++k) value = value & 1 ? value >> 1 ^ 0xEDB88320u : value >> 1;
  }
  return ~value;
}

static uint32_t matrices(void) {
  enum { kSize = 16 };
  static float a[kSize][kSize], b[kSize][kSize], c[kSize][kSize];
  for (int i = 0; i < kSize; ++i) {
    for (int j = 0; j < kSize; ++j) {
      a[i][j] = (float)(next() & 0xFF) / 16.0f;
      b[i][j] = (float)(next() & 0xFF) / 32.0f;
    }
  }
  for (int i = 0; i < kSize; ++i) {
    for (int j = 0; j < kSize; ++j) {
      float sum = 0;
      for (int k = 0; k < kSize; ++k) sum += a[i][k] * b[k][j];
      c[i][j] = sum;
    }
  }
  return (uint32_t)(int32_t)(c[0][0] + c[7][9] + c[15][15]);
}

// Counts numbers, words and marks of a text, a character a step.
static uint32_t state_machine(void) {
  enum { kBlank, kWord, kNumber, kMark };
  static const char text[] = "the 3 quick, brown foxes: 42 jumps over 1000 lazy dogs; again? ";
  uint32_t counts[4] = {0}, now = kBlank;
  for (int round = 0; round < 24; ++round) {
    for (const char* p = text; *p != '\0'; ++p) {
      const uint32_t kind = *p == ' '                ? kBlank
                            : *p >= 'a' && *p <= 'z' ? kWord
                            : *p >= '0' && *p <= '9' ? kNumber
                                                     : kMark;
      switch (now) {
        case kBlank:
          if (kind != kBlank) ++counts[kind];
          break;
        case kWord:
        case kNumber:
          if (kind == kMark) ++counts[kMark];
          break;
        default:
          counts[kBlank] += kind == kBlank;
          break;
      }
      now = kind;
    }
  }
  return counts[0] | counts[1] << 8 | counts[2] << 16 | counts[3] << 24;
}

static uint32_t copies(void) {
  static uint8_t from[2048], to[2048];
  for (unsigned i = 0; i < sizeof from; ++i) from[i] = (uint8_t)next();
  for (int i = 0; i < 16; ++i) {
    memset(from + i * 64, i, 32);
    memcpy(to, from, sizeof to);
    memmove(from + 3, to, 1500);
    for (unsigned k = 0; k < sizeof to / 4; ++k) {
      ((uint32_t*)(void*)to)[k] += ((const uint32_t*)(const void*)from)[k];
    }
  }
  return to[5] + to[1999];
}

int main(void) {
#ifdef TIMERS
  clock_start_low_frequency(kLowFrequencyCrystal);
  TIMER_PRESCALER(0) = 0;
  TIMER_BITMODE(0) = kBits32;
  TIMER_TASKS_START(0) = 1;
  RTC0_TASKS_START = 1;
#endif
  uint32_t sums[5] = {0};
  for (int round = 0; round < ROUNDS; ++round) {
    sums[0] = sums[0] * 31 + sorting();
    for (int i = 0; i < 2; ++i) sums[1] = sums[1] * 31 + crc();
    for (int i = 0; i < 3; ++i) sums[2] = sums[2] * 31 + matrices();
    for (int i = 0; i < 3; ++i) sums[3] = sums[3] * 31 + state_machine();
    for (int i = 0; i < 2; ++i) sums[4] = sums[4] * 31 + copies();
  }
  printf("sorting %08lx crc %08lx matrices %08lx states %08lx copies %08lx\n",
         (unsigned long)sums[0], (unsigned long)sums[1], (unsigned long)sums[2],
         (unsigned long)sums[3], (unsigned long)sums[4]);
  return 0;
}
