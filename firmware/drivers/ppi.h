// PPI channels: an event of one block starts a task of another. nRF52832 Product Specification, PPI.
#pragma once

#include "drivers/registers.h"

#define PPI_TASKS_CHG_EN(n)  REGISTER(0x4001F000 + 8 * (n))
#define PPI_TASKS_CHG_DIS(n) REGISTER(0x4001F004 + 8 * (n))
#define PPI_CHEN             REGISTER(0x4001F500)
#define PPI_CHENSET          REGISTER(0x4001F504)
#define PPI_CHENCLR          REGISTER(0x4001F508)
#define PPI_CH_EEP(n)        REGISTER(0x4001F510 + 8 * (n))
#define PPI_CH_TEP(n)        REGISTER(0x4001F514 + 8 * (n))
#define PPI_CHG(n)           REGISTER(0x4001F800 + 4 * (n))
#define PPI_FORK_TEP(n)      REGISTER(0x4001F910 + 4 * (n))

// Enables the channel. `fork` may be null.
static inline void ppi_connect(unsigned channel, volatile uint32_t* event, volatile uint32_t* task,
                               volatile uint32_t* fork) {
  PPI_CH_EEP(channel) = (uint32_t)(uintptr_t)event;
  PPI_CH_TEP(channel) = (uint32_t)(uintptr_t)task;
  PPI_FORK_TEP(channel) = (uint32_t)(uintptr_t)fork;
  PPI_CHENSET = 1u << channel;
}
