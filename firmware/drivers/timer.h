// TIMER and RTC. nRF52832 Product Specification, "Registers" of both.
#pragma once

#include "drivers/registers.h"

// clang-format off
#define TIMER_BASE(n)               ((n) < 3 ? 0x40008000u + 0x1000u * (n) : 0x40017000u + 0x1000u * (n))
#define TIMER_TASKS_START(n)        REGISTER(TIMER_BASE(n) + 0x000)
#define TIMER_TASKS_STOP(n)         REGISTER(TIMER_BASE(n) + 0x004)
#define TIMER_TASKS_COUNT(n)        REGISTER(TIMER_BASE(n) + 0x008)
#define TIMER_TASKS_CLEAR(n)        REGISTER(TIMER_BASE(n) + 0x00C)
#define TIMER_TASKS_SHUTDOWN(n)     REGISTER(TIMER_BASE(n) + 0x010)
#define TIMER_TASKS_CAPTURE(n, c)   REGISTER(TIMER_BASE(n) + 0x040 + 4 * (c))
#define TIMER_EVENTS_COMPARE(n, c)  REGISTER(TIMER_BASE(n) + 0x140 + 4 * (c))
#define TIMER_SHORTS(n)             REGISTER(TIMER_BASE(n) + 0x200)
#define TIMER_INTENSET(n)           REGISTER(TIMER_BASE(n) + 0x304)
#define TIMER_INTENCLR(n)           REGISTER(TIMER_BASE(n) + 0x308)
#define TIMER_MODE(n)               REGISTER(TIMER_BASE(n) + 0x504)
#define TIMER_BITMODE(n)            REGISTER(TIMER_BASE(n) + 0x508)
#define TIMER_PRESCALER(n)          REGISTER(TIMER_BASE(n) + 0x510)
#define TIMER_CC(n, c)              REGISTER(TIMER_BASE(n) + 0x540 + 4 * (c))

#define TIMER_CLEAR_SHORT(c)        (1u << (c))
#define TIMER_STOP_SHORT(c)         (1u << ((c) + 8))

#define RTC0_TASKS_START            REGISTER(0x4000B000)
#define RTC0_TASKS_STOP             REGISTER(0x4000B004)
#define RTC0_TASKS_CLEAR            REGISTER(0x4000B008)
#define RTC0_TASKS_TRIGOVRFLW       REGISTER(0x4000B00C)
#define RTC0_EVENTS_TICK            REGISTER(0x4000B100)
#define RTC0_EVENTS_OVRFLW          REGISTER(0x4000B104)
#define RTC0_EVENTS_COMPARE(c)      REGISTER(0x4000B140 + 4 * (c))
#define RTC0_INTENSET               REGISTER(0x4000B304)
#define RTC0_INTENCLR               REGISTER(0x4000B308)
#define RTC0_EVTEN                  REGISTER(0x4000B340)
#define RTC0_EVTENSET               REGISTER(0x4000B344)
#define RTC0_EVTENCLR               REGISTER(0x4000B348)
#define RTC0_COUNTER                REGISTER(0x4000B504)
#define RTC0_PRESCALER              REGISTER(0x4000B508)
#define RTC0_CC(c)                  REGISTER(0x4000B540 + 4 * (c))

// INTENSET of both, and EVTEN.
#define TIMER_INT_COMPARE(c)        (1u << ((c) + 16))
#define RTC_INT_TICK                (1u << 0)
#define RTC_INT_OVRFLW              (1u << 1)
// clang-format on

enum { kBits16 = 0, kBits8 = 1, kBits24 = 2, kBits32 = 3 };           // TIMER_BITMODE
enum { kModeTimer = 0, kModeCounter = 1, kModeLowPowerCounter = 2 };  // TIMER_MODE
enum { kTimer0Irq = 8, kTimer1Irq = 9, kTimer2Irq = 10, kRtc0Irq = 11 };
