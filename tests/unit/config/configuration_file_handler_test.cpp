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

// ---- Mistakes in the user's file, beyond tests/system/board_file_test.cpp ----

// Asks everything that the system asks of a board.
void LoadAndAsk(const std::string& board_json) {
  BoardBench bench;
  bench.Load(board_json);
  TestMcu mcu;
  mcu.memory().AddSection(new PlainSection(&mcu, "SUDO", 0xA0000000, 4096));
  WireManager wires(nullptr, 200, false, false);
  ConfigurationFileHandler& board = bench.board;
  board.AggregatePeripheralsFromJson(&mcu, wires, board.GetInternalsPeripherals(),
                                     ComponentKind::kInternal);
  board.AggregatePeripheralsFromJson(&mcu, wires, board.GetComponents(), ComponentKind::kExternal);
  board.GetConfigPins();
  board.ConnectPeripheralsForNrf52(&mcu);
}

// A board with this one component, or with this configuration of the chip.
std::string With(const std::string& component) { return "{\"components\": [" + component + "]}"; }
std::string WithConfig(const std::string& config) {
  return With(R"({"class": "nrf52832", "config": {)" + config + "}}");
}

TEST(BoardFiles, MistakesAreUserErrorsThatNameTheirPlace) {
  const std::string config = "board.json: Mcu config.";
  // clang-format off
  const std::pair<std::string, std::string> mistakes[] = {
      {With(R"({"class": "SUDO", "name": "a", "type": 1})"),  "board.json: component \"a\".type: expected a string, found 1"},
      {With(R"({"name": "a"})"),                              "board.json: One of the fields \"class\" or \"file\" should be assigned for peripheral"},
      {With(R"({"class": "Data RAM", "name": "a"})"),         "Unsupported peripheral: Data RAM"},
      {With(R"({"class": "SDCard", "name": "a"})"),            "Peripheral class SDCard is known, but no model of it is built"},
      {With(R"({"file": "a.so", "name": "a"})"),              "board.json: the plug-in a.so can't be loaded"},
      {With(R"({"class": "nrf52832", "config": 7})"),         "board.json: components[0].config: expected an object, found 7"},
      {WithConfig(R"("ram_size": "64k")"),                    config + "ram_size: expected an integer from -2147483648 to 2147483647, found a string"},
      {WithConfig(R"("ram_size": 0.5)"),                      config + "ram_size: expected an integer"},
      {WithConfig(R"("ram_size": 4294967296)"),               config + "ram_size: expected an integer"},
      {WithConfig(R"("HSE": -1)"),                            config + "HSE: expected an integer from 0 to 4294967295, found -1"},
      {WithConfig(R"("external_ram_size": "64k")"),           config + "external_ram_size: expected an integer"},
      {WithConfig(R"("radio": "master")"),                    config + "radio: expected an object, found a string"},
      {WithConfig(R"("load_ble_memory_values": 1)"),          config + "load_ble_memory_values: expected true or false"},
      {WithConfig(R"("pins": [])"),                           config + "pins: expected an object, found an array"},
      {WithConfig(R"("internal_peripherals": true)"),         "board.json: internal_peripherals: expected an array, found a boolean"},
      {WithConfig(R"("internal_peripherals": [{"class": "Button", "name": "b"}])"), "Unsupported peripheral: Button"},
      {WithConfig(R"("internal_peripherals": null)"),         "board.json: Mcu internal_peripherals not exists"},
      {WithConfig(R"("load_ficr_regs": {})"),                 config + "load_ficr_regs: expected an array"},
      {WithConfig(R"("load_temp_regs": [{"address": 0}])"),   config + "load_temp_regs[0]: the key \"value\" is missing"},
      {WithConfig(R"("load_errate_regs": [{"address": "0x0", "value": 0}])"), config + "load_errate_regs[0].address: expected an integer"},
      {WithConfig(R"("ficr": {"mac_address": "12:34:56:78:9a"})"),
       config + "ficr.mac_address: expected six pairs of hexadecimal digits with colons between, found a string"},
      {R"({"DataGenerators": 7})",                            "board.json: DataGenerators: expected an array, found 7"},
      {R"({"DataGenerators": [{"id": 1}]})",                  "Missing 'type' key in data generator. Please check your scenario.json file"},
      {R"({"DataGenerators": [{"id": "1", "type": "SIN"}]})", "board.json: DataGenerators[0].id: expected an integer"}};
  // clang-format on
  for (const auto& [board_json, message] : mistakes) {
    EXPECT_THAT(ErrorOf([&] { LoadAndAsk(board_json); }), StartsWith("UserError: " + message));
  }
  BoardBench bench;
  std::filesystem::create_directory("board.json");
  EXPECT_THAT(ErrorOf([&] { bench.Load(); }), StartsWith("UserError: board.json: "));
}

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
