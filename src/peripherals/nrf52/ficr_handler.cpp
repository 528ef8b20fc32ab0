#include "peripherals/nrf52/ficr_handler.h"

namespace orvo {

void FICRHandler::Reset(ResetType type) {
  if (type == kPowerOnReset) PeripheralMemory::Reset(type);
}

}  // namespace orvo
