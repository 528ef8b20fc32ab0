// A port of four pins on wires 10 to 13.
#include "wires/pin_manager.h"

#include <gmock/gmock.h>

#include <vector>

#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::ElementsAre;

TEST(PinManager, DrivesAllButInputsInOneBatchAndThoseOnlyByForce) {
  WireManager wires{nullptr, 200, false, false};
  PinManager pins{{10, 11, 12, 13}, &wires, nullptr, kPinInput};
  LevelListener chip, board;
  pins.AttachToPinLogicState(&chip, 1);
  pins.AttachToPinVoltage(&chip, 2);
  for (unsigned wire = 10; wire < 14; ++wire) wires.ConnectToWireLogicState(&board, wire, 7);
  pins.ConfigurePin(0, kPinOutput, kPullHigh, &chip);
  pins.ConfigurePin(2, kPinAlternateFunction, kNoPull, &chip);
  pins.ConfigurePin(3, kPinAnalog, kNoPull, &chip);
  std::vector<WireChange> changes;
  for (unsigned pin = 0; pin < 4; ++pin) changes.push_back({0, false, pin});
  pins.SetMultiplePinLevel(&changes, false, &chip);
  pins.SetPinLevel(1, false, false, &chip);
  pins.ForcePinLeveL(1, false);
  pins.SetPinLevel(2, true, false, &chip);
  pins.DetachFromPinLogicState(&chip, 1);
  pins.ForcePinLeveL(1, true);
  EXPECT_THAT(board.heard(),
              ElementsAre("wire10.pin7=high", "wire10.pin7=low wire12.pin7=low wire13.pin7=low",
                          "wire11.pin7=low", "wire12.pin7=high", "wire11.pin7=high"));
  EXPECT_THAT(chip.heard(), ElementsAre("wire11.pin1=low"));
}

}  // namespace
}  // namespace orvo
