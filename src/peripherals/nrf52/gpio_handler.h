// nRF52 GPIO port. Source: nRF52832 Product Specification, GPIO - General purpose input/output.
// A pin's direction is bit 0 of its PIN_CNF and nothing else: DIR, DIRSET and DIRCLR are storage.
// Not modelled: the input buffer, the drive strengths, LATCH and DETECTMODE.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "devices/gpio_port.h"
#include "memory/observer.h"
#include "peripherals/nrf52/registers/nrf52_gpio.h"
#include "wires/pin_manager.h"

namespace orvo {

class Nrf52GPIOHandler : public Nrf52GPIO, public Observer<WireLogicLevelEvent>, public GpioPort {
 public:
  static constexpr unsigned kPins = 32;

  // Throws OrvoError if the chip has no wires, UserError for a mistake in the board's pins.
  Nrf52GPIOHandler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
                   const InterruptMap& interrupts, const nlohmann::json& configuration);
  ~Nrf52GPIOHandler() override;

  PinManager& pin_manager() override { return *pin_manager_; }
  // Puts the pins on the wires that the board names, all as inputs, and reads their levels.
  void InitPinManager();
  // Whether the key of the board's pin table names a pin of this chip.
  bool ValidatePinKey(const std::string& key) const;
  // Stores the word of OUT and drives the wires of all output pins, as one batch.
  void updateOutState(unsigned new_out);

  void set_OUT(unsigned offset, unsigned value) override;
  void set_OUTSET(unsigned offset, unsigned value) override;
  void set_OUTCLR(unsigned offset, unsigned value) override;
  void set_PIN_CNF(unsigned offset, unsigned index, unsigned value) override;

  // A wire of the port has changed, not by this port. Allocates nothing.
  void Update(std::vector<WireLogicLevelEvent>* events) override;
  void Reset(ResetType type) override;

 private:
  void StoreInput(unsigned pin, bool level);

  std::unique_ptr<PinManager> pin_manager_;
};

}  // namespace orvo
