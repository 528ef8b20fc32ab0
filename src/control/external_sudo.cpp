#define DEFINE_REGISTER_CLASSES
#include "control/external_sudo.h"
