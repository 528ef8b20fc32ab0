// The registers that the drivers and programs use. Sources: ARMv7-M ARM, B3.2 (system control
// space); nRF52832 and nRF52840 Product Specifications, "Registers" of each block.
#pragma once

#include <stdint.h>

#define REGISTER(address) (*(volatile uint32_t*)(address))

// clang-format off
// Core.
#define DWT_CYCCNT              REGISTER(0xE0001004)
#define SYST_CSR                REGISTER(0xE000E010)
#define SYST_RVR                REGISTER(0xE000E014)
#define SYST_CVR                REGISTER(0xE000E018)
#define NVIC_ISER(n)            REGISTER(0xE000E100 + 4 * (n))
#define NVIC_ICER(n)            REGISTER(0xE000E180 + 4 * (n))
#define NVIC_ISPR(n)            REGISTER(0xE000E200 + 4 * (n))
#define NVIC_ICPR(n)            REGISTER(0xE000E280 + 4 * (n))
#define NVIC_IP(line)           (*(volatile uint8_t*)(0xE000E400 + (line)))
#define CPUID                   REGISTER(0xE000ED00)
#define ICSR                    REGISTER(0xE000ED04)
#define VTOR                    REGISTER(0xE000ED08)
#define AIRCR                   REGISTER(0xE000ED0C)
#define SCR                     REGISTER(0xE000ED10)
#define CCR                     REGISTER(0xE000ED14)
#define SHPR2                   REGISTER(0xE000ED1C)
#define SHPR3                   REGISTER(0xE000ED20)
#define SHCSR                   REGISTER(0xE000ED24)
#define CFSR                    REGISTER(0xE000ED28)
#define HFSR                    REGISTER(0xE000ED2C)
#define MMFAR                   REGISTER(0xE000ED34)
#define CPACR                   REGISTER(0xE000ED88)

#define ICSR_PENDSVSET          (1u << 28)
#define AIRCR_VECTKEY           (0x05FAu << 16)
#define AIRCR_SYSRESETREQ       (1u << 2)
#define CCR_DIV_0_TRP           (1u << 4)
#define SHCSR_USGFAULTENA       (1u << 18)

// nRF52 POWER and CLOCK.
#define CLOCK_TASKS_HFCLKSTART    REGISTER(0x40000000)
#define CLOCK_TASKS_HFCLKSTOP     REGISTER(0x40000004)
#define CLOCK_TASKS_LFCLKSTART    REGISTER(0x40000008)
#define CLOCK_TASKS_LFCLKSTOP     REGISTER(0x4000000C)
#define CLOCK_TASKS_CAL           REGISTER(0x40000010)
#define CLOCK_TASKS_CTSTART       REGISTER(0x40000014)
#define CLOCK_EVENTS_HFCLKSTARTED REGISTER(0x40000100)
#define CLOCK_EVENTS_LFCLKSTARTED REGISTER(0x40000104)
#define CLOCK_EVENTS_DONE         REGISTER(0x4000010C)
#define CLOCK_EVENTS_CTTO         REGISTER(0x40000110)
#define CLOCK_INTENSET            REGISTER(0x40000304)
#define POWER_RESETREAS           REGISTER(0x40000400)
#define CLOCK_HFCLKRUN            REGISTER(0x40000408)
#define CLOCK_HFCLKSTAT           REGISTER(0x4000040C)
#define CLOCK_LFCLKRUN            REGISTER(0x40000414)
#define CLOCK_LFCLKSTAT           REGISTER(0x40000418)
#define CLOCK_LFCLKSRC            REGISTER(0x40000518)
#define CLOCK_CTIV                REGISTER(0x40000538)

// nRF52 UART0 and UARTE0: one block.
#define UART_TASKS_STARTRX      REGISTER(0x40002000)
#define UART_TASKS_STOPRX       REGISTER(0x40002004)
#define UART_TASKS_STARTTX      REGISTER(0x40002008)
#define UART_TASKS_STOPTX       REGISTER(0x4000200C)
#define UART_EVENTS_RXDRDY      REGISTER(0x40002108)
#define UARTE_EVENTS_ENDRX      REGISTER(0x40002110)
#define UART_EVENTS_TXDRDY      REGISTER(0x4000211C)
#define UARTE_EVENTS_ENDTX      REGISTER(0x40002120)
#define UART_EVENTS_RXTO        REGISTER(0x40002144)
#define UARTE_EVENTS_RXSTARTED  REGISTER(0x4000214C)
#define UARTE_EVENTS_TXSTARTED  REGISTER(0x40002150)
#define UART_INTENSET           REGISTER(0x40002304)
#define UART_INTENCLR           REGISTER(0x40002308)
#define UART_ENABLE             REGISTER(0x40002500)
#define UART_PSEL_TXD           REGISTER(0x4000250C)
#define UART_PSEL_RXD           REGISTER(0x40002514)
#define UART_RXD                REGISTER(0x40002518)
#define UART_TXD                REGISTER(0x4000251C)
#define UART_BAUDRATE           REGISTER(0x40002524)
#define UARTE_RXD_PTR           REGISTER(0x40002534)
#define UARTE_RXD_MAXCNT        REGISTER(0x40002538)
#define UARTE_RXD_AMOUNT        REGISTER(0x4000253C)
#define UARTE_TXD_PTR           REGISTER(0x40002544)
#define UARTE_TXD_MAXCNT        REGISTER(0x40002548)
#define UARTE_TXD_AMOUNT        REGISTER(0x4000254C)

#define UART_INT_RXDRDY         (1u << 2)
#define UARTE_INT_ENDRX         (1u << 4)
#define UART_INT_TXDRDY         (1u << 7)
#define UART_INT_ENDTX          (1u << 8)
#define UART_INT_RXTO           (1u << 17)
#define UART_ENABLE_UART        4u
#define UART_ENABLE_UARTE       8u
#define UART_BAUDRATE_115200    0x01D7E000u
#define UART_BAUDRATE_1M        0x10000000u

// nRF52 FICR.
#define FICR_CODEPAGESIZE       REGISTER(0x10000010)
#define FICR_DEVICEADDR(n)      REGISTER(0x100000A4 + 4 * (n))

// The simulator's own block; a real chip has nothing there.
#define SUDO_TASKS_APPLY_PIN    REGISTER(0xA0000000)
#define SUDO_TASKS_EXIT         REGISTER(0xA0000004)
#define SUDO_GPIO_PIN           REGISTER(0xA0000500)
#define SUDO_GPIO_VALUE         REGISTER(0xA0000504)
#define SUDO_EXIT_CODE          REGISTER(0xA0000508)
// clang-format on

enum { kPowerClockIrq = 0, kUarte0Irq = 2 };
