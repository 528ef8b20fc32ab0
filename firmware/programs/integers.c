// Integer arithmetic: 32 and 64 bits, shifts, bit fields, division by library calls, byte orders.
// Prints the same on the host. Everything but the printing goes through volatile inputs, so that
// no compiler folds it. Left out, since results differ here: see docs/what-firmware-observes.md.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

static volatile uint32_t seed = 0x2545F491;

static uint32_t next(void) {
  uint32_t x = seed;
  x ^= x << 13;
  x ^= x >> 17;
  x ^= x << 5;
  seed = x;
  return x;
}

static uint64_t next64(void) {
  const uint64_t high = next();
  return high << 32 | next();
}

// newlib-nano's printf has no long long.
static void print64(const char* name, uint64_t value) {
  printf("%-10s %08lx%08lx\n", name, (unsigned long)(value >> 32),
         (unsigned long)(value & 0xFFFFFFFFu));
}

static uint64_t fold(uint64_t hash, uint64_t value) {
  return (hash ^ value) * 0x100000001B3u + (hash >> 47);
}

static void multiply_and_divide(void) {
  uint64_t unsigned_hash = 0xCBF29CE484222325u, signed_hash = unsigned_hash, words = unsigned_hash;
  for (int i = 0; i < 400; ++i) {
    // One call in each initialiser: C leaves the order of two open.
    const uint64_t a = next64(), wide = next64(), b = wide >> (next() & 63);
    const uint64_t divisor = b == 0 ? 1 : b;
    unsigned_hash = fold(unsigned_hash, a * b);
    unsigned_hash = fold(unsigned_hash, a / divisor);
    unsigned_hash = fold(unsigned_hash, a % divisor);

    const int64_t x = (int64_t)(a >> 1) - (int64_t)(a << 62 >> 1), y = (int64_t)(divisor >> 1) + 1;
    signed_hash = fold(signed_hash, (uint64_t)(x / y));
    signed_hash = fold(signed_hash, (uint64_t)(x % -y));

    const uint32_t m = next(), any = next(), n = any >> (next() & 31) | 1;
    words = fold(words, m / n);
    words = fold(words, m % n);
    words = fold(words, (uint64_t)m * n);
    words = fold(words, (uint32_t)((int32_t)m / (int32_t)(n >> 1 | 1)));
    words = fold(words, (uint32_t)((int32_t)m % -(int32_t)(n >> 1 | 1)));
    words = fold(words, (uint64_t)((int64_t)(int32_t)m * (int32_t)n));
    words = fold(words, m / 10 + m % 1000 + (uint32_t)((int32_t)m / 7));
  }
  print64("u64", unsigned_hash);
  print64("s64", signed_hash);
  print64("u32", words);
}

static void shift(void) {
  uint64_t left = 1, right = 1, arithmetic = 1;
  uint32_t rotate = 1;
  for (unsigned n = 0; n < 64; ++n) {
    const uint64_t a = next64();
    left = fold(left, a << n);
    right = fold(right, a >> n);
    arithmetic = fold(arithmetic, (uint64_t)((int64_t)a >> n));
    const uint32_t w = next();
    rotate = (rotate << (n & 31) | rotate >> (-n & 31)) + (w >> (n & 31)) + (w << (n & 31));
    rotate ^= (uint32_t)((int32_t)w >> (n & 31));
  }
  print64("shl", left);
  print64("shr", right);
  print64("sar", arithmetic);
  printf("%-10s %08lx\n", "rotate", (unsigned long)rotate);
}

typedef struct {
  uint32_t mode : 3;
  uint32_t length : 11;
  uint32_t flag : 1;
  uint32_t address : 17;
} Fields;

static void bit_fields(void) {
  Fields fields = {0};
  uint32_t hash = 0;
  for (int i = 0; i < 200; ++i) {
    const uint32_t x = next();
    fields.mode = x;
    fields.length += x >> 3;
    fields.flag ^= x >> 9;
    fields.address = fields.address * 3 + (x >> 12);
    hash = hash * 31 + fields.mode + (fields.length << 3) + fields.flag + fields.address;
  }
  printf("%-10s %u %u %u %u %08lx\n", "fields", (unsigned)fields.mode, (unsigned)fields.length,
         (unsigned)fields.flag, (unsigned)fields.address, (unsigned long)hash);
}

static uint32_t swap16(uint32_t x) { return (x << 8 & 0xFF00FF00u) | (x >> 8 & 0x00FF00FFu); }

static uint32_t reverse_bits(uint32_t x) {
  uint32_t result = 0;
  for (int i = 0; i < 32; ++i) result |= (x >> i & 1) << (31 - i);
  return result;
}

static void bytes_and_bits(void) {
  uint32_t swapped = 0, halves = 0, mirrored = 0, zeros = 0, ones = 0, trailing = 0, bytes = 0;
  for (int i = 0; i < 200; ++i) {
    const uint32_t x = next() >> (i & 31) | 1;
    swapped = swapped * 33 + __builtin_bswap32(x);
    halves = halves * 33 + swap16(x);
    mirrored = mirrored * 33 + reverse_bits(x);
    zeros += (uint32_t)__builtin_clz(x);
    ones += (uint32_t)__builtin_popcount(x);
    trailing += (uint32_t)__builtin_ctz(x & ~1u ? x & ~1u : 1u);
    bytes = bytes * 33 + (uint8_t)(x >> 8) + (uint16_t)(x >> 5);
  }
  printf("%-10s %08lx %08lx %08lx %lu %lu %lu %08lx\n", "bits", (unsigned long)swapped,
         (unsigned long)halves, (unsigned long)mirrored, (unsigned long)zeros, (unsigned long)ones,
         (unsigned long)trailing, (unsigned long)bytes);
}

static void narrow_types(void) {
  int8_t small[16];
  int16_t middle[16];
  int32_t total = 0;
  for (int i = 0; i < 16; ++i) {
    small[i] = (int8_t)next();
    middle[i] = (int16_t)next();
  }
  for (int i = 0; i < 16; ++i) {
    total += small[i] * middle[15 - i];
    if (small[i] < 0) total -= middle[i];
    if (middle[i] > small[i]) total ^= 0x5A5A;
  }
  uint8_t wrapping = 250;
  for (int i = 0; i < 20; ++i) wrapping = (uint8_t)(wrapping + 7);
  printf("%-10s %ld %u\n", "narrow", (long)total, wrapping);
}

static void unaligned(void) {
  unsigned char bytes[64];
  for (unsigned i = 0; i < sizeof bytes; ++i) bytes[i] = (unsigned char)next();
  uint32_t sum = 0;
  for (unsigned i = 0; i + 8 <= sizeof bytes; ++i) {
    uint32_t word;
    uint16_t half;
    memcpy(&word, bytes + i, sizeof word);
    memcpy(&half, bytes + i + 5, sizeof half);
    sum = sum * 17 + word + half;
    half = (uint16_t)sum;
    memcpy(bytes + i + 1, &half, sizeof half);
  }
  memmove(bytes + 3, bytes, 40);
  for (unsigned i = 0; i < sizeof bytes; ++i) sum = sum * 31 + bytes[i];
  printf("%-10s %08lx\n", "unaligned", (unsigned long)sum);
}

static int64_t compare64(int64_t a, int64_t b) { return a < b ? -1 : a > b ? 1 : 0; }

static void comparisons(void) {
  static const int64_t values[] = {INT64_MIN, -0x100000000, -1, 0, 1, 0xFFFFFFFF, INT64_MAX};
  printf("%-10s ", "compare");
  for (unsigned i = 0; i < sizeof values / sizeof *values; ++i) {
    for (unsigned j = 0; j < sizeof values / sizeof *values; ++j) {
      const int order = (int)compare64(values[i], values[j]);
      const int unsigned_order = (uint64_t)values[i] < (uint64_t)values[j];
      putchar("<=>"[order + 1]);
      if (unsigned_order != (order < 0)) putchar('!');
    }
  }
  putchar('\n');
}

static uint64_t power(uint64_t base, uint32_t exponent, uint64_t modulus) {
  uint64_t result = 1;
  for (; exponent != 0; exponent >>= 1) {
    if (exponent & 1) result = result * base % modulus;
    base = base * base % modulus;
  }
  return result;
}

int main(void) {
  multiply_and_divide();
  shift();
  bit_fields();
  bytes_and_bits();
  narrow_types();
  unaligned();
  comparisons();
  print64("power", power(3, 1000003, 4294967291u));
  return 0;
}
