// The pin multiplexer: port A of eight pins, PA1 on wire 31 and PA2 on wire 32. PA1's function 7
// leads to internal wire 103, which carries data; PA2's function 1 to internal wire 60, a level.
#include "wires/gpio_base.h"

#include <gmock/gmock.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "runner/errors.h"
#include "support/board_pins.h"
#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::ElementsAre;

class TestPort : public GPIOBase {
 public:
  using GPIOBase::GPIOBase;

  void Update(std::vector<WireLogicLevelEvent>* events) override {
    for (const auto& event : *events)
      internal_gpio().SetInternalWireLevel(event.pin_number, event.level != 0);
  }
  void Update(std::vector<WireDataEvent>* events) override {
    for (const auto& event : *events)
      internal_gpio().SetInternalWireData(event.pin_number, event.data, event.size);
  }
  unsigned GetAlternateFunction(unsigned pin) const override { return function[pin]; }

  std::vector<unsigned> function = std::vector<unsigned>(8, 0);
};

struct Chip {
  const BoardPins table{nlohmann::json::parse(R"({"A1": 31, "A2": 32, "B1": 33})")};
  const PinMux mux{{{"GPIOA", 1, 7}, {103, true}},
                   {{"GPIOA", 2, 1}, {60, false}},
                   {{"GPIOB", 1, 7}, {103, true}}};
  WireManager internal{nullptr, 200, false, true};
  WireManager board{nullptr, 200, false, false};
  std::unique_ptr<TestPort> port;

  Chip() {
    port = std::make_unique<TestPort>("GPIOA", internal, &board, nullptr, 8, kPinInput, &mux);
    for (unsigned pin = 0; pin < 8; ++pin) {
      port->pin_manager().AttachToPinLogicState(port.get(), pin);
    }
  }

  void Choose(unsigned pin, pin_direction_t direction, unsigned function) {
    port->pin_manager().ConfigurePin(pin, direction, kNoPull, port.get());
    port->function[pin] = function;
  }
};

TEST(GPIOBase, DataCrossesThePinBothWaysWhileItsFunctionIsChosen) {
  Chip chip;
  EXPECT_EQ(chip.board.Pin2Wire("A2"), 32u);
  EXPECT_THROW(chip.board.Pin2Wire("B1"), UserError);
  EXPECT_EQ(chip.port->pin_manager().GetWire(3), 0u);
  DataListener peripheral, device;
  chip.internal.ConnectToWireData(&peripheral, 103, 103);
  chip.board.ConnectToWireData(&device, 31, 31);
  const auto exchange = [&](unsigned char sign) {
    chip.internal.SendDataOverWire(103, 103, {'o', sign}, &peripheral);
    chip.board.SendDataOverWire(31, 31, {'i', sign}, &device);
  };
  exchange('1');
  chip.Choose(1, kPinAlternateFunction, 7);
  exchange('2');
  chip.Choose(1, kPinAlternateFunction, 6);
  exchange('3');
  chip.Choose(1, kPinOutput, 7);
  exchange('4');
  chip.Choose(1, kPinAlternateFunction, 7);
  chip.port.reset();
  exchange('5');
  EXPECT_THAT(device.heard(), ElementsAre("wire31.pin31=o2"));
  EXPECT_THAT(peripheral.heard(), ElementsAre("wire103.pin103=i2"));
}

TEST(GPIOBase, LevelsCrossThePinBothWaysWhileItsFunctionIsChosen) {
  Chip chip;
  LevelListener timer;
  chip.Choose(2, kPinAlternateFunction, 1);
  chip.internal.ConnectToWireLogicState(&timer, 60, 60);
  chip.internal.SetWireLevel(60, false, 60, false, &timer, false);
  EXPECT_FALSE(chip.board.GetWireLevel(32));
  chip.board.SetWireLevel(32, true, 99, false, nullptr, false);
  EXPECT_TRUE(chip.port->internal_gpio().GetInternalWireLevel(2));
  EXPECT_THAT(timer.heard(), ElementsAre("wire60.pin60=high"));
  chip.Choose(2, kPinInput, 1);
  chip.internal.SetWireLevel(60, false, 60, false, &timer, false);
  EXPECT_TRUE(chip.board.GetWireLevel(32));
  EXPECT_TRUE(chip.port->internal_gpio().GetInternalWireLevel(2));
}

}  // namespace
}  // namespace orvo
