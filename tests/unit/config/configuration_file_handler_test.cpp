#include "config/configuration_file_handler.h"

#include <gmock/gmock.h>

#include "peripherals/nrf52/registers/nrf52_radio.h"
#include "support/test_mcu.h"
#include "unit/config/board_bench.h"
#include "wires/wire_manager.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

std::vector<std::string> ComponentNames(const ConfigurationFileHandler& board) {
  std::vector<std::string> names;
  for (const auto& component : board.GetComponents()) names.push_back(component["name"]);
  return names;
}

// ---- Merging ----

TEST(BoardFiles, UserFileReplacesTheDevicesAndKeepsTheChip) {
  BoardBench bench;
  bench.Load();
  EXPECT_THAT(ComponentNames(bench.board), ElementsAre("chip", "Default button"));
  bench.directory.Write("bsp.json", R"({"components": [{"class": "Button", "name": "of bsp"}]})");
  bench.Load();
  EXPECT_THAT(ComponentNames(bench.board), ElementsAre("chip", "of bsp"));
  bench.Load(R"({"components": [{"class": "BME280", "name": "Sensor"},
                                {"file": "./plugin.so", "name": "Plug-in"}],
                 "DataGenerators": [{"id": 7, "type": "constant", "config": {"value": 3}}]})");
  EXPECT_THAT(ComponentNames(bench.board), ElementsAre("chip", "Sensor", "Plug-in"));
  EXPECT_EQ(bench.board.GetHSEFrequency(), 16'000'000u);
  EXPECT_EQ(bench.board.GetIntFromMcuConfig("ram_size"), 4096u);
  EXPECT_EQ(bench.scenario.GetDataGenerator(7, nullptr)->GetNextInt32(), 3);
}

TEST(BoardFiles, McuEntryChangesOnlyTheKeysThatItNames) {
  BoardBench bench;
  bench.Load(R"({"components": [{"class": "NRF52832", "name": "mine",
                 "config": {"ram_size": 0, "flash_size": -2, "pins": {"P0_3": 17}}}]})");
  EXPECT_THAT(ComponentNames(bench.board), ElementsAre("chip"));
  EXPECT_EQ(bench.board.GetIntFromMcuConfig("ram_size"), 0u);
  EXPECT_EQ(static_cast<int>(bench.board.GetIntFromMcuConfig("flash_size")), -2);
  EXPECT_EQ(bench.board.GetHSEFrequency(), 16'000'000u);
  // A key is overwritten whole: the other pins are gone.
  EXPECT_EQ(bench.board.GetConfigPins(), nlohmann::json({{"P0_3", 17}}));
}

// ---- Questions ----

TEST(McuConfiguration, AbsentKeysHaveTheirDefaults) {
  BoardBench bench(R"({"components": [{"class": "nrf52832", "name": "chip", "config": {}}]})");
  bench.Load();
  EXPECT_EQ(bench.board.GetIntFromMcuConfig("flash_size"), 0xffffffffu);
  EXPECT_EQ(bench.board.GetHSEFrequency(), 8'000'000u);
  EXPECT_FALSE(bench.board.CheckIfLoadBle());
}

TEST(McuConfiguration, DefaultPinsStandOnTheWireOfTheirRunningNumber) {
  struct PinCase {
    std::string platform;
    const char* pin;
    int wire;  // -1: the chip has no such pin
  };
  for (const PinCase& c : {PinCase{"nrf52832", "P0_31", 31}, PinCase{"nrf52832", "P1_0", 32},
                           PinCase{"nrf52840", "P1_31", 63}, PinCase{"nrf52840", "P1_32", -1},
                           PinCase{"stm32f407", "A3", 3}, PinCase{"stm32f407", "B0", 16},
                           PinCase{"stm32f411", "H0", 80}, PinCase{"stm32f411", "F0", -1},
                           PinCase{"mk64fn1m0vll12", "E15", 79}}) {
    BoardBench bench(R"({"components": [{"class": ")" + c.platform + R"(", "name": "chip"}]})",
                     c.platform);
    bench.Load("", c.platform);
    EXPECT_EQ(bench.board.GetConfigPins().value(c.pin, -1), c.wire) << c.platform << c.pin;
  }
}

TEST(Networks, AreThoseOfTheWifiComponent) {
  BoardBench bench;
  bench.Load(R"({"components": [
      {"class": "Button", "name": "B", "config": {"networks": [{"ssid": "no", "password": ""}]}},
      {"class": "ATWINC1500", "name": "W", "config": {"networks": [
          {"ssid": "attic", "password": "a"}, {"ssid": "cellar", "password": "c"}]}}]})");
  EXPECT_TRUE(bench.board.IsSsidExist("cellar"));
  EXPECT_FALSE(bench.board.IsSsidExist("no"));
  EXPECT_TRUE(bench.board.IsSsidAndPassCorrect("attic", "a"));
  EXPECT_FALSE(bench.board.IsSsidAndPassCorrect("attic", "c"));
}

// A board with this configuration of the chip.
std::string WithConfig(const std::string& config) {
  return R"({"components": [{"class": "nrf52832", "config": {)" + config + "}}]}";
}

// ---- Boards that lack something; other mistakes: tests/system/board_file_test.cpp ----

TEST(BoardFiles, IncompleteBoardsSayWhatIsMissing) {
  for (const auto& [default_board, missing] :
       {std::pair("{}", "components"),
        {R"({"components": []})", "Mcu component"},
        {R"({"components": [{"class": "nrf52832"}]})", "Mcu config"},
        {R"({"components": [{"class": "nrf52832", "config": {}}]})", "Mcu pins"}}) {
    BoardBench bench(default_board, "other");  // a platform without default pins
    EXPECT_EQ(ErrorOf([&] {
                bench.Load("", "other");
                bench.board.GetConfigPins();
              }),
              "UserError: board.json: " + std::string(missing) + " not exists");
  }
}

// ---- Building and applying ----

TEST(BoardComponents, InternalEntriesAreSectionsAndTheChipIsLeftOut) {
  BoardBench bench;
  bench.Load(R"({"components": [
      {"class": "nrf52832", "type": "mcu", "config": {"internal_peripherals": [
          {"class": "SUDO", "name": "control", "type": "peripheral"},
          {"class": "Data RAM", "name": "ram", "type": "PERIPHERAL"}]}},
      {"class": "SUDO", "name": "again"}]})");
  TestMcu mcu;
  mcu.memory().AddSection(new PlainSection(&mcu, "SUDO", 0xA0000000, 4096));
  WireManager wires(nullptr, 200, false, false);
  Peripheral* sudo = mcu.memory().GetSectionByName("SUDO");
  Peripheral* ram = mcu.memory().GetSectionByName("Data RAM");
  EXPECT_THAT(bench.board.AggregatePeripheralsFromJson(
                  &mcu, wires, bench.board.GetInternalsPeripherals(), ComponentKind::kInternal),
              ElementsAre(std::pair("control", sudo), std::pair("ram", ram)));
  EXPECT_THAT(bench.board.AggregatePeripheralsFromJson(&mcu, wires, bench.board.GetComponents(),
                                                       ComponentKind::kExternal),
              ElementsAre(std::pair("again", sudo)));
}

TEST(MemoryValues, AreStoredInAStartedNrf52) {
  BoardBench bench;
  bench.Load(WithConfig(R"("load_ficr_regs": [{"address": 268435556, "value": 7},
                                              {"address": 536870912, "value": 4294967295}],
                           "load_temp_regs": [{"address": 536870916, "value": 5}],
                           "load_errate_regs": [{"address": 536870920, "value": 6}],
                           "ficr": {"mac_address": "C1:23:45:67:89:ab"})"));
  TestMcu mcu;
  mcu.memory().AddSection(new PlainSection(&mcu, "FICR", 0x10000000, 4096));
  bench.board.ConnectPeripheralsForNrf52(&mcu);
  EXPECT_EQ(mcu.memory().get<false>(0x20000000), 0xffffffffu);
  EXPECT_EQ(mcu.memory().get<false>(0x20000004), 5u);
  EXPECT_EQ(mcu.memory().get<false>(0x20000008), 6u);
  // The address comes after the registers: 0x100000A4 was given 7 before.
  EXPECT_EQ(mcu.memory().get<false>(0x100000A4), 0x456789abu);
  EXPECT_EQ(mcu.memory().get<false>(0x100000A8), 0xc123u);
}

TEST(MemoryValues, RadioHearsOfItsConfigurationIfThereIsOneAndAModelOfIt) {
  struct RecordingRadio : MemorySection {
    using MemorySection::MemorySection;
    void ApplyConfiguration(const nlohmann::json& given) override { configuration = given; }
    nlohmann::json configuration;
  };
  BoardBench bench;
  TestMcu mcu, without_model;
  auto* radio = new RecordingRadio(&mcu, "RADIO", 0x40001000, 4096);
  mcu.memory().AddSection(radio);
  bench.Load();
  bench.board.ConnectPeripheralsForNrf52(&mcu);
  EXPECT_TRUE(radio->configuration.is_null());
  bench.Load(WithConfig(R"("radio": {"port": 5})"));
  bench.board.ConnectPeripheralsForNrf52(&mcu);
  EXPECT_EQ(radio->configuration, nlohmann::json({{"port", 5}}));
  without_model.memory().AddSection(
      new Nrf52RADIO(&without_model, "RADIO", 0x40001000, 4096, {}, {}));
  EXPECT_EQ(ErrorOf([&] { bench.board.ConnectPeripheralsForNrf52(&without_model); }),
            "UserError: board.json: Mcu config.radio: the model of the radio is not built in");
}

}  // namespace
}  // namespace orvo
