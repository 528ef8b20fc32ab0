// Recursion, library sorting and searching, non-local jumps, jump tables, structures by value,
// variable arguments and calls through pointers. Prints the same on the host.
#include <setjmp.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct {
  char name[12];
  uint32_t key;
  uint16_t order;
} Item;

static uint32_t state = 1;

static uint32_t next(void) {
  state = state * 1664525u + 1013904223u;
  return state >> 8;
}

static unsigned ackermann(unsigned m, unsigned n) {
  if (m == 0) return n + 1;
  if (n == 0) return ackermann(m - 1, 1);
  return ackermann(m - 1, ackermann(m, n - 1));
}

static unsigned hanoi(unsigned discs, unsigned from, unsigned to, uint32_t* hash) {
  if (discs == 0) return 0;
  const unsigned other = 6 - from - to;
  const unsigned before = hanoi(discs - 1, from, other, hash);
  *hash = *hash * 31 + discs * 9 + from * 3 + to;
  return before + 1 + hanoi(discs - 1, other, to, hash);
}

static int by_key(const void* left, const void* right) {
  const Item *a = left, *b = right;
  if (a->key != b->key) return a->key < b->key ? -1 : 1;
  return (int)a->order - (int)b->order;
}

static int by_name(const void* left, const void* right) {
  return strcmp(((const Item*)left)->name, ((const Item*)right)->name);
}

static void sort_and_search(void) {
  static Item items[120];
  const unsigned count = sizeof items / sizeof *items;
  for (unsigned i = 0; i < count; ++i) {
    items[i].key = next() % 50;
    items[i].order = (uint16_t)i;
    snprintf(items[i].name, sizeof items[i].name, "item%03u", (unsigned)(next() % 1000));
  }
  qsort(items, count, sizeof *items, by_key);
  for (unsigned i = 0; i < count; i += 17) {
    printf("%u:%lu/%u ", i, (unsigned long)items[i].key, items[i].order);
  }
  qsort(items, count, sizeof *items, by_name);
  uint32_t hash = 0;
  for (unsigned i = 0; i < count; ++i) hash = hash * 33 + (unsigned char)items[i].name[6];
  Item wanted = items[77];
  const Item* found = bsearch(&wanted, items, count, sizeof *items, by_name);
  printf("\nsorted %08lx, found %s\n", (unsigned long)hash, found == NULL ? "none" : found->name);
}

static jmp_buf way_out;

static void descend(int depth, int limit) {
  char ballast[32];
  memset(ballast, depth, sizeof ballast);
  if (depth == limit) longjmp(way_out, depth);
  if (depth < limit) descend(depth + 1, limit);
  if (ballast[depth & 31] != depth) printf("stack damaged at %d\n", depth);
}

static void jumps(void) {
  volatile int tries = 0;
  const int depth = setjmp(way_out);
  if (depth != 0) printf("jumped back from depth %d\n", depth);
  if (tries < 3) {
    tries = tries + 1;
    descend(0, 5 * tries);
  }
}

// Dense enough for a jump table, with holes.
static uint32_t dispatch(uint32_t code, uint32_t value) {
  switch (code) {
    case 0:
      return value + 1;
    case 1:
      return value * 3;
    case 2:
      return value ^ 0x5555;
    case 3:
      return value >> 1;
    case 4:
      return value << 3 | value >> 29;
    case 5:
      return ~value;
    case 7:
      return value - code;
    case 8:
      return value % 1000;
    case 9:
      return value / 3;
    case 10:
      return value & 0xFFFF;
    case 11:
      return value | 1;
    case 100:
      return value + 100;
    case 1000:
      return value + 1000;
    case 100000:
      return 0;
    default:
      return value + code;
  }
}

// A state machine whose states return the next one.
typedef struct Step {
  struct Step (*next)(uint32_t input);
} Step;
static Step idle(uint32_t input);
static Step running(uint32_t input);
static Step failed(uint32_t input);
static unsigned visits[3];
static Step idle(uint32_t input) {
  ++visits[0];
  return (Step){input % 3 == 0 ? running : idle};
}
static Step running(uint32_t input) {
  ++visits[1];
  return (Step){input % 7 == 0 ? failed : input % 5 == 0 ? idle : running};
}
static Step failed(uint32_t input) {
  ++visits[2];
  return (Step){input & 1 ? idle : failed};
}

typedef struct {
  uint32_t words[9];
  char tag;
} Block;

static Block mix(Block a, const Block* b, char tag) {
  for (unsigned i = 0; i < 9; ++i) a.words[i] = a.words[i] * 5 + b->words[8 - i];
  a.tag = tag;
  return a;
}

static unsigned sum(unsigned count, ...) {
  va_list arguments;
  va_start(arguments, count);
  unsigned total = 0;
  for (unsigned i = 0; i < count; ++i) {
    if (i % 3 == 2) {
      total += (unsigned)(va_arg(arguments, uint64_t) >> 16);
    } else {
      total += va_arg(arguments, unsigned);
    }
  }
  va_end(arguments);
  return total;
}

int main(void) {
  printf("ackermann(2, 9) = %u\n", ackermann(2, 9));
  uint32_t hash = 0;
  const unsigned moves = hanoi(10, 1, 3, &hash);
  printf("hanoi %u moves %08lx\n", moves, (unsigned long)hash);
  sort_and_search();
  jumps();

  uint32_t value = 12345;
  for (uint32_t i = 0; i < 500; ++i) {
    static const uint32_t far[] = {100, 1000, 100000, 999};
    value = dispatch(i % 14 == 13 ? far[i / 14 % 4] : i % 14, value + i);
  }
  printf("dispatch %08lx\n", (unsigned long)value);

  Step step = {idle};
  for (int i = 0; i < 1000; ++i) step = step.next(next());
  printf("visits %u %u %u\n", visits[0], visits[1], visits[2]);

  Block a = {{1, 2, 3, 4, 5, 6, 7, 8, 9}, 'a'}, b = a;
  for (int i = 0; i < 20; ++i) b = mix(b, &a, (char)('a' + i));
  printf("blocks %08lx %c\n", (unsigned long)b.words[4], b.tag);
  printf("sum %u\n", sum(6, 1u, 2u, (uint64_t)0x123450000u, 4u, 5u, (uint64_t)0x60000u));
  return 0;
}
