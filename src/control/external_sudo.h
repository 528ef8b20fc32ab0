#pragma once

#define REGISTER_CLASS ExternalSUDO
#define REGISTER_LIST "control/registers/external_sudo.inc"
#define REGISTER_TABLE_LENGTH 4096
#include "memory/register_class.h"
