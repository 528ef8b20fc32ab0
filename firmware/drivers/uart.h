// UART0 in FIFO mode: one byte a time through TXD. 115200 baud on pin P0.06.
#pragma once

void uart_start(void);
void uart_write(const char* bytes, unsigned length);
