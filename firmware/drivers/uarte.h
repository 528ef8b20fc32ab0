// UARTE0: transmission from RAM by EasyDMA. 115200 baud on pin P0.06.
#pragma once

// Takes the block over from the FIFO mode.
void uarte_start(void);
// Any length and any source: copies through a buffer in RAM, at most 255 bytes per transfer.
void uarte_write(const char* bytes, unsigned length);
