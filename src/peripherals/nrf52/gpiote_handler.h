// nRF52 GPIOTE: pins that change make events. Source: nRF52832 Product Specification, GPIOTE -
// GPIO tasks and events.
// Not modelled: the output tasks, which end the run; and all of CONFIG but MODE, PSEL and POLARITY.
#pragma once

#include <string>
#include <vector>

#include "memory/observer.h"
#include "peripherals/nrf52/nrf52_handler.h"
#include "peripherals/nrf52/registers/nrf52_gpiote.h"
#include "wires/wire_types.h"

namespace orvo {

class GPIOTEHandler : public Nrf52Handler<Nrf52GPIOTE>, public Observer<WireLogicLevelEvent> {
 public:
  static constexpr unsigned kChannels = 8;

  // The chip has its ports already; throws OrvoError without the section "P0".
  GPIOTEHandler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
                const InterruptMap& interrupts, const nlohmann::json& configuration);
  ~GPIOTEHandler() override;

  // Attaches the block to the wires of all ports; the constructor does it.
  void InitPins();
  // The sense of a port's pin comes here too.
  void set_EVENTS_PORT(unsigned offset, unsigned value) override;
  void set_INTENSET(unsigned offset, unsigned value) override;
  // Wires of the ports have changed.
  void Update(std::vector<WireLogicLevelEvent>* events) override;
};

}  // namespace orvo
