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

TEST(BoardFiles, DefaultBoardStandsWithoutAUserFile) {
  BoardBench bench;
  bench.Load();
  EXPECT_THAT(ComponentNames(bench.board), ElementsAre("chip", "Default button"));
  EXPECT_EQ(bench.board.GetIntFromMcuConfig("ram_size"), 4096u);
}

TEST(BoardFiles, UserFileReplacesTheDevicesAndKeepsTheChip) {
  BoardBench bench;
  bench.Load(R"({"components": [{"class": "BME280", "name": "Sensor"},
                                {"file": "./plugin.so", "name": "Plug-in"}]})");
  EXPECT_THAT(ComponentNames(bench.board), ElementsAre("chip", "Sensor", "Plug-in"));
  EXPECT_EQ(bench.board.GetHSEFrequency(), 16'000'000u);
}

TEST(BoardFiles, McuEntryChangesOnlyTheKeysThatItNames) {
  BoardBench bench;
  bench.Load(R"({"components": [{"class": "NRF52832", "name": "mine",
                 "config": {"ram_size": 0, "pins": {"P0_3": 17}}}]})");
  EXPECT_THAT(ComponentNames(bench.board), ElementsAre("chip"));
  EXPECT_EQ(bench.board.GetIntFromMcuConfig("ram_size"), 0u);
  EXPECT_EQ(bench.board.GetHSEFrequency(), 16'000'000u);
  // A key is overwritten whole: the other pins are gone.
  EXPECT_EQ(bench.board.GetConfigPins(), nlohmann::json({{"P0_3", 17}}));
}

TEST(BoardFiles, BspIsReadOnlyWithoutABoardFile) {
  BoardBench bench;
  bench.directory.Write("bsp.json", R"({"components": [{"class": "Button", "name": "of bsp"}]})");
  bench.Load();
  EXPECT_THAT(ComponentNames(bench.board), ElementsAre("chip", "of bsp"));
  bench.Load(R"({"components": [{"class": "Button", "name": "of board"}]})");
  EXPECT_THAT(ComponentNames(bench.board), ElementsAre("chip", "of board"));
}

TEST(BoardFiles, DataGeneratorsGoToTheScenario) {
  BoardBench bench;
  bench.Load(R"({"DataGenerators": [{"id": 7, "type": "constant", "config": {"value": 3}}]})");
  EXPECT_EQ(bench.scenario.GetDataGenerator(7, nullptr)->GetNextInt32(), 3);
}

// ---- Questions ----

TEST(McuConfiguration, AbsentKeysHaveTheirDefaults) {
  BoardBench bench(R"({"components": [{"class": "nrf52832", "name": "chip", "config": {}}]})");
  bench.Load();
  EXPECT_EQ(bench.board.GetIntFromMcuConfig("flash_size"), 0xffffffffu);
  EXPECT_EQ(bench.board.GetHSEFrequency(), 8'000'000u);
  EXPECT_FALSE(bench.board.CheckIfLoadBle());
}

TEST(McuConfiguration, NegativeIntegersStayNegative) {
  BoardBench bench;
  bench.Load(R"({"components": [{"class": "nrf52832", "config": {"flash_size": -2}}]})");
  EXPECT_EQ(static_cast<int>(bench.board.GetIntFromMcuConfig("flash_size")), -2);
}

struct PinCase {
  std::string platform;
  std::string pin;
  int wire;  // -1: the chip has no such pin
};

class DefaultPins : public testing::TestWithParam<PinCase> {};

TEST_P(DefaultPins, StandOnTheWireOfTheirRunningNumber) {
  const PinCase& test = GetParam();
  BoardBench bench(R"({"components": [{"class": ")" + test.platform + R"(", "name": "chip"}]})",
                   test.platform);
  bench.Load("", test.platform);
  const nlohmann::json& pins = bench.board.GetConfigPins();
  EXPECT_EQ(pins.value(test.pin, -1), test.wire);
}

INSTANTIATE_TEST_SUITE_P(
    , DefaultPins,
    testing::Values(PinCase{"nrf52832", "P0_0", 0}, PinCase{"nrf52832", "P0_31", 31},
                    PinCase{"nrf52832", "P1_0", 32}, PinCase{"nrf52840", "P1_31", 63},
                    PinCase{"nrf52840", "P1_32", -1}, PinCase{"stm32f407", "A3", 3},
                    PinCase{"stm32f407", "B0", 16}, PinCase{"stm32f411", "H0", 80},
                    PinCase{"stm32f411", "F0", -1}, PinCase{"mk64fn1m0vll12", "E15", 79}),
    [](const auto& test) { return test.param.platform + "_" + test.param.pin; });

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

// ---- Mistakes in the user's file ----

struct MistakeCase {
  std::string name;
  std::string board_json;
  std::string message;  // how it begins
};

// Asks everything that the system asks of a board.
void LoadAndAsk(BoardBench& bench, const std::string& board_json) {
  bench.Load(board_json);
  TestMcu mcu;
  mcu.memory().AddSection(new PlainSection(&mcu, "SUDO", 0xA0000000, 4096));
  WireManager wires(nullptr, 200, false, false);
  ConfigurationFileHandler& board = bench.board;
  board.AggregatePeripheralsFromJson(&mcu, wires, board.GetInternalsPeripherals(),
                                     ComponentKind::kInternal);
  board.AggregatePeripheralsFromJson(&mcu, wires, board.GetComponents(), ComponentKind::kExternal);
  board.GetIntFromMcuConfig("ram_size");
  board.GetHSEFrequency();
  board.CheckIfLoadBle();
  board.GetConfigPins();
  board.IsSsidExist("");
  board.ConnectPeripheralsForNrf52(&mcu);
}

class BoardMistakes : public testing::TestWithParam<MistakeCase> {};

TEST_P(BoardMistakes, AreUserErrorsThatNameTheirPlace) {
  BoardBench bench;
  EXPECT_THAT(ErrorOf([&] { LoadAndAsk(bench, GetParam().board_json); }),
              StartsWith("UserError: " + GetParam().message));
}

// A board with this one component, or with this configuration of the chip.
std::string With(const std::string& component) { return "{\"components\": [" + component + "]}"; }
std::string WithConfig(const std::string& config) {
  return With(R"({"class": "nrf52832", "config": {)" + config + "}}");
}

INSTANTIATE_TEST_SUITE_P(
    , BoardMistakes,
    testing::Values(
        MistakeCase{"not_json", "{\n  components",
                    "board.json: [json.exception.parse_error.101] parse error at line 2"},
        MistakeCase{"not_an_object", "[]", "board.json: expected an object, found an array"},
        MistakeCase{"components_type", R"({"components": 7})",
                    "board.json: components: expected an array, found 7"},
        MistakeCase{"component_type", With("7"),
                    "board.json: components[0]: expected an object, found 7"},
        MistakeCase{"class_type", With(R"({"class": 7, "name": "x"})"),
                    "board.json: components[0].class: expected a string, found 7"},
        MistakeCase{"name_type", With(R"({"class": "SUDO", "name": []})"),
                    "board.json: components[0].name: expected a string, found an array"},
        MistakeCase{"no_name", With(R"({"class": "Button"})"),
                    "board.json: Missing name field in one of the peripherals"},
        MistakeCase{"name_twice",
                    With(R"({"class": "SUDO", "name": "a"}, {"class": "SUDO", "name": "a"})"),
                    "board.json: Duplicate peripheral: a . Each peripheral must have a unique "
                    "name"},
        MistakeCase{"type_word", With(R"({"class": "SUDO", "name": "a", "type": "Device"})"),
                    "Unsupported type : Device. Type should be Peripheral or Mcu"},
        MistakeCase{"type_type", With(R"({"class": "SUDO", "name": "a", "type": 1})"),
                    "board.json: component \"a\".type: expected a string, found 1"},
        MistakeCase{"neither_class_nor_file", With(R"({"name": "a"})"),
                    "board.json: One of the fields \"class\" or \"file\" should be assigned for "
                    "peripheral"},
        MistakeCase{"unknown_class", With(R"({"class": "Teapot", "name": "a"})"),
                    "Unsupported peripheral: Teapot"},
        MistakeCase{"section_as_device", With(R"({"class": "Data RAM", "name": "a"})"),
                    "Unsupported peripheral: Data RAM"},
        MistakeCase{"no_model", With(R"({"class": "Short", "name": "a"})"),
                    "Peripheral class Short is known, but no model of it is built"},
        MistakeCase{"plug_in", With(R"({"file": "a.so", "name": "a"})"),
                    "board.json: the plug-in a.so can't be loaded"},
        MistakeCase{"config_type", With(R"({"class": "nrf52832", "config": 7})"),
                    "board.json: components[0].config: expected an object, found 7"},
        MistakeCase{"ram_size_type", WithConfig(R"("ram_size": "64k")"),
                    "board.json: Mcu config.ram_size: expected an integer from -2147483648 to "
                    "2147483647, found a string"},
        MistakeCase{"ram_size_fraction", WithConfig(R"("ram_size": 0.5)"),
                    "board.json: Mcu config.ram_size: expected an integer"},
        MistakeCase{"ram_size_range", WithConfig(R"("ram_size": 4294967296)"),
                    "board.json: Mcu config.ram_size: expected an integer"},
        MistakeCase{"hse_type", WithConfig(R"("HSE": -1)"),
                    "board.json: Mcu config.HSE: expected an integer from 0 to 4294967295, "
                    "found -1"},
        MistakeCase{"external_ram_type", WithConfig(R"("external_ram_size": "64k")"),
                    "board.json: Mcu config.external_ram_size: expected an integer"},
        MistakeCase{"radio_type", WithConfig(R"("radio": "master")"),
                    "board.json: Mcu config.radio: expected an object, found a string"},
        MistakeCase{"ble_type", WithConfig(R"("load_ble_memory_values": 1)"),
                    "board.json: Mcu config.load_ble_memory_values: expected true or false"},
        MistakeCase{"pins_type", WithConfig(R"("pins": [])"),
                    "board.json: Mcu config.pins: expected an object, found an array"},
        MistakeCase{"internal_type", WithConfig(R"("internal_peripherals": true)"),
                    "board.json: internal_peripherals: expected an array, found a boolean"},
        MistakeCase{"internal_class",
                    WithConfig(R"("internal_peripherals": [{"class": "Button", "name": "b"}])"),
                    "Unsupported peripheral: Button"},
        MistakeCase{"no_internal", WithConfig(R"("internal_peripherals": null)"),
                    "board.json: Mcu internal_peripherals not exists"},
        MistakeCase{"ficr_regs_type", WithConfig(R"("load_ficr_regs": {})"),
                    "board.json: Mcu config.load_ficr_regs: expected an array"},
        MistakeCase{"temp_regs_value", WithConfig(R"("load_temp_regs": [{"address": 0}])"),
                    "board.json: Mcu config.load_temp_regs[0]: the key \"value\" is missing"},
        MistakeCase{"errate_regs_address",
                    WithConfig(R"("load_errate_regs": [{"address": "0x0", "value": 0}])"),
                    "board.json: Mcu config.load_errate_regs[0].address: expected an integer"},
        MistakeCase{"mac_digits", WithConfig(R"("ficr": {"mac_address": "12:34:56:78:9a"})"),
                    "board.json: Mcu config.ficr.mac_address: expected six pairs of hexadecimal "
                    "digits with colons between, found a string"},
        MistakeCase{"generators_type", R"({"DataGenerators": 7})",
                    "board.json: DataGenerators: expected an array, found 7"},
        MistakeCase{"generator_without_type", R"({"DataGenerators": [{"id": 1}]})",
                    "Missing 'type' key in data generator. Please check your scenario.json file"},
        MistakeCase{"generator_id", R"({"DataGenerators": [{"id": "1", "type": "SIN"}]})",
                    "board.json: DataGenerators[0].id: expected an integer"}),
    [](const auto& test) { return test.param.name; });

TEST(BoardFiles, ADirectoryInPlaceOfTheFileIsNamed) {
  BoardBench bench;
  std::filesystem::create_directory("board.json");
  EXPECT_THAT(ErrorOf([&] { bench.Load(); }), StartsWith("UserError: board.json: "));
}

struct MissingCase {
  std::string name;
  std::string default_board;
  std::string message;
};

class IncompleteBoards : public testing::TestWithParam<MissingCase> {};

TEST_P(IncompleteBoards, SayWhatIsMissing) {
  BoardBench bench(GetParam().default_board, "other");  // a platform without default pins
  EXPECT_EQ(ErrorOf([&] {
              bench.Load("", "other");
              bench.board.GetComponents();
              bench.board.GetMcuConfig();
              bench.board.GetConfigPins();
            }),
            "UserError: board.json: " + GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    , IncompleteBoards,
    testing::Values(MissingCase{"components", "{}", "components not exists"},
                    MissingCase{"chip", R"({"components": []})", "Mcu component not exists"},
                    MissingCase{"config", R"({"components": [{"class": "nrf52832"}]})",
                                "Mcu config not exists"},
                    MissingCase{"pins", R"({"components": [{"class": "nrf52832", "config": {}}]})",
                                "Mcu pins not exists"}),
    [](const auto& test) { return test.param.name; });

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

class RecordingRadio : public MemorySection {
 public:
  using MemorySection::MemorySection;
  void ApplyConfiguration(const nlohmann::json& given) override { configuration = given; }
  nlohmann::json configuration;
};

TEST(MemoryValues, ARadioWithoutAModelTakesNoConfiguration) {
  BoardBench bench;
  bench.Load(WithConfig(R"("radio": {"port": 5})"));
  TestMcu mcu;
  mcu.memory().AddSection(new Nrf52RADIO(&mcu, "RADIO", 0x40001000, 4096, {}, {}));
  EXPECT_EQ(ErrorOf([&] { bench.board.ConnectPeripheralsForNrf52(&mcu); }),
            "UserError: board.json: Mcu config.radio: the model of the radio is not built in");
}

TEST(MemoryValues, RadioHearsOfItsConfigurationOnlyIfThereIsOne) {
  BoardBench bench;
  TestMcu mcu;
  auto* radio = new RecordingRadio(&mcu, "RADIO", 0x40001000, 4096);
  mcu.memory().AddSection(radio);
  bench.Load();
  bench.board.ConnectPeripheralsForNrf52(&mcu);
  EXPECT_TRUE(radio->configuration.is_null());
  bench.Load(WithConfig(R"("radio": {"port": 5})"));
  bench.board.ConnectPeripheralsForNrf52(&mcu);
  EXPECT_EQ(radio->configuration, nlohmann::json({{"port", 5}}));
}

}  // namespace
}  // namespace orvo
