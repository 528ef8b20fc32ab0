// The pin multiplexer of the families whose pins have alternate functions (STM32, MK64): joins the
// wires of the board with a second net inside the chip, on which the peripherals sit.
// What arrives on one side of a pin goes on to the other as long as the pin is in
// alternate-function mode and its present function has an internal wire.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <tuple>

#include "wires/pin_manager.h"
#include "wires/wire_manager.h"

namespace orvo {

struct InternalWire {
  unsigned wire_number = 0;
  bool carries_data = false;  // bus data rather than a level
};

// Port name ("GPIOA"), pin number, alternate function number.
using PinMux = std::map<std::tuple<std::string, unsigned, unsigned>, InternalWire>;

class GPIOBase : public Observer<WireLogicLevelEvent>, public Observer<WireDataEvent> {
 public:
  using Observer<WireLogicLevelEvent>::Update;
  using Observer<WireDataEvent>::Update;

  // The side of the port that looks into the chip.
  class InternalGPIO : public Observer<WireLogicLevelEvent>, public Observer<WireDataEvent> {
   public:
    static constexpr unsigned kNoWire = 0xffffffff;

    explicit InternalGPIO(GPIOBase& port);
    ~InternalGPIO() override;

    // From the inside of the chip to the board.
    void Update(std::vector<WireLogicLevelEvent>* events) override;
    void Update(std::vector<WireDataEvent>* events) override;

    // From the board to the inside; nothing happens while the pin has no internal wire.
    void SetInternalWireLevel(unsigned pin, bool level);
    void SetInternalWireData(unsigned pin, const unsigned char* data, unsigned long size);
    // Of the internal wire, or of the board's wire while there is none.
    bool GetInternalWireLevel(unsigned pin) const;
    // The wire that the pin's present function leads to, or kNoWire.
    unsigned GetInternalWireNumber(unsigned pin) const;

   private:
    template <class Action>
    void ForEachWireOfPort(Action action);

    GPIOBase& port_;
  };

  // The board's wires, the internal ones and the pin-mux table outlive the port. Throws UserError
  // for a mistake in the pins of the board configuration.
  GPIOBase(std::string port_name, WireManager& internal_wires, WireManager* board_wires,
           ConnectionManager* connection, unsigned pin_count, pin_direction_t direction,
           const PinMux* pin_mux);
  ~GPIOBase() override;

  // The number of the pin's present alternate function.
  virtual unsigned GetAlternateFunction(unsigned pin) const = 0;

  PinManager& pin_manager() { return *pin_manager_; }
  InternalGPIO& internal_gpio() { return internal_gpio_; }

 private:
  void InitPinManager(ConnectionManager* connection, unsigned pin_count, pin_direction_t direction);

  std::string port_name_;
  WireManager& internal_wires_;
  WireManager* board_wires_;
  const PinMux* pin_mux_;
  std::unique_ptr<PinManager> pin_manager_;
  InternalGPIO internal_gpio_;
};

}  // namespace orvo
