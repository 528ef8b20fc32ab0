#pragma once

#define REGISTER_CLASS Nrf52CCM
#define REGISTER_LIST "peripherals/nrf52/registers/ccm.inc"
#define REGISTER_TABLE_LENGTH 4096
#include "memory/register_class.h"
