#pragma once

#define REGISTER_CLASS Nrf52USBD
#define REGISTER_LIST "peripherals/nrf52/registers/usbd.inc"
#define REGISTER_TABLE_LENGTH 4096
#include "memory/register_class.h"
