// What the start-up code that comes with these chips does before main: it works around errata by
// the chip's family and revision, routes the trace pins, and makes the NFC pins and a reset pin
// what the product wants, which goes through the flash controller and a reset.
// The workarounds of early revisions write where this simulator has no block or ends the run.
#include <stdio.h>

#include "drivers/registers.h"

#define FICR_FAMILY REGISTER(0x10000130)
#define FICR_REVISION REGISTER(0x10000134)
#define UICR_PSELRESET(n) REGISTER(0x10001200 + 4 * (n))
#define UICR_NFCPINS REGISTER(0x1000120C)
#define NVMC_READY REGISTER(0x4001E400)
#define NVMC_CONFIG REGISTER(0x4001E504)
#define CLOCK_TRACECONFIG REGISTER(0x4000055C)
#define DEMCR REGISTER(0xE000EDFC)
#define P0_PIN_CNF(n) REGISTER(0x50000700 + 4 * (n))

enum { kNrf52832 = 6, kNrf52840 = 8 };
enum { kReadOnly = 0, kWriteEnable = 1 };
enum { kTraceParallel = 2 << 16, kTraceEnable = 1 << 24, kHighDriveOutput = 0x301 };

// Kept through the reset.
__attribute__((section(".noinit"))) static volatile uint32_t magic, lives;

// In the manner of a table of errata: the register that a workaround writes, from another register
// through a mask and a shift, or a constant if there is no source. `revisions` has a bit for each
// value of FICR_REVISION.
typedef struct {
  uint8_t number, family;
  uint16_t revisions;
  uint32_t target, source, mask, shift;
} Workaround;

enum { kEarly832 = 0x000F, kEarly840 = 0x0003, kAll = 0xFFFF };

// clang-format off
static const Workaround workarounds[] = {
    { 12, kNrf52832, kAll,      0x40013540, 0x10000324, 0x00001F00,  8},  // COMP trim
    { 16, kNrf52832, kEarly832, 0x4007C074, 0,          0xBAADF00D,  0},  // RAM
    { 31, kNrf52832, kAll,      0x4000053C, 0x10000244, 0x0000E000, 13},  // LFRC trim
    { 36, kNrf52832, kAll,      0x4000010C, 0,          0,           0},  // CLOCK DONE
    { 36, kNrf52832, kAll,      0x40000110, 0,          0,           0},  // CLOCK CTTO
    { 36, kNrf52832, kAll,      0x40000538, 0,          0,           0},  // CLOCK CTIV
    { 36, kNrf52840, kAll,      0x4000010C, 0,          0,           0},
    { 36, kNrf52840, kAll,      0x40000110, 0,          0,           0},
    { 36, kNrf52840, kAll,      0x40000538, 0,          0,           0},
    { 37, kNrf52832, kEarly832, 0x400005A0, 0,          3,           0},  // RADIO
    { 57, kNrf52832, kEarly832, 0x40005610, 0,          5,           0},  // NFCT
    { 66, kNrf52832, kAll,      0x4000C520, 0x10000404, ~0u,         0},  // TEMP A0, and so on
    { 66, kNrf52832, kAll,      0x4000C570, 0x10000444, ~0u,         0},  // TEMP T4
    { 66, kNrf52840, kAll,      0x4000C520, 0x10000404, ~0u,         0},
    { 66, kNrf52840, kAll,      0x4000C570, 0x10000444, ~0u,         0},
    { 98, kNrf52840, kEarly840, 0x4000568C, 0,          0x00038148,  0},  // NFCT
    {108, kNrf52832, kAll,      0x40000EE4, 0x10000258, 0x0000004F,  0},  // RAM retention
    {120, kNrf52840, kEarly840, 0x40029640, 0,          0x00000200,  0},  // QSPI
    {182, kNrf52832, kAll,      0x4000173C, 0,          0x00000400,  0},  // RADIO
};
// clang-format on

static void work_around_errata(void) {
  unsigned applied = 0;
  for (unsigned i = 0; i < sizeof workarounds / sizeof *workarounds; ++i) {
    const Workaround* it = &workarounds[i];
    if (it->family != FICR_FAMILY || (it->revisions >> FICR_REVISION & 1) == 0) continue;
    REGISTER(it->target) =
        it->source != 0 ? (REGISTER(it->source) & it->mask) >> it->shift : it->mask;
    ++applied;
  }
  printf("family %lu revision %lu: %u workarounds, temperature slope %lx\n",
         (unsigned long)FICR_FAMILY, (unsigned long)FICR_REVISION, applied,
         (unsigned long)REGISTER(0x4000C520));
}

static void route_trace(void) {
  static const uint8_t pins[] = {14, 15, 16, 18, 20};
  DEMCR |= kTraceEnable;
  CLOCK_TRACECONFIG |= kTraceParallel;
  for (unsigned i = 0; i < sizeof pins; ++i) P0_PIN_CNF(pins[i]) = kHighDriveOutput;
}

static void wait_for_flash(void) {
  while (NVMC_READY == 0) {
  }
}

static void write_uicr(volatile uint32_t* word, uint32_t value) {
  NVMC_CONFIG = kWriteEnable;
  wait_for_flash();
  *word = value;
  wait_for_flash();
  NVMC_CONFIG = kReadOnly;
  wait_for_flash();
}

static void reset(void) {
  printf("settings written, reset\n");
  AIRCR = AIRCR_VECTKEY | AIRCR_SYSRESETREQ;
  for (;;) {
  }
}

int main(void) {
  if (magic != 0x600DCAFE) {
    magic = 0x600DCAFE;
    lives = 0;
  }
  lives = lives + 1;
  printf("life %lu, reset reason %lu\n", (unsigned long)lives, (unsigned long)POWER_RESETREAS);
  route_trace();
  work_around_errata();
  if ((UICR_NFCPINS & 1) != 0) {  // the pins belong to NFC
    write_uicr(&UICR_NFCPINS, UICR_NFCPINS & ~1u);
    reset();
  }
  const uint32_t reset_pin = FICR_FAMILY == kNrf52832 ? 21 : 18;
  if (UICR_PSELRESET(0) != reset_pin || UICR_PSELRESET(1) != reset_pin) {
    write_uicr(&UICR_PSELRESET(0), reset_pin);
    write_uicr(&UICR_PSELRESET(1), reset_pin);
    reset();
  }
  printf("reset pin %lu, trace %lx, NFC pins %lx\n", (unsigned long)UICR_PSELRESET(1),
         (unsigned long)CLOCK_TRACECONFIG, (unsigned long)UICR_NFCPINS);
  return 0;
}
