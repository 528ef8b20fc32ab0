#include "peripherals/nrf52/gpiote_handler.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "peripherals/nrf52/gpio_handler.h"

namespace orvo {

namespace {

// CONFIG
//     31 .. 18  17 16     15 .. 13  12 .. 8  7 .. 2  1 0
//               POLARITY            PSEL             MODE
enum Mode : unsigned { kEvent = 1 };
enum Polarity : unsigned { kRising = 1, kFalling = 2, kToggle = 3 };

// Deliberate: PSEL is compared with the number of the wire, not with that of the pin. They are
// equal on boards that number their wires after the pins.
bool Matches(unsigned config, const WireLogicLevelEvent& event) {
  const unsigned polarity = config >> 16 & 3;
  if ((config & 3) != kEvent || (config >> 8 & 0x1f) != event.wire_number) return false;
  return polarity == kToggle || (polarity == kRising && event.level == 1) ||
         (polarity == kFalling && event.level == 0);
}

}  // namespace

GPIOTEHandler::GPIOTEHandler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
                             const InterruptMap& interrupts, const nlohmann::json& configuration)
    : Nrf52Handler(mcu, std::move(name), start, size_bytes, interrupts, configuration) {
  InitPins();
}

GPIOTEHandler::~GPIOTEHandler() { mcu_->GetWireManager()->Forget(this); }

void GPIOTEHandler::InitPins() {
  for (const char* port_name : {"P0", "P1"}) {
    if (port_name != std::string("P0") && !mcu_->memory().HasSection(port_name)) continue;
    auto* port = mcu_->memory().GetSectionByName<Nrf52GPIOHandler>(port_name);
    // Each port was made before the chip had the second, whose pins count for both.
    port->InitPinManager();
    for (unsigned pin = 0; pin < Nrf52GPIOHandler::kPins; ++pin) {
      port->pin_manager().AttachToPinLogicState(this, pin);
    }
  }
}

// Deliberate: the enable word says which channels are looked at. Those above its highest bit make
// no event, not even for the PPI; those below make one, which interrupts if their own bit is set.
// The word is shifted out once per batch: an event behind the first finds only what is left of it.
void GPIOTEHandler::Update(std::vector<WireLogicLevelEvent>* events) {
  unsigned enabled = MemorySection::get(INTENSET);
  bool interrupt = false;
  for (const WireLogicLevelEvent& event : *events) {
    for (unsigned channel = 0; channel < kChannels && enabled != 0; ++channel, enabled >>= 1) {
      if (!Matches(MemorySection::get(CONFIG + 4 * channel), event)) continue;
      MemorySection::set(EVENTS_IN + 4 * channel, kGenerated);
      interrupt |= (enabled & 1) != 0;
    }
  }
  if (interrupt) RaiseInterrupt();
}

void GPIOTEHandler::set_EVENTS_PORT(unsigned offset, unsigned value) {
  MemorySection::set(offset, value);
  if (value != 0) RaiseIfEnabled(InterruptBit(EVENTS_PORT));
}

void GPIOTEHandler::set_INTENSET(unsigned offset, unsigned value) {
  static constexpr unsigned kEvents[] = {EVENTS_IN,      EVENTS_IN + 4,  EVENTS_IN + 8,
                                         EVENTS_IN + 12, EVENTS_IN + 16, EVENTS_IN + 20,
                                         EVENTS_IN + 24, EVENTS_IN + 28, EVENTS_PORT};
  Nrf52Handler::set_INTENSET(offset, value);
  RaiseIfPending(kEvents);
}

}  // namespace orvo
