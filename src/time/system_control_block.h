#pragma once

#define REGISTER_CLASS Cm4SystemControlBlock
#define REGISTER_LIST "time/registers/system_control_block.inc"
#define REGISTER_TABLE_LENGTH 57152
#include "memory/register_class.h"
