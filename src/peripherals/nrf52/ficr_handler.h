// nRF52 FICR, the factory's constants. Source: nRF52832 Product Specification, FICR.
#pragma once

#include "peripherals/nrf52/registers/nrf52_ficr.h"

namespace orvo {

class FICRHandler : public Nrf52FICR {
 public:
  using Nrf52FICR::Nrf52FICR;

  // Only the power-on reset restores the values, so that what the board's configuration stored
  // here outlives a software reset.
  void Reset(ResetType type) override;
};

}  // namespace orvo
