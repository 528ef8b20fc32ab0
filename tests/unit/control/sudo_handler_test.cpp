// What the executable can't reach: tests/system/control_connection_test.cpp has the rest.
#include "control/sudo_handler.h"

#include <gtest/gtest.h>

#include "support/error_of.h"
#include "support/test_mcu.h"

namespace orvo {
namespace {

TEST(SudoHandler, RefusesASecondTimerOfOneIdAndPortsThatTheChipLacks) {
  TestMcu mcu;
  auto* sudo = new SudoHandler(&mcu, "SUDO", 0xA0000000, 4096, {}, {});
  mcu.memory().AddSection(sudo);
  sudo->SetTimer(1000, 77);
  EXPECT_EQ(ErrorOf([&] { sudo->SetTimer(1, 77); }),
            "OrvoError: Can't set timer twice by same id: 77 in Sudo");
  mcu.Stop();
  mcu.clock().Tickrement(64);
  sudo->SetTimer(1000, 77);

  const auto apply = [&] {
    return ErrorOf(
        [&] { mcu.memory().set<true>(sudo->start() + SudoHandler::TASKS_APPLY_PIN, 1); });
  };
  EXPECT_EQ(apply(), "OrvoError: Unknown section : P0 in memory section");
  mcu.memory().AddSection(new PlainSection(&mcu, "P0", 0x50000000, 4096));
  EXPECT_EQ(apply(), "OrvoError: SUDO can't force a pin: section P0 is no model of a GPIO port");
}

}  // namespace
}  // namespace orvo
