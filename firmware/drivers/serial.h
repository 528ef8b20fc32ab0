// SPI, SPIM, TWI, TWIM and TWIS, which share a block. nRF52832 Product Specification, "Registers"
// of each.
#pragma once

#include "drivers/registers.h"

// clang-format off
#define SERIAL_BASE(n)              ((n) < 2 ? 0x40003000u + 0x1000u * (n) : 0x40023000u)
#define SERIAL_TASKS_STARTRX(n)     REGISTER(SERIAL_BASE(n) + 0x000)
#define SERIAL_TASKS_STARTTX(n)     REGISTER(SERIAL_BASE(n) + 0x008)
#define SERIAL_TASKS_START(n)       REGISTER(SERIAL_BASE(n) + 0x010)
#define SERIAL_TASKS_STOP(n)        REGISTER(SERIAL_BASE(n) + 0x014)
#define SERIAL_TASKS_SUSPEND(n)     REGISTER(SERIAL_BASE(n) + 0x01C)
#define SERIAL_TASKS_RESUME(n)      REGISTER(SERIAL_BASE(n) + 0x020)
#define SERIAL_TASKS_PREPARERX(n)   REGISTER(SERIAL_BASE(n) + 0x030)
#define SERIAL_TASKS_PREPARETX(n)   REGISTER(SERIAL_BASE(n) + 0x034)
#define SERIAL_EVENTS_STOPPED(n)    REGISTER(SERIAL_BASE(n) + 0x104)
#define SERIAL_EVENTS_READY(n)      REGISTER(SERIAL_BASE(n) + 0x108)  // TWI: RXDREADY
#define SERIAL_EVENTS_ENDRX(n)      REGISTER(SERIAL_BASE(n) + 0x110)
#define SERIAL_EVENTS_END(n)        REGISTER(SERIAL_BASE(n) + 0x118)
#define SERIAL_EVENTS_TXDSENT(n)    REGISTER(SERIAL_BASE(n) + 0x11C)
#define SERIAL_EVENTS_ENDTX(n)      REGISTER(SERIAL_BASE(n) + 0x120)
#define SERIAL_EVENTS_ERROR(n)      REGISTER(SERIAL_BASE(n) + 0x124)
#define SERIAL_EVENTS_BB(n)         REGISTER(SERIAL_BASE(n) + 0x138)
#define SERIAL_EVENTS_SUSPENDED(n)  REGISTER(SERIAL_BASE(n) + 0x148)
#define SERIAL_EVENTS_RXSTARTED(n)  REGISTER(SERIAL_BASE(n) + 0x14C)
#define SERIAL_EVENTS_TXSTARTED(n)  REGISTER(SERIAL_BASE(n) + 0x150)
#define SERIAL_EVENTS_LASTRX(n)     REGISTER(SERIAL_BASE(n) + 0x15C)
#define SERIAL_EVENTS_LASTTX(n)     REGISTER(SERIAL_BASE(n) + 0x160)
#define SERIAL_EVENTS_WRITE(n)      REGISTER(SERIAL_BASE(n) + 0x164)
#define SERIAL_EVENTS_READ(n)       REGISTER(SERIAL_BASE(n) + 0x168)
#define SERIAL_SHORTS(n)            REGISTER(SERIAL_BASE(n) + 0x200)
#define SERIAL_INTENSET(n)          REGISTER(SERIAL_BASE(n) + 0x304)
#define SERIAL_INTENCLR(n)          REGISTER(SERIAL_BASE(n) + 0x308)
#define SERIAL_ERRORSRC(n)          REGISTER(SERIAL_BASE(n) + 0x4C4)
#define SERIAL_MATCH(n)             REGISTER(SERIAL_BASE(n) + 0x4D4)
#define SERIAL_ENABLE(n)            REGISTER(SERIAL_BASE(n) + 0x500)
#define SERIAL_PSEL_SCL(n)          REGISTER(SERIAL_BASE(n) + 0x508)  // SCK
#define SERIAL_PSEL_SDA(n)          REGISTER(SERIAL_BASE(n) + 0x50C)  // MOSI
#define SERIAL_PSEL_MISO(n)         REGISTER(SERIAL_BASE(n) + 0x510)
#define SERIAL_RXD(n)               REGISTER(SERIAL_BASE(n) + 0x518)
#define SERIAL_TXD(n)               REGISTER(SERIAL_BASE(n) + 0x51C)
#define SERIAL_FREQUENCY(n)         REGISTER(SERIAL_BASE(n) + 0x524)
#define SERIAL_RXD_PTR(n)           REGISTER(SERIAL_BASE(n) + 0x534)
#define SERIAL_RXD_MAXCNT(n)        REGISTER(SERIAL_BASE(n) + 0x538)
#define SERIAL_RXD_AMOUNT(n)        REGISTER(SERIAL_BASE(n) + 0x53C)
#define SERIAL_TXD_PTR(n)           REGISTER(SERIAL_BASE(n) + 0x544)
#define SERIAL_TXD_MAXCNT(n)        REGISTER(SERIAL_BASE(n) + 0x548)
#define SERIAL_TXD_AMOUNT(n)        REGISTER(SERIAL_BASE(n) + 0x54C)
#define SERIAL_CONFIG(n)            REGISTER(SERIAL_BASE(n) + 0x554)
#define SERIAL_ADDRESS(n)           REGISTER(SERIAL_BASE(n) + 0x588)
#define SERIAL_ADDRESS1(n)          REGISTER(SERIAL_BASE(n) + 0x58C)
#define SERIAL_CONFIG_TWIS(n)       REGISTER(SERIAL_BASE(n) + 0x594)
#define SERIAL_ORC(n)               REGISTER(SERIAL_BASE(n) + 0x5C0)

// The bit of an event in INTENSET.
#define SERIAL_INT(event)           (1u << (((uint32_t)&(event) & 0xFFF) - 0x100) / 4)

// SHORTS of TWI and TWIM.
#define TWI_BB_SUSPEND              (1u << 0)
#define TWI_BB_STOP                 (1u << 1)
#define TWIM_LASTTX_STARTRX         (1u << 7)
#define TWIM_LASTTX_SUSPEND         (1u << 8)
#define TWIM_LASTTX_STOP            (1u << 9)
#define TWIM_LASTRX_STARTTX         (1u << 10)
#define TWIM_LASTRX_STOP            (1u << 12)

// FREQUENCY
#define SPI_125_KHZ                 0x02000000u
#define SPI_1_MHZ                   0x10000000u
#define SPI_8_MHZ                   0x80000000u
#define TWI_100_KHZ                 0x01980000u
#define TWI_250_KHZ                 0x04000000u
#define TWI_400_KHZ                 0x06680000u
// clang-format on

enum { kSpi = 1, kTwi = 5, kTwim = 6, kSpim = 7, kTwis = 9 };  // ENABLE
enum { kSerial0Irq = 3, kSerial1Irq = 4 };

static inline void serial_buffers(unsigned n, const void* tx, uint32_t tx_count, void* rx,
                                  uint32_t rx_count) {
  SERIAL_TXD_PTR(n) = (uint32_t)tx;
  SERIAL_TXD_MAXCNT(n) = tx_count;
  SERIAL_RXD_PTR(n) = (uint32_t)rx;
  SERIAL_RXD_MAXCNT(n) = rx_count;
}
