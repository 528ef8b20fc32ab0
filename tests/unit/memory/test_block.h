#pragma once

#define REGISTER_CLASS TestBlock
#define REGISTER_LIST "unit/memory/test_block.inc"
#define REGISTER_TABLE_LENGTH 0x80
#include "memory/register_class.h"
