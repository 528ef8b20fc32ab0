#pragma once

#define REGISTER_CLASS Nrf52POWER_CLOCK
#define REGISTER_LIST "peripherals/nrf52/registers/power_clock.inc"
#define REGISTER_TABLE_LENGTH 4096
#include "memory/register_class.h"
