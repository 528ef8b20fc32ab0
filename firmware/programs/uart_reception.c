// Reception of UART and UARTE, fed by a client: before each part the program pauses with a code
// that tells the client what to send, and the bytes then come at the speed of the line.
#include <stdio.h>

#include "drivers/event_wait.h"
#include "drivers/sudo.h"

#define COUNT(array) (sizeof(array) / sizeof *(array))

static void pause_for_client(uint32_t code) {
  UART_INTENCLR = ~0u;
  sudo_exit(code);
}

static void start_reception(void* buffer, uint32_t max_count) {
  UARTE_RXD_PTR = (uint32_t)buffer;
  UARTE_RXD_MAXCNT = max_count;
  UARTE_EVENTS_ENDRX = 0;
  UART_TASKS_STARTRX = 1;
}

static void wait_ticks(uint32_t ticks) {
  const uint32_t start = DWT_CYCCNT;
  while (DWT_CYCCNT - start < ticks) {
  }
}

// Each byte interrupts; the first counts from the client's turn. Sends the text back by EasyDMA.
static void echo(uint32_t code, uint32_t baud) {
  static char text[5];
  uint32_t ticks[COUNT(text)];
  UART_ENABLE = UART_ENABLE_UARTE;
  UART_BAUDRATE = baud;
  SUDO_EXIT_CODE = code;
  start_reception(text, 1);
  UART_INTENSET = UARTE_INT_ENDRX;
  ticks[0] = ticks_after(&SUDO_TASKS_EXIT, 1, kUarte0Irq);
  for (unsigned i = 1; i < COUNT(text); ++i) {
    start_reception(text + i, 1);
    ticks[i] = next_pending(kUarte0Irq);
  }
  UARTE_EVENTS_ENDRX = 0;
  UART_INTENCLR = ~0u;
  printf("%08lx: %lu, then", (unsigned long)baud, (unsigned long)ticks[0]);
  for (unsigned i = 2; i < COUNT(text); ++i)
    printf(" %lu", (unsigned long)(ticks[i] - ticks[i - 1]));
  printf(": ");
  fflush(stdout);
  UARTE_TXD_PTR = (uint32_t)text;
  UARTE_TXD_MAXCNT = 0x100 + sizeof text;  // eight bits of it count
  UART_TASKS_STARTTX = 1;
  printf(", sent %lu\n", (unsigned long)UARTE_TXD_AMOUNT);
}

// The byte, and the tick at which it was read.
static char read_byte(uint32_t* tick) {
  uint32_t byte;
  __asm volatile("ldr %0, [%2]\n\tldr %1, [%3]"
                 : "=&r"(byte), "=&r"(*tick)
                 : "r"(&UART_RXD), "r"(&DWT_CYCCNT)
                 : "memory");
  *tick -= 1;
  return (char)byte;
}

// Nine bytes arrive behind a FIFO of six: none is lost. RXDRDY comes a byte time after a byte, or
// after the read of the one before.
static void fifo(void) {
  char bytes[10] = "";
  uint32_t delays[9];
  UART_ENABLE = UART_ENABLE_UART;
  UART_BAUDRATE = UART_BAUDRATE_115200;
  UART_TASKS_STARTRX = 1;
  pause_for_client(100);
  wait_ticks(12 * 5520);
  printf("ready %lu", (unsigned long)UART_EVENTS_RXDRDY);
  for (unsigned i = 0; i < COUNT(delays); ++i) {
    uint32_t read;
    UART_EVENTS_RXDRDY = 0;
    UART_INTENSET = UART_INT_RXDRDY;
    bytes[i] = read_byte(&read);
    delays[i] = i + 1 < COUNT(delays) ? next_pending(kUarte0Irq) - read : 0;
  }
  UART_INTENCLR = ~0u;
  printf(", bytes %s, next ready after", bytes);
  for (unsigned i = 0; i + 1 < COUNT(delays); ++i) printf(" %lu", (unsigned long)delays[i]);
  printf(", empty %lu\n", (unsigned long)UART_RXD);
}

// A full buffer refuses a new start until ENDRX is cleared, and each byte behind it sets ENDRX
// again.
static void buffers(void) {
  static char text[8];
  uint32_t seen[4];
  UART_ENABLE = UART_ENABLE_UARTE;
  UARTE_EVENTS_ENDRX = 0;
  start_reception(text, 0x102);
  pause_for_client(101);
  wait_ticks(2 * 5520 + 2760);
  seen[0] = UARTE_RXD_AMOUNT;
  seen[1] = UARTE_EVENTS_ENDRX;
  UARTE_RXD_PTR = (uint32_t)(text + 2);
  UARTE_RXD_MAXCNT = 3;
  UART_TASKS_STARTRX = 1;
  seen[2] = UARTE_RXD_AMOUNT;
  UARTE_RXD_MAXCNT = 2;
  UARTE_EVENTS_ENDRX = 0;
  wait_ticks(5520);
  seen[3] = UARTE_EVENTS_ENDRX;
  wait_ticks(2 * 5520);
  printf("of five in a buffer of two: %lu %s, end %lu, refused %lu, end again %lu",
         (unsigned long)seen[0], text, (unsigned long)seen[1], (unsigned long)seen[2],
         (unsigned long)seen[3]);
  UARTE_EVENTS_ENDRX = 0;
  UARTE_RXD_MAXCNT = 3;
  UART_TASKS_STARTRX = 1;
  printf(", the rest %lu %s\n", (unsigned long)UARTE_RXD_AMOUNT, text);
  UARTE_EVENTS_ENDRX = 0;

  UART_ENABLE = 0;
  pause_for_client(102);
  wait_ticks(4 * 5520);
  UART_ENABLE = UART_ENABLE_UARTE;
  start_reception(text, 3);
  printf("sent while disabled: %.3s\n", text);
  UARTE_EVENTS_ENDRX = 0;
}

// RXTO follows the stop after 50 bit times, unless a new reception runs by then.
static void stop(void) {
  static char text[8];
  UART_BAUDRATE = 0x01D60000;
  start_reception(text, sizeof text);
  UART_INTENSET = UART_INT_RXTO;
  const uint32_t ticks = ticks_after(&UART_TASKS_STOPRX, 1, kUarte0Irq);
  printf("rxto after %lu, endrx %lu", (unsigned long)ticks, (unsigned long)UARTE_EVENTS_ENDRX);
  UART_INTENCLR = ~0u;
  UART_EVENTS_RXTO = 0;
  UART_TASKS_STARTRX = 1;
  UART_TASKS_STOPRX = 1;
  UART_TASKS_STARTRX = 1;
  wait_ticks(30000);
  printf(", void %lu\n", (unsigned long)UART_EVENTS_RXTO);
}

int main(void) {
  static const uint32_t kBauds[] = {0x00275000, 0x01D60000, 0x01D7E000, 0x04000000, 0x10000000};
  UART_PSEL_RXD = 8;
  for (unsigned i = 0; i < COUNT(kBauds); ++i) echo(i, kBauds[i]);
  fifo();
  buffers();
  stop();
  UART_BAUDRATE = 0xABC;
  return 0;
}
