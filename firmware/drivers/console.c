#include "drivers/console.h"

#include "drivers/uart.h"

static ConsoleWriter current_writer;

void console_start(void) {
  uart_start();
  current_writer = uart_write;
}

void console_write(const char* bytes, unsigned length) { current_writer(bytes, length); }

void console_select(ConsoleWriter writer) { current_writer = writer; }
