// When a BME280 measures, by its modes and standby times, and which register a write is for.
#include "devices/bme280.h"

#include <gtest/gtest.h>

#include "support/test_mcu.h"
#include "wires/i2c_master_high_level.h"
#include "wires/wire_manager.h"

namespace orvo {
namespace {

constexpr unsigned kSda = 5;
constexpr int kTicksPerBit = 10;
constexpr int kWriteOfTwoBytes = 26 * kTicksPerBit;

struct Bench {
  Bench() { master.SetI2cFrequency(64'000'000 / kTicksPerBit); }

  void Write(unsigned char address, unsigned char value) {
    master.Write(0x76, kSda, {address, value});
    mcu.clock().Tickrement(kWriteOfTwoBytes);
  }
  // Whether there is a measurement exactly that many ticks from now, and none before.
  bool MeasuresAfter(int ticks) {
    sensor.SetRegister(0xF8, 0);
    mcu.clock().Tickrement(ticks - 1);
    const bool early = sensor.GetRegister(0xF8) != 0;
    mcu.clock().Tickrement(1);
    return !early && sensor.GetRegister(0xF8) == 0xB1;
  }

  WireManager wires{nullptr, 200, false, true};
  TestMcu mcu{&wires};
  nlohmann::json component{{"pins", {{"sda", kSda}}}};
  BME280 sensor{&mcu, wires, JsonPlace(component, "board.json")};
  I2cMasterHighLevel master{&mcu, wires};
};

TEST(BME280, MeasuresAfterTheStandbyTimeOnceOrAgainAndAgain) {
  constexpr int kMs = 64'000;
  constexpr int kStandbyTicks[] = {kMs / 2,   kMs * 62,   kMs * 125, kMs * 250,
                                   kMs * 500, kMs * 1000, kMs * 10,  kMs * 20};
  for (unsigned field = 0; field < 8; ++field) {
    const int ticks = kStandbyTicks[field];
    Bench bench;
    bench.Write(0xF5, static_cast<unsigned char>(field << 5));
    bench.Write(0xF4, 2);
    EXPECT_EQ(bench.sensor.GetPowerMode(), 1u);
    EXPECT_TRUE(bench.MeasuresAfter(ticks)) << field;
    EXPECT_EQ(bench.sensor.GetPowerMode(), 0u);
    EXPECT_FALSE(bench.MeasuresAfter(ticks)) << field;

    bench.Write(0xF4, 3);
    EXPECT_TRUE(bench.MeasuresAfter(ticks)) << field;
    bench.Write(0xF4, 1);  // while one is under way: the last
    EXPECT_TRUE(bench.MeasuresAfter(ticks - kWriteOfTwoBytes)) << field;
    bench.Write(0xF4, 3);
    bench.Write(0xE0, 0xB6);
    EXPECT_FALSE(bench.MeasuresAfter(ticks)) << field;
    EXPECT_EQ(bench.sensor.GetRegister(0xF7), 0x80u);
    EXPECT_EQ(bench.sensor.GetRegister(0xF5), 0u);
  }
}

TEST(BME280, RegisterStandsBehindEveryAddressOfAWrite) {
  Bench bench;
  using Bytes = std::vector<unsigned char>;
  for (const Bytes& packet : {Bytes{1}, {2, 0xEC}, {2, 0xF5}, {1}, {2, 0xEC}, {2, 0xF2}, {2, 7}}) {
    bench.wires.SendDataOverWire(kSda, kSda, packet, nullptr);
  }
  EXPECT_EQ(bench.sensor.GetRegister(0xF2), 7u);
}

}  // namespace
}  // namespace orvo
