// printf, sprintf, sscanf, the string functions and the heap of the C library. Prints the same on
// the host. newlib-nano knows no long long, no %hhd and no %zu, so they are not used.
#include <ctype.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void formats(void) {
  static volatile int number = -12345;
  printf("[%d] [%8d] [%-8d] [%08d] [%+d] [% d]\n", number, number, number, number, -number,
         -number);
  printf("[%u] [%x] [%X] [%#x] [%o] [%.5d]\n", 4000000000u, 0xBEEFu, 0xBEEFu, 0x1Fu, 511u, 42);
  printf("[%s] [%10s] [%-10s] [%.3s] [%c] [%%] [%*d]\n", "text", "right", "left", "truncated", 'x',
         6, 7);
  printf("[%ld] [%lu] [%hd] [%5.2s]\n", -2147483647L, 3000000000UL & 0xFFFFFFFFUL, (short)-7,
         "abc");
}

static void strings(void) {
  char buffer[80] = "The quick brown fox";
  strcat(buffer, " jumps over");
  static volatile unsigned length = 13;
  strncat(buffer, " the lazy dog, twice", length);
  printf("%s (%u)\n", buffer, (unsigned)strlen(buffer));
  printf("%s|%s|%d\n", strchr(buffer, 'q'), strrchr(buffer, 'o'), strstr(buffer, "cat") == NULL);
  printf("%d %d %d\n", strcmp("abc", "abd") < 0, strncmp("abcx", "abcy", 3),
         memcmp("\x80", "\x7F", 1) > 0);
  for (char* p = buffer; *p != '\0'; ++p)
    *p = (char)(isalpha((unsigned char)*p) ? toupper(*p) : '_');
  printf("%s\n", buffer);
  for (char* word = strtok(buffer, "_"); word != NULL; word = strtok(NULL, "_")) {
    printf("%s.", word);
  }
  printf("\n%u %u\n", (unsigned)strspn("123abc", "0123456789"), (unsigned)strcspn("abc;d", ";"));
}

static void numbers(void) {
  char* rest;
  printf("%ld %ld %ld", strtol("  -42abc", &rest, 10), strtol("0x7fF", NULL, 0),
         strtol("-777", NULL, 8));
  printf(" %s %lu %d\n", rest, strtoul("4294967295", NULL, 10), atoi("1999 bottles"));
  int a = 0, b = 0;
  char word[16] = "";
  const int fields = sscanf("17 green 0x2a", "%d %15s %x", &a, word, (unsigned*)&b);
  printf("%d fields: %d %s %d\n", fields, a, word, b);
  char line[64];
  const int length = snprintf(line, sizeof line, "%05d|%-6s|%x", 99, "ab", 0xCAFEu);
  printf("%s %d\n", line, length);
  static volatile unsigned room = 4;
  const int wanted = snprintf(line, room, "%d", 1234567);
  printf("%s %d\n", line, wanted);
}

// Allocates and frees in an order that splits and joins blocks.
static void heap(void) {
  enum { kBlocks = 40 };
  char* blocks[kBlocks] = {NULL};
  uint32_t hash = 0, state = 99;
  for (int i = 0; i < 600; ++i) {
    state = state * 1103515245u + 12345u;
    const unsigned slot = (state >> 16) % kBlocks, size = 8 + (state >> 8) % 90;
    if (blocks[slot] != NULL) {
      for (int k = 0; blocks[slot][k] != '\0'; ++k) hash = hash * 31 + (uint8_t)blocks[slot][k];
      free(blocks[slot]);
      blocks[slot] = NULL;
    } else {
      blocks[slot] = (char*)malloc(size);
      memset(blocks[slot], 'a' + (int)(slot % 26), size - 1);
      blocks[slot][size - 1] = '\0';
    }
    if (i % 50 == 49) {
      for (int k = 0; k < kBlocks; k += 7) {
        if (blocks[k] != NULL) blocks[k] = (char*)realloc(blocks[k], 120);
      }
    }
  }
  for (int i = 0; i < kBlocks; ++i) free(blocks[i]);
  char* zeros = (char*)calloc(100, 3);
  for (int i = 0; i < 300; ++i) hash += (uint8_t)zeros[i];
  free(zeros);
  printf("heap %08lx\n", (unsigned long)hash);
}

int main(void) {
  formats();
  strings();
  numbers();
  heap();
  return 0;
}
