// A port of four pins on wires 10 to 13.
#include "wires/pin_manager.h"

#include <gmock/gmock.h>

#include <vector>

#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Port {
  WireManager wires{nullptr, 200, false, false};
  PinManager pins{{10, 11, 12, 13}, &wires, nullptr, kPinInput};
  LevelListener chip;
  LevelListener board;

  Port() {
    for (unsigned wire = 10; wire < 14; ++wire) wires.ConnectToWireLogicState(&board, wire, wire);
  }
};

TEST(PinManager, InputPinIsNotDrivenUnlessByForce) {
  Port port;
  port.pins.SetPinLevel(2, false, false, &port.chip);
  EXPECT_TRUE(port.pins.GetPinLevel(2));
  port.pins.ForcePinLeveL(2, false);
  EXPECT_FALSE(port.pins.GetPinLevel(2));
  EXPECT_EQ(port.pins.GetPinVoltage(2), 0.0);
  EXPECT_THAT(port.board.heard(), ElementsAre("wire12.pin12=low"));
}

TEST(PinManager, PinsOfAllOtherDirectionsAreDriven) {
  Port port;
  for (const pin_direction_t direction : {kPinOutput, kPinAlternateFunction, kPinAnalog}) {
    port.pins.ConfigurePin(1, direction, kNoPull, &port.chip);
    EXPECT_EQ(port.pins.GetPinDirection(1), direction);
    port.pins.SetPinLevel(1, true, false, &port.chip);
    EXPECT_TRUE(port.pins.GetPinLevel(1));
    port.pins.SetPinLevel(1, false, false, &port.chip);
    EXPECT_FALSE(port.pins.GetPinLevel(1));
  }
}

TEST(PinManager, ManyPinsGoOutAsOneBatchWithoutTheInputs) {
  Port port;
  for (const unsigned pin : {0, 3}) port.pins.ConfigurePin(pin, kPinOutput, kPullHigh, &port.chip);
  const size_t before = port.board.heard().size();
  std::vector<WireChange> changes;
  for (unsigned pin = 0; pin < 4; ++pin) changes.push_back({0, false, pin});
  port.pins.SetMultiplePinLevel(&changes, false, &port.chip);
  ASSERT_EQ(port.board.heard().size(), before + 1);
  EXPECT_EQ(port.board.heard().back(), "wire10.pin10=low wire13.pin13=low");
  EXPECT_TRUE(port.pins.GetPinLevel(1));
}

TEST(PinManager, ObserversOfAPinHearItsNumber) {
  Port port;
  LevelListener listener;
  port.pins.AttachToPinLogicState(&listener, 1);
  port.pins.AttachToPinVoltage(&listener, 2);
  port.wires.SetWireLevel(11, false, 99, false, nullptr, false);
  port.wires.SetWireLevel(12, false, 99, false, nullptr, false);
  port.pins.DetachFromPinLogicState(&listener, 1);
  port.wires.SetWireLevel(11, true, 99, false, nullptr, false);
  EXPECT_THAT(listener.heard(), ElementsAre("wire11.pin1=low", "wire12.pin2=low"));
}

TEST(PinManager, DataGoesOutWhateverTheDirection) {
  Port port;
  DataListener chip, device;
  port.pins.AttachToPinData(&chip, 3);
  port.wires.ConnectToWireData(&device, 13, 77);
  const unsigned char bytes[] = {'h', 'i'};
  port.pins.SendDataToPin(3, bytes, 2, &chip);
  EXPECT_THAT(device.heard(), ElementsAre("wire13.pin77=hi"));
  EXPECT_THAT(chip.heard(), IsEmpty());
  EXPECT_THAT(port.pins.GetPinData(3), ElementsAre('h', 'i'));
}

}  // namespace
}  // namespace orvo
