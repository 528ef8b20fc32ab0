// The pin multiplexer: port A of eight pins, PA1 on wire 31 and PA2 on wire 32. PA1's function 7
// leads to internal wire 103, which carries data; PA2's function 1 to internal wire 60, a level.
#include "wires/gpio_base.h"

#include <gmock/gmock.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>
#include <vector>

#include "runner/errors.h"
#include "support/board_pins.h"
#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

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

TEST(GPIOBase, PinsOfThePortGetTheirWiresAndNames) {
  Chip chip;
  EXPECT_EQ(chip.port->pin_manager().GetWire(1), 31u);
  EXPECT_EQ(chip.port->pin_manager().GetWire(2), 32u);
  EXPECT_EQ(chip.port->pin_manager().GetWire(3), 0u);
  EXPECT_EQ(chip.board.Pin2Wire("A2"), 32u);
  EXPECT_THROW(chip.board.Pin2Wire("B1"), UserError);
}

TEST(GPIOBase, InternalWireFollowsDirectionAndFunction) {
  Chip chip;
  const auto& inside = chip.port->internal_gpio();
  for (const auto& [direction, function, wire] : {std::tuple{kPinAlternateFunction, 7u, 103u},
                                                  {kPinAlternateFunction, 6u, ~0u},
                                                  {kPinOutput, 7u, ~0u},
                                                  {kPinAnalog, 7u, ~0u},
                                                  {kPinInput, 7u, ~0u}}) {
    chip.Choose(1, direction, function);
    EXPECT_EQ(inside.GetInternalWireNumber(1), wire) << direction << " " << function;
  }
}

TEST(GPIOBase, DataCrossesThePinBothWaysWhileItsFunctionIsChosen) {
  Chip chip;
  DataListener peripheral, device;
  chip.internal.ConnectToWireData(&peripheral, 103, 103);
  chip.board.ConnectToWireData(&device, 31, 31);
  const auto exchange = [&](const std::string& sign) {
    const std::vector<unsigned char> out{'o', static_cast<unsigned char>(sign[0])};
    const std::vector<unsigned char> in{'i', static_cast<unsigned char>(sign[0])};
    chip.internal.SendDataOverWire(103, 103, out, &peripheral);
    chip.board.SendDataOverWire(31, 31, in, &device);
  };
  exchange("1");
  chip.Choose(1, kPinAlternateFunction, 7);
  exchange("2");
  chip.Choose(1, kPinAlternateFunction, 6);
  exchange("3");
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

TEST(GPIOBase, LeavesTheWiresWhenItGoes) {
  Chip chip;
  chip.Choose(1, kPinAlternateFunction, 7);
  for (unsigned pin = 0; pin < 8; ++pin) {
    chip.port->pin_manager().DetachFromPinLogicState(chip.port.get(), pin);
  }
  chip.port.reset();
  const std::vector<unsigned char> byte{'x'};
  chip.internal.SendDataOverWire(103, 0, byte, nullptr);
  chip.board.SendDataOverWire(31, 0, byte, nullptr);
  chip.board.SendDataOverWire(0, 0, byte, nullptr);
}

TEST(GPIOBase, RefusesABoardWithAWrongPinNumber) {
  for (const char* pins : {R"({"A8": 1})", R"({"A": 1})", R"({"A1x": 1})", R"({"A-1": 1})",
                           R"({"A1": 1, "A01": 2})", R"({"A1": null})"}) {
    const BoardPins table(nlohmann::json::parse(pins));
    WireManager internal(nullptr, 200, false, true), board(nullptr, 200, false, false);
    const PinMux mux;
    try {
      TestPort port("GPIOA", internal, &board, nullptr, 8, kPinInput, &mux);
      ADD_FAILURE() << pins;
    } catch (const UserError& error) {
      EXPECT_THAT(error.message(), HasSubstr("Mcu config.pins.A")) << pins;
    }
  }
}

}  // namespace
}  // namespace orvo
