#pragma once

#define REGISTER_CLASS Nrf52RNG
#define REGISTER_LIST "peripherals/nrf52/registers/rng.inc"
#define REGISTER_TABLE_LENGTH 4096
#include "memory/register_class.h"
