// Which interrupt runs when, to the tick: nesting, priority groups, masks, and what is pended while
// another is handled. ARMv7-M ARM, B1.5.4 (priorities), B1.4.3 (mask registers).
// All vectors of a table in RAM lead to one handler, which is assembly so that its ticks are known.
#include <stdio.h>
#include <string.h>

#include "boot/startup.h"
#include "drivers/registers.h"

// The six lines of the software interrupts, and the exceptions that ICSR pends.
enum { kFirstLine = 20, kLines = 6, kNmi = 2, kPendSv = 14, kFirstExternal = 16 };
enum { kVectors = kFirstExternal + kFirstLine + kLines, kExit = 0x100 };

#define ICSR_NMIPENDSET (1u << 31)

typedef struct {
  uint32_t who;  // exception number, with kExit when its handler ends
  uint32_t tick;
} Note;
typedef struct {
  volatile uint32_t* target;
  uint32_t value;
} Store;

static Note notes[32];
static Note* note_end __attribute__((used));
// By exception number: the one store that its handler makes.
static Store stores[kVectors] __attribute__((used));
static volatile uint32_t sink __attribute__((used));
static void (*vectors[64])(void) __attribute__((aligned(256)));

// Notes its entry at its fifth instruction, stores at the fourteenth, notes its end at the
// eighteenth, and returns with the twenty-second.
__attribute__((naked)) static void handler(void) {
  __asm volatile(
      "mrs   r0, ipsr\n\t"
      "ldr   r1, =note_end\n\t"
      "ldr   r2, [r1]\n\t"
      "ldr   r3, =0xE0001004\n\t"  // DWT_CYCCNT
      "ldr   r3, [r3]\n\t"
      "stmia r2!, {r0, r3}\n\t"
      "str   r2, [r1]\n\t"
      "ldr   r1, =stores\n\t"
      "add   r1, r1, r0, lsl #3\n\t"
      "ldr   r2, [r1]\n\t"
      "ldr   r3, =sink\n\t"
      "str   r3, [r1]\n\t"  // not a second time
      "ldr   r3, [r1, #4]\n\t"
      "str   r3, [r2]\n\t"
      "ldr   r1, =note_end\n\t"
      "ldr   r2, [r1]\n\t"
      "ldr   r3, =0xE0001004\n\t"
      "ldr   r3, [r3]\n\t"
      "add   r0, r0, #0x100\n\t"
      "stmia r2!, {r0, r3}\n\t"
      "str   r2, [r1]\n\t"
      "bx    lr");
}

// Makes the store between `before` and `after`; returns the tick ahead of `before`.
#define START(store, before, after)                                                               \
  ({                                                                                              \
    uint32_t tick;                                                                                \
    __asm volatile("ldr %0, [%1]\n\t" before "\n\tstr %3, [%2]\n\tnop\n\tnop\n\t" after "\n\tnop" \
                   : "=&r"(tick)                                                                  \
                   : "r"(&DWT_CYCCNT), "r"((store).target), "r"((store).value), "r"(64), "r"(0)   \
                   : "memory");                                                                   \
    tick;                                                                                         \
  })

enum { kOpen, kBasepri64, kPrimask, kFaultmask };

typedef struct {
  const char* name;
  uint32_t prigroup;
  uint8_t priority[kLines];
  int mask;
  Store first;
  Store by_line[kLines];  // what the handler of line 20 + n does
} Case;

#define LINE(n) (1u << (n))

// clang-format off
#define PEND(lines) {&NVIC_ISPR(0), lines}
#define UNPEND(lines) {&NVIC_ICPR(0), lines}

static const Case cases[] = {
    {"nested", 0, {0x80, 0x40, 0x20}, kOpen, PEND(LINE(20)), {PEND(LINE(21)), PEND(LINE(22))}},
    {"equal and lower wait", 0, {0x40, 0x40, 0x80, 0x40}, kOpen, PEND(LINE(20)),
     {PEND(LINE(21) | LINE(22) | LINE(23))}},
    {"again while handled", 0, {0x40, 0x20}, kOpen, PEND(LINE(20)),
     {PEND(LINE(21)), PEND(LINE(20))}},
    {"taken back in time", 0, {0x40, 0x40, 0x20}, kOpen, PEND(LINE(20)),
     {PEND(LINE(21) | LINE(22)), {0, 0}, UNPEND(LINE(21))}},
    {"all at once", 0, {0x60, 0x20, 0x60, 0x00, 0x20, 0xff}, kOpen, PEND(0x3fu << 20), {{0, 0}}},
    {"one group", 5, {0x60, 0x40}, kOpen, PEND(LINE(20)), {PEND(LINE(21))}},
    {"two groups", 4, {0x60, 0x40}, kOpen, PEND(LINE(20)), {PEND(LINE(21))}},
    {"order in a group", 5, {0x60, 0x40, 0x48}, kOpen, PEND(7u << 20), {{0, 0}}},
    {"no groups", 7, {0xc0, 0x20}, kOpen, PEND(LINE(20)), {PEND(LINE(21))}},
    {"basepri 64", 0, {0x40, 0x3f, 0x41}, kBasepri64, PEND(7u << 20), {{0, 0}}},
    {"primask", 0, {0x40, 0x20}, kPrimask, PEND(3u << 20), {{0, 0}}},
    {"primask and nmi", 0, {0x00}, kPrimask, {&ICSR, ICSR_NMIPENDSET | ICSR_PENDSVSET}, {{0, 0}}},
    {"faultmask and nmi", 0, {0x00}, kFaultmask, {&ICSR, ICSR_NMIPENDSET | ICSR_PENDSVSET},
     {{0, 0}}},
};
// clang-format on

// Deliberate: `cpsid f` sets PRIMASK, so that what follows it masks like `cpsid i`.
static uint32_t start(int mask, Store store) {
  switch (mask) {
    case kBasepri64:
      return START(store, "msr basepri, %4", "msr basepri, %5");
    case kPrimask:
      return START(store, "cpsid i", "cpsie i");
    case kFaultmask:
      return START(store, "cpsid f", "cpsie f");
    default:
      return START(store, "nop", "nop");
  }
}

static void run(const Case* c) {
  AIRCR = AIRCR_VECTKEY | c->prigroup << 8;
  for (int i = 0; i < kVectors; ++i) stores[i] = (Store){&sink, 0};
  for (int i = 0; i < kLines; ++i) {
    NVIC_IP(kFirstLine + i) = c->priority[i];
    if (c->by_line[i].target) stores[kFirstExternal + kFirstLine + i] = c->by_line[i];
  }
  note_end = notes;
  const uint32_t first_tick = start(c->mask, c->first);
  printf("%s:", c->name);
  for (const Note* note = notes; note < note_end; ++note) {
    printf(" %s%d@%lu", note->who & kExit ? "/" : "", (int)(note->who & 0xff) - kFirstExternal,
           (unsigned long)(note->tick - first_tick));
  }
  printf("\n");
  NVIC_ICPR(0) = 0x3fu << kFirstLine;
}

int main(void) {
  memcpy(vectors, (void*)VTOR, 4 * kFirstExternal);
  vectors[kNmi] = vectors[kPendSv] = handler;
  for (int i = kFirstExternal; i < kVectors; ++i) vectors[i] = handler;
  VTOR = (uint32_t)vectors;
  SHPR3 = 0x00E00000;  // PendSV
  NVIC_ISER(0) = 0x3fu << kFirstLine;
  for (unsigned i = 0; i < sizeof cases / sizeof *cases; ++i) run(&cases[i]);

  // Pended while disabled: enabling is what lets it in.
  NVIC_ICER(0) = LINE(20);
  NVIC_ISPR(0) = LINE(20);
  run(&(const Case){.name = "disabled", .mask = kOpen, .first = {&sink, 0}});
  NVIC_ISPR(0) = LINE(20);
  run(&(const Case){.name = "enabled", .mask = kOpen, .first = {&NVIC_ISER(0), LINE(20)}});

  uint32_t primask;
  __asm volatile("cpsid f\n\tmrs %0, primask\n\tcpsie f" : "=r"(primask));
  printf("primask after cpsid f: %lu\n", (unsigned long)primask);
  return 0;
}
