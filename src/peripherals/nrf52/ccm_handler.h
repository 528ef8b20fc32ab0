// nRF52 CCM. Source: nRF52832 Product Specification, CCM - AES CCM mode encryption.
// Registers without cryptography: nothing is encrypted and no event comes. The AAR has the same
// address and is found there, so that this block is reached by its name alone.
// Not modelled: TASKS_KSGEN and TASKS_CRYPT, which end the run.
#pragma once

#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/registers/nrf52_ccm.h"

namespace orvo {

class CCMHandler : public Nrf52Handler<Nrf52CCM> {
 public:
  using Nrf52Handler::Nrf52Handler;

  // There never is an operation that it could stop.
  void set_TASKS_STOP(unsigned, unsigned) override {}
};

}  // namespace orvo
