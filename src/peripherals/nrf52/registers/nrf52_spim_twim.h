#pragma once

#define REGISTER_CLASS Nrf52SPIM_TWIM
#define REGISTER_LIST "peripherals/nrf52/registers/spim_twim.inc"
#define REGISTER_TABLE_LENGTH 4096
#include "memory/register_class.h"
