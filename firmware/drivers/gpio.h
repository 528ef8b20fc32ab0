// GPIO and GPIOTE. nRF52832 and nRF52840 Product Specifications, "Registers" of both.
#pragma once

#include "drivers/registers.h"

// clang-format off
#define GPIO_BASE(port)             (0x50000000u + 0x300u * (port))
#define GPIO_OUT(port)              REGISTER(GPIO_BASE(port) + 0x504)
#define GPIO_OUTSET(port)           REGISTER(GPIO_BASE(port) + 0x508)
#define GPIO_OUTCLR(port)           REGISTER(GPIO_BASE(port) + 0x50C)
#define GPIO_IN(port)               REGISTER(GPIO_BASE(port) + 0x510)
#define GPIO_DIR(port)              REGISTER(GPIO_BASE(port) + 0x514)
#define GPIO_DIRSET(port)           REGISTER(GPIO_BASE(port) + 0x518)
#define GPIO_PIN_CNF(port, pin)     REGISTER(GPIO_BASE(port) + 0x700 + 4 * (pin))

#define GPIOTE_TASKS_OUT(c)         REGISTER(0x40006000 + 4 * (c))
#define GPIOTE_EVENTS_IN(c)         REGISTER(0x40006100 + 4 * (c))
#define GPIOTE_EVENTS_PORT          REGISTER(0x4000617C)
#define GPIOTE_INTENSET             REGISTER(0x40006304)
#define GPIOTE_INTENCLR             REGISTER(0x40006308)
#define GPIOTE_CONFIG(c)            REGISTER(0x40006510 + 4 * (c))

// PIN_CNF
#define GPIO_INPUT                  0u
#define GPIO_OUTPUT                 1u
#define GPIO_PULL_DOWN              (1u << 2)
#define GPIO_PULL_UP                (3u << 2)
#define GPIO_SENSE_HIGH             (2u << 16)
#define GPIO_SENSE_LOW              (3u << 16)

// GPIOTE_CONFIG of a channel that makes an event of a pin's edges.
#define GPIOTE_EVENT(pin, polarity) (1u | (unsigned)(pin) << 8 | (unsigned)(polarity) << 16)
#define GPIOTE_INT_IN(c)            (1u << (c))
#define GPIOTE_INT_PORT             (1u << 31)
// clang-format on

enum { kRising = 1, kFalling = 2, kToggle = 3 };
enum { kGpioteIrq = 6 };

static inline unsigned gpio_read(unsigned port, unsigned pin) { return GPIO_IN(port) >> pin & 1; }
