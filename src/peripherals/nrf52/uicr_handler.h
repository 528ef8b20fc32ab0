// nRF52 UICR, the user's non-volatile settings. Source: nRF52832 Product Specification, UICR.
#pragma once

#include "peripherals/nrf52/registers/nrf52_uicr.h"

namespace orvo {

class UICRHandler : public Nrf52UICR {
 public:
  using Nrf52UICR::Nrf52UICR;

  // Keeps what firmware wrote over a software reset. After any reset the NFC pins are GPIO pins,
  // or start-up code that wants them so would write NFCPINS and reset the chip for ever.
  void Reset(ResetType type) override;
};

}  // namespace orvo
