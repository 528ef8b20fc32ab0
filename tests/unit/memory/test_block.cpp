#define DEFINE_REGISTER_CLASSES
#include "unit/memory/test_block.h"
