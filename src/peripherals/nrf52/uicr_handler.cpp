#include "peripherals/nrf52/uicr_handler.h"

namespace orvo {

namespace {
constexpr unsigned kNfcPinsAreGpio = 0xfffffffe;  // NFCPINS.PROTECT disabled
}

void UICRHandler::Reset(ResetType type) {
  if (type == kPowerOnReset) PeripheralMemory::Reset(type);
  MemorySection::set(NFCPINS, kNfcPinsAreGpio);
}

}  // namespace orvo
