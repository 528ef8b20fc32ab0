// ECB with the examples of FIPS-197, and CCM of NIST SP 800-38C, example 1, in software on top of
// it.
#include <stdio.h>
#include <string.h>

#include "drivers/event_wait.h"

// nRF52832 Product Specification, ECB, "Registers".
#define ECB_TASKS_STARTECB REGISTER(0x4000E000)
#define ECB_TASKS_STOPECB REGISTER(0x4000E004)
#define ECB_EVENTS_ENDECB REGISTER(0x4000E100)
#define ECB_EVENTS_ERRORECB REGISTER(0x4000E104)
#define ECB_INTENSET REGISTER(0x4000E304)
#define ECB_INTENCLR REGISTER(0x4000E308)
#define ECB_ECBDATAPTR REGISTER(0x4000E504)

enum { kEcbIrq = 14, kBlock = 16, kEndOfRam = 0x20010000 };

static volatile struct { uint8_t key[kBlock], clear[kBlock], cipher[kBlock]; } ecb;

static void load(volatile uint8_t* to, const char* hex) {
  for (int i = 0; i < kBlock; ++i) {
    unsigned byte;
    sscanf(hex + 2 * i, "%2x", &byte);
    to[i] = (uint8_t)byte;
  }
}

static void print(const char* what, const volatile uint8_t* bytes, int length) {
  printf("%s ", what);
  for (int i = 0; i < length; ++i) printf("%02x", bytes[i]);
  printf("\n");
}

static void encrypt(void) {
  ECB_ECBDATAPTR = (uint32_t)&ecb;
  ECB_EVENTS_ENDECB = 0;
  ECB_TASKS_STARTECB = 1;
  while (ECB_EVENTS_ENDECB == 0) {
  }
}

static void print_events(const char* what) {
  printf("%s: end %lu, error %lu, pending %d, enabled %lx %lx, cipher %02x\n", what,
         (unsigned long)ECB_EVENTS_ENDECB, (unsigned long)ECB_EVENTS_ERRORECB, is_pending(kEcbIrq),
         (unsigned long)ECB_INTENSET, (unsigned long)ECB_INTENCLR, ecb.cipher[0]);
  ECB_EVENTS_ENDECB = ECB_EVENTS_ERRORECB = 0;
  clear_pending(kEcbIrq);
}

static void wait_for_a_block(void) {
  for (volatile int i = 0; i < 500; ++i) {
  }
}

static void start_at(uint32_t address, const char* what) {
  ECB_ECBDATAPTR = address;
  ECB_TASKS_STARTECB = 1;
  wait_for_a_block();
  print_events(what);
}

static void tasks_and_interrupts(void) {
  load(ecb.key, "000102030405060708090a0b0c0d0e0f");
  load(ecb.clear, "00112233445566778899aabbccddeeff");
  ECB_INTENSET = 1;
  ECB_ECBDATAPTR = (uint32_t)&ecb;
  printf("ticks of a block %lu\n", (unsigned long)ticks_after(&ECB_TASKS_STARTECB, 1, kEcbIrq));
  print_events("block");
  ecb.cipher[0] = 0;
  STORE_AFTER(&ECB_TASKS_STARTECB, 100, &ECB_TASKS_STOPECB);
  wait_for_a_block();
  print_events("stopped");
  // The block that begins anew within the time of the stopped one takes its own time.
  STORE_AFTER(&ECB_TASKS_STARTECB, 100, &ECB_TASKS_STOPECB);
  ECB_EVENTS_ERRORECB = 0;
  printf("ticks of the next %lu\n", (unsigned long)ticks_after(&ECB_TASKS_STARTECB, 1, kEcbIrq));
  print_events("started anew");
  ECB_INTENCLR = 3;
  ECB_TASKS_STOPECB = 1;
  print_events("disabled");
  start_at(0x100, "in flash");
  start_at(kEndOfRam - 47, "over the end of ram");
  ecb.cipher[0] = 0;
  start_at((uint32_t)&ecb, "in ram");
}

// --- CCM -----------------------------------------------------------------------------------------
// SP 800-38C, appendix C.1: a nonce of 7 bytes, 8 bytes of associated data, a tag of 4 bytes.

enum { kPayload = 4, kTag = 4, kNonce = 7 };

static const char kFirstByteOfNonce = 0x10;

static void cbc_mac(uint8_t* mac, const uint8_t* block) {
  for (int i = 0; i < kBlock; ++i) ecb.clear[i] = mac[i] ^ block[i];
  encrypt();
  for (int i = 0; i < kBlock; ++i) mac[i] = ecb.cipher[i];
}

static void block_with_nonce(uint8_t* block, uint8_t flags, uint8_t last) {
  memset(block, 0, kBlock);
  block[0] = flags;
  for (int i = 0; i < kNonce; ++i) block[1 + i] = (uint8_t)(kFirstByteOfNonce + i);
  block[kBlock - 1] = last;
}

static void tag_of(const uint8_t* payload, uint8_t* tag) {
  uint8_t mac[kBlock] = {0}, block[kBlock];
  block_with_nonce(block, 0x4F, kPayload);
  cbc_mac(mac, block);
  memset(block, 0, kBlock);
  block[1] = 8;
  for (int i = 0; i < 8; ++i) block[2 + i] = (uint8_t)i;
  cbc_mac(mac, block);
  memset(block, 0, kBlock);
  memcpy(block, payload, kPayload);
  cbc_mac(mac, block);
  memcpy(tag, mac, kTag);
}

// Counter mode, one way and back.
static void crypt(const uint8_t* from, uint8_t* to, int length, uint8_t counter) {
  uint8_t block[kBlock];
  block_with_nonce(block, 7, counter);
  for (int i = 0; i < kBlock; ++i) ecb.clear[i] = block[i];
  encrypt();
  for (int i = 0; i < length; ++i) to[i] = from[i] ^ ecb.cipher[i];
}

static int decrypt(const uint8_t* sealed, uint8_t* payload) {
  uint8_t received[kTag], computed[kTag];
  crypt(sealed, payload, kPayload, 1);
  crypt(sealed + kPayload, received, kTag, 0);
  tag_of(payload, computed);
  return memcmp(received, computed, kTag) == 0;
}

static void ccm(void) {
  static const uint8_t kText[kPayload] = {0x20, 0x21, 0x22, 0x23};
  uint8_t sealed[kPayload + kTag], opened[kPayload];
  load(ecb.key, "404142434445464748494a4b4c4d4e4f");
  tag_of(kText, sealed + kPayload);
  crypt(kText, sealed, kPayload, 1);
  crypt(sealed + kPayload, sealed + kPayload, kTag, 0);
  print("sealed", sealed, sizeof sealed);
  const int valid = decrypt(sealed, opened);
  print(valid ? "opened" : "REFUSED", opened, sizeof opened);
  sealed[1] ^= 1;
  printf("altered: %s\n", decrypt(sealed, opened) ? "OPENED" : "refused");
}

int main(void) {
  load(ecb.key, "2b7e151628aed2a6abf7158809cf4f3c");
  load(ecb.clear, "3243f6a8885a308d313198a2e0370734");
  encrypt();
  print("appendix b  ", ecb.cipher, kBlock);
  load(ecb.key, "000102030405060708090a0b0c0d0e0f");
  load(ecb.clear, "00112233445566778899aabbccddeeff");
  encrypt();
  print("appendix c.1", ecb.cipher, kBlock);
  ECB_EVENTS_ENDECB = 0;
  tasks_and_interrupts();
  ccm();
  return 0;
}
