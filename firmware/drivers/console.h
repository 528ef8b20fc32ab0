// Where printf goes: by default the UART in its FIFO mode.
#pragma once

typedef void (*ConsoleWriter)(const char* bytes, unsigned length);

// Called by the start-up code before main.
void console_start(void);
void console_write(const char* bytes, unsigned length);
// Sends what follows through another driver.
void console_select(ConsoleWriter writer);
