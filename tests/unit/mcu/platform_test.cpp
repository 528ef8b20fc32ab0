// The names of the chips: tests/unit/config/sdk_path_test.cpp loads the board of each.
#include "mcu/platform.h"

#include <gtest/gtest.h>

#include "config/scenario_file_handler.h"
#include "support/error_of.h"

namespace orvo {
namespace {

TEST(Platform, UnknownNamesAndChipsWithoutAModelAreErrors) {
  ScenarioFileHandler scenario;
  const auto create = [&](const char* name) {
    return ErrorOf([&] { CreateMcu(name, scenario, nullptr, nullptr); });
  };
  for (const char* name : {"", "NRF52832", "stm32f4", "nrf5283"}) {
    EXPECT_FALSE(IsPlatformSupported(name));
    EXPECT_EQ(create(name), "UserError: Platform " + std::string(name) + " not supported");
  }
  EXPECT_EQ(create("stm32f407"),
            "UserError: Platform stm32f407 is known, but its model is not built in");
}

}  // namespace
}  // namespace orvo
