#include "mcu/platform.h"

#include <gmock/gmock.h>

#include "config/scenario_file_handler.h"
#include "runner/errors.h"

namespace orvo {
namespace {

using testing::HasSubstr;

struct PlatformCase {
  const char* name;
  unsigned max_frequency_hz, flash_bound;
  const char* ports;
  bool built_in;
};

// clang-format off
constexpr PlatformCase kPlatforms[] = {
    {"nrf52832",       0,           0,         "",            true},
    {"nrf52840",       0,           0,         "",            true},
    {"stm32f401",      84'000'000,  0x3ffff,   "ABCDEH",      false},
    {"stm32f407",      168'000'000, 0xfffff,   "ABCDEFGHI",   false},
    {"stm32f410",      100'000'000, 0x1ffff,   "ABCH",        false},
    {"stm32f411",      100'000'000, 0x80000,   "ABCDEH",      false},
    {"stm32f413",      100'000'000, 0x7ffffff, "ABCDEFGH",    false},
    {"stm32f429",      180'000'000, 0x1fffff,  "ABCDEFGHIJK", false},
    {"stm32f446",      180'000'000, 0x1fffff,  "ABCDEFGH",    false},
    {"stm32l476",      800'000'000, 0x100000,  "ABCDEGH",     false},
    {"stm32l475",      800'000'000, 0x100000,  "ABCDEFGH",    false},
    {"mk64fn1m0vll12", 120'000'000, 0x7ffffff, "ABCDE",       false},
};
// clang-format on

TEST(Platform, KnowsTwelveChips) {
  for (const PlatformCase& c : kPlatforms) {
    EXPECT_TRUE(IsPlatformSupported(c.name));
    const PlatformDetails& platform = Platform(c.name);
    EXPECT_EQ(platform.max_frequency_hz, c.max_frequency_hz) << c.name;
    EXPECT_EQ(platform.flash_bound, c.flash_bound) << c.name;
    EXPECT_EQ(platform.ports, c.ports) << c.name;
    EXPECT_EQ(platform.create != nullptr, c.built_in) << c.name;
  }
}

TEST(Platform, AnUnknownNameIsAnError) {
  for (const char* name : {"", "NRF52832", "stm32f4", "nrf5283"}) {
    EXPECT_FALSE(IsPlatformSupported(name));
    try {
      Platform(name);
      FAIL() << "no error for " << name;
    } catch (const UserError& error) {
      EXPECT_EQ(error.message(), "Platform " + std::string(name) + " not supported");
    }
  }
}

TEST(Platform, AChipWithoutAModelSaysSo) {
  ScenarioFileHandler scenario;
  try {
    CreateMcu("stm32f407", scenario, nullptr, nullptr);
    FAIL() << "no error";
  } catch (const UserError& error) {
    EXPECT_THAT(error.message(), HasSubstr("stm32f407"));
    EXPECT_THAT(error.message(), HasSubstr("not built in"));
  }
}

}  // namespace
}  // namespace orvo
