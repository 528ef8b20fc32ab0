// nRF52 ECB. Source: nRF52832 Product Specification, ECB - AES electronic codebook mode encryption.
// A block takes 7.2 us. The AES is that of OpenSSL.
#pragma once

#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/registers/nrf52_ecb.h"
#include "time/tick_listener.h"

namespace orvo {

class ECBHandler : public Nrf52Handler<Nrf52ECB>, public TickListener {
 public:
  using Nrf52Handler::Nrf52Handler;

  void set_TASKS_STARTECB(unsigned offset, unsigned value) override;
  void set_TASKS_STOPECB(unsigned offset, unsigned value) override;
  void set_INTENSET(unsigned offset, unsigned value) override;
  void set_INTENCLR(unsigned offset, unsigned value) override;

  // The block is done.
  unsigned long OnTick(unsigned long tick) override;
  void Reset(ResetType type) override;

 private:
  void ERRORECBEvent();

  unsigned char* ecb_data_ = nullptr;  // the block in RAM: key, cleartext, ciphertext
  bool end_interrupt_enabled_ = false;
  bool error_interrupt_enabled_ = false;
  bool stopped_ = false;
};

}  // namespace orvo
