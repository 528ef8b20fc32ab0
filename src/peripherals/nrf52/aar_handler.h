// nRF52 AAR. Source: nRF52832 Product Specification, AAR - Accelerated address resolver.
// The tasks are noted and nothing is resolved: no event comes. Firmware that uses the CCM, which
// has the same address, reaches these registers. Deliberate: INTENSET and INTENCLR are two plain
// words.
#pragma once

#include "peripherals/nrf52/registers/nrf52_aar.h"

namespace orvo {

class AARHandler : public Nrf52AAR {
 public:
  using Nrf52AAR::Nrf52AAR;

  void set_TASKS_START(unsigned offset, unsigned value) override {
    MemorySection::set(offset, value);
  }
  void set_TASKS_STOP(unsigned offset, unsigned value) override {
    MemorySection::set(offset, value);
  }
};

}  // namespace orvo
