#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "config/configuration_file_handler.h"
#include "support/error_of.h"
#include "support/test_mcu.h"

namespace orvo {
namespace {

struct FlashBench {
  explicit FlashBench(const char* config, unsigned flash_bytes = 0x81000) {
    ISingelton<ConfigurationFileHandler>::ReleaseInstance();
    const nlohmann::json component{{"class", "nrf52832"},
                                   {"config", nlohmann::json::parse(config)}};
    ConfigurationFileHandler::Get().AddComponent(JsonPlace(component, "board.json"));
    mcu.memory().GetSectionByName("Flash")->Resize(flash_bytes);
  }
  ~FlashBench() { ISingelton<ConfigurationFileHandler>::ReleaseInstance(); }
  unsigned Get(unsigned address) { return mcu.memory().get<false>(address); }

  TestMcu mcu;
};

constexpr char kLoad[] = R"({"load_ble_memory_values": true})";

TEST(BleAppTemplate, FormatsThreePagesWhenTheBoardAsksForIt) {
  FlashBench bench(kLoad);
  bench.mcu.memory().loadBLEAppTemplate();
  const unsigned second_words[] = {0xf11e01ff, 0xf11e01fe, 0xf11e01fe};
  for (unsigned page = 0; page < 3; ++page) {
    const unsigned start = 0x7d000 + 0x1000 * page;
    EXPECT_EQ(bench.Get(start), 0xdeadc0deu);
    EXPECT_EQ(bench.Get(start + 4), second_words[page]);
    EXPECT_EQ(bench.Get(start + 8), 0xffffffffu);
    EXPECT_EQ(bench.Get(start + 0xffc), 0xffffffffu);
  }
  EXPECT_EQ(bench.Get(0x7cffc), 0u);  // enlarged flash is 0 where nothing was written
  EXPECT_EQ(bench.Get(0x80000), 0u);
}

TEST(BleAppTemplate, LeavesFlashAloneOtherwise) {
  FlashBench bench(R"({"load_ble_memory_values": false})");
  bench.mcu.memory().loadBLEAppTemplate();
  EXPECT_EQ(bench.Get(0x7d000), 0u);
}

TEST(BleAppTemplate, NeedsAFlashThatHoldsThePages) {
  for (const unsigned flash_bytes : {0x40000u, 0x7fffcu}) {
    FlashBench bench(kLoad, flash_bytes);
    EXPECT_THAT(ErrorOf([&] { bench.mcu.memory().loadBLEAppTemplate(); }),
                testing::HasSubstr("Mcu config.load_ble_memory_values: the chip has no flash"));
  }
}

}  // namespace
}  // namespace orvo
