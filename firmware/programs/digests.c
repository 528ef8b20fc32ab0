// Check sums and digests over known texts, beside the published values: CRC-32 (ISO 3309), CRC-16
// (CCITT), Adler-32 (RFC 1950), FNV-1a, SHA-256 (FIPS 180-4). Prints the same on the host.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

static uint32_t crc32_bitwise(const uint8_t* data, unsigned length) {
  uint32_t crc = 0xFFFFFFFFu;
  while (length-- > 0) {
    crc ^= *data++;
    for (int i = 0; i < 8; ++i) crc = crc & 1 ? crc >> 1 ^ 0xEDB88320u : crc >> 1;
  }
  return ~crc;
}

static uint32_t crc32_table(const uint8_t* data, unsigned length) {
  static uint32_t table[256];
  for (uint32_t i = 0; i < 256; ++i) {
    uint32_t entry = i;
    for (int k = 0; k < 8; ++k) entry = entry & 1 ? entry >> 1 ^ 0xEDB88320u : entry >> 1;
    table[i] = entry;
  }
  uint32_t crc = 0xFFFFFFFFu;
  while (length-- > 0) crc = table[(crc ^ *data++) & 0xFF] ^ crc >> 8;
  return ~crc;
}

static uint16_t crc16(const uint8_t* data, unsigned length) {
  uint16_t crc = 0xFFFF;
  while (length-- > 0) {
    crc = (uint16_t)(crc ^ *data++ << 8);
    for (int i = 0; i < 8; ++i) crc = (uint16_t)(crc & 0x8000 ? crc << 1 ^ 0x1021 : crc << 1);
  }
  return crc;
}

static uint32_t adler32(const uint8_t* data, unsigned length) {
  uint32_t a = 1, b = 0;
  while (length-- > 0) {
    a = (a + *data++) % 65521;
    b = (b + a) % 65521;
  }
  return b << 16 | a;
}

static uint32_t fnv1a(const uint8_t* data, unsigned length) {
  uint32_t hash = 2166136261u;
  while (length-- > 0) hash = (hash ^ *data++) * 16777619u;
  return hash;
}

static uint32_t rotate(uint32_t x, unsigned n) { return x >> n | x << (32 - n); }

// clang-format off
static const uint32_t kRound[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};
// clang-format on

static void sha256_block(uint32_t state[8], const uint8_t block[64]) {
  uint32_t w[64], s[8];
  for (int i = 0; i < 16; ++i) {
    w[i] = (uint32_t)block[4 * i] << 24 | (uint32_t)block[4 * i + 1] << 16 |
           (uint32_t)block[4 * i + 2] << 8 | block[4 * i + 3];
  }
  for (int i = 16; i < 64; ++i) {
    const uint32_t s0 = rotate(w[i - 15], 7) ^ rotate(w[i - 15], 18) ^ w[i - 15] >> 3;
    const uint32_t s1 = rotate(w[i - 2], 17) ^ rotate(w[i - 2], 19) ^ w[i - 2] >> 10;
    w[i] = w[i - 16] + s0 + w[i - 7] + s1;
  }
  memcpy(s, state, sizeof s);
  for (int i = 0; i < 64; ++i) {
    const uint32_t s1 = rotate(s[4], 6) ^ rotate(s[4], 11) ^ rotate(s[4], 25);
    const uint32_t t1 = s[7] + s1 + ((s[4] & s[5]) ^ (~s[4] & s[6])) + kRound[i] + w[i];
    const uint32_t s0 = rotate(s[0], 2) ^ rotate(s[0], 13) ^ rotate(s[0], 22);
    const uint32_t t2 = s0 + ((s[0] & s[1]) ^ (s[0] & s[2]) ^ (s[1] & s[2]));
    memmove(s + 1, s, 7 * sizeof *s);
    s[4] += t1;
    s[0] = t1 + t2;
  }
  for (int i = 0; i < 8; ++i) state[i] += s[i];
}

// Texts of at most 55 bytes: one block.
static void sha256(const char* text) {
  uint32_t state[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                       0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  const unsigned length = (unsigned)strlen(text);
  uint8_t block[64] = {0};
  memcpy(block, text, length);
  block[length] = 0x80;
  block[62] = (uint8_t)(length * 8 >> 8);
  block[63] = (uint8_t)(length * 8);
  sha256_block(state, block);
  printf("sha256(\"%s\") = ", text);
  for (int i = 0; i < 8; ++i) printf("%08lx", (unsigned long)state[i]);
  printf("\n");
}

int main(void) {
  const uint8_t* digits = (const uint8_t*)"123456789";
  printf("crc32 %08lx %08lx, published cbf43926\n", (unsigned long)crc32_bitwise(digits, 9),
         (unsigned long)crc32_table(digits, 9));
  printf("crc16 %04x, published 29b1\n", crc16(digits, 9));
  printf("adler32 %08lx, published 11e60398\n",
         (unsigned long)adler32((const uint8_t*)"Wikipedia", 9));
  printf("fnv1a %08lx, published bf9cf968\n", (unsigned long)fnv1a((const uint8_t*)"foobar", 6));
  sha256("");
  sha256("abc");
  return 0;
}
