#include "peripherals/nrf52/gpio_handler.h"

#include <array>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>

#include "mcu/mcu.h"
#include "peripherals/nrf52/nrf52_handler.h"
#include "runner/errors.h"
#include "wires/port_pins.h"

namespace orvo {

namespace {

constexpr char kFirstPort[] = "P0_";
constexpr char kSecondPort[] = "P1_";
constexpr unsigned kGpioteEventsPort = 0x4000617C;

// PIN_CNF
//     31 .. 18  17 16  15 .. 11  10 .. 8  7 .. 4  3 2   1      0
//               SENSE            DRIVE            PULL  INPUT  DIR
constexpr unsigned kOutput = 1;
constexpr unsigned Pull(unsigned pin_cnf) { return pin_cnf >> 2 & 3; }
enum Sense : unsigned { kSenseHigh = 2, kSenseLow = 3 };
constexpr unsigned SenseOf(unsigned pin_cnf) { return pin_cnf >> 16 & 3; }

}  // namespace

Nrf52GPIOHandler::Nrf52GPIOHandler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
                                   const InterruptMap& interrupts,
                                   const nlohmann::json& configuration)
    : Nrf52GPIO(mcu, std::move(name), start, size_bytes, interrupts, configuration) {
  if (mcu->GetWireManager() == nullptr) throw OrvoError(this->name() + ": the chip has no wires");
  InitPinManager();
}

Nrf52GPIOHandler::~Nrf52GPIOHandler() { mcu_->GetWireManager()->Forget(this); }

// --- Pins ----------------------------------------------------------------------------------------

bool Nrf52GPIOHandler::ValidatePinKey(const std::string& key) const {
  return key.starts_with(kFirstPort) ||
         (mcu_->memory().HasSection("P1") && key.starts_with(kSecondPort));
}

// Deliberate: the port's own name doesn't count. On a chip with two ports both take the pins of
// both, and P1_5 takes the place of P0_5 in either.
void Nrf52GPIOHandler::InitPinManager() {
  WireManager& wires = *mcu_->GetWireManager();
  const auto wire_of_pin = PortWires(wires, kPins, [this](const std::string& key) -> size_t {
    return ValidatePinKey(key) ? std::strlen(kFirstPort) : 0;
  });
  wires.Forget(this);  // of a reset before
  pin_manager_ =
      std::make_unique<PinManager>(wire_of_pin, &wires, mcu_->GetConnectionManager(), kPinInput);
  unsigned levels = 0;
  for (unsigned pin = 0; pin < kPins; ++pin) {
    levels |= static_cast<unsigned>(pin_manager_->GetPinLevel(pin)) << pin;
    pin_manager_->AttachToPinLogicState(this, pin);
  }
  MemorySection::set(IN, levels);
}

void Nrf52GPIOHandler::StoreInput(unsigned pin, bool level) {
  const unsigned others = MemorySection::get(IN) & ~(1u << pin);
  MemorySection::set(IN, others | static_cast<unsigned>(level) << pin);
}

// An output drives its wire at once. Deliberate: not with its bit of OUT, but high if PULL is 1,
// the pull-down, and low otherwise; and again with each store.
void Nrf52GPIOHandler::set_PIN_CNF(unsigned offset, unsigned index, unsigned value) {
  MemorySection::set(offset, value);
  const pin_direction_t direction = (value & kOutput) != 0 ? kPinOutput : kPinInput;
  if (direction != pin_manager_->GetPinDirection(index)) {
    StoreInput(index, pin_manager_->GetPinLevel(index));
  }
  pin_manager_->ConfigurePin(index, direction, static_cast<pin_pullup_t>(Pull(value)), this);
}

// --- Output --------------------------------------------------------------------------------------

void Nrf52GPIOHandler::set_OUT(unsigned, unsigned value) { updateOutState(value); }

void Nrf52GPIOHandler::set_OUTSET(unsigned, unsigned value) {
  updateOutState(MemorySection::get(OUTSET) | value);
}

void Nrf52GPIOHandler::set_OUTCLR(unsigned, unsigned value) {
  updateOutState(MemorySection::get(OUTCLR) & ~value);
}

void Nrf52GPIOHandler::updateOutState(unsigned new_out) {
  std::array<unsigned, kPins> pin_cnf;
  std::memcpy(pin_cnf.data(), bytes() + PIN_CNF, sizeof pin_cnf);
  unsigned outputs = 0;
  for (unsigned pin = 0; pin < kPins; ++pin) outputs |= (pin_cnf[pin] & kOutput) << pin;
  const unsigned levels = (new_out & outputs) | (MemorySection::get(IN) & ~outputs);
  for (const unsigned mirror : {OUT, OUTCLR, OUTSET}) MemorySection::set(mirror, new_out);
  std::vector<WireChange> changes(kPins);
  for (unsigned pin = 0; pin < kPins; ++pin) {
    changes[pin].level = (levels >> pin & 1) != 0;
    changes[pin].pin_number = pin;
  }
  pin_manager_->SetMultiplePinLevel(&changes, false, this);
}

// --- Input ---------------------------------------------------------------------------------------

// Sense is a matter of each event: a level that is reported twice is detected twice.
void Nrf52GPIOHandler::Update(std::vector<WireLogicLevelEvent>* events) {
  for (const WireLogicLevelEvent& event : *events) {
    const unsigned pin_cnf = MemorySection::get(PIN_CNF + 4 * event.pin_number);
    if ((pin_cnf & kOutput) != 0) continue;
    StoreInput(event.pin_number, event.level == 1);
    const unsigned sense = SenseOf(pin_cnf);
    if ((sense == kSenseHigh && event.level == 1) || (sense == kSenseLow && event.level == 0)) {
      mcu_->memory().set<false>(kGpioteEventsPort, kGenerated);
    }
  }
}

// Deliberate: an output's wire keeps its level.
void Nrf52GPIOHandler::Reset(ResetType type) {
  PeripheralMemory::Reset(type);
  InitPinManager();
}

}  // namespace orvo
