// board.json and scenario.json in the directory of the run: each mistake is named with file and
// key, by a run that doesn't start, and by --check-board together with all others.
#include <gmock/gmock.h>

#include "support/orvo_process.h"

namespace orvo {
namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;

constexpr char kBoard[] = "board.json", kScenario[] = "scenario.json";

struct Mistake {
  std::string name;
  const char* file;
  std::string content;
  // What --check-board prints. Where there is "| " a run prints only what stands behind it.
  std::string line;
};

std::ostream& operator<<(std::ostream& stream, const Mistake& test) { return stream << test.name; }

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

class BadFiles : public testing::TestWithParam<Mistake> {};

TEST_P(BadFiles, AreFoundByACheckAndEndARunWithStatus255) {
  OrvoBench bench;
  bench.directory().Write(GetParam().file, GetParam().content);
  bench.directory().Write("text", "1\n2\n");
  bench.directory().Write("narrow", "!char-count:2\n10\n1\n12");
  bench.directory().Write("no_width", "!char-count five\n12345");
  std::string line = GetParam().line;
  std::string reported = line;
  if (const size_t bar = line.find("| "); bar != std::string::npos) {
    reported = line.substr(bar + 2);
    line[bar] = ':';
  }
  const ProcessResult check = bench.Run({"--check-board"});
  EXPECT_EQ(check.exit_status, 1) << check.err;
  const std::vector<std::string> lines = Lines(check.out);
  ASSERT_EQ(lines.size(), 1u) << check.out;
  EXPECT_THAT(lines[0], testing::StartsWith(line));
  const ProcessResult run = bench.RunFirmware("clocks.bin");
  EXPECT_EQ(run.exit_status, 255) << run.out << run.err;
  EXPECT_THAT(run.err, HasSubstr(reported));
}

// --- board.json ----------------------------------------------------------------------------------

std::string Component(const std::string& members) {
  return "{\"components\": [{" + members + "}]}";
}
std::string Button(const std::string& members) {
  return Component(R"("class": "Button", "name": "B", )" + members);
}
std::string Config(const std::string& members) {
  return Component(R"("class": "nrf52832", "config": {)" + members + "}");
}
std::string Pins(const std::string& pins) { return Config(R"("pins": {)" + pins + "}"); }

const std::string kPlace = "board.json: ";
const std::string kChip = "board.json: Mcu config.";
const std::string kB = "board.json: component \"B\"";

// clang-format off
const Mistake kBoardMistakes[] = {
    {"empty",            kBoard, "",                      kPlace + "[json.exception.parse_error.101] parse error at line 1, column 1"},
    {"text",             kBoard, "This is not JSON.",     kPlace + "[json.exception.parse_error.101] parse error at line 1, column 1"},
    {"truncated",        kBoard, R"({"components": [)",   kPlace + "[json.exception.parse_error.101] parse error at line 1, column 17"},
    {"binary",           kBoard, std::string(64, '\xfe'), kPlace + "[json.exception.parse_error.101]"},
    {"too_deep",         kBoard, std::string(200, '['),   kPlace + "nested deeper than 100 levels"},
    {"null_document",    kBoard, "null",                  kPlace + "expected an object, found null"},
    {"array",            kBoard, "[1, 2, 3]",             kPlace + "expected an object, found an array"},
    {"components",       kBoard, R"({"components": 7})",  kPlace + "components: expected an array, found 7"},
    {"component",        kBoard, R"({"components": [7]})", kPlace + "components[0]: expected an object, found 7"},
    {"class_type",       kBoard, Component(R"("class": 7, "name": "B")"), kB + ".class: expected a string, found 7"},
    {"name_type",        kBoard, Component(R"("class": "Button", "name": 7, "pins": {"in": 1})"), kPlace + "components[0].name: expected a string, found 7"},
    {"no_name",          kBoard, Component(R"("class": "Button", "pins": {"in": 1})"), kPlace + "components[0]| Missing name field in one of the peripherals"},
    {"name_twice",       kBoard, R"({"components": [{"class": "Button", "name": "B", "pins": {"in": 1}},
                                                    {"class": "Button", "name": "B", "pins": {"in": 2}}]})",
     kPlace + "components[1].name| Duplicate peripheral: B . Each peripheral must have a unique name"},
    {"type_type",        kBoard, Button(R"("pins": {"in": 1}, "type": [])"), kB + ".type: expected a string, found an array"},
    {"type_unknown",     kBoard, Button(R"("pins": {"in": 1}, "type": "Teapot")"), kB + ".type| Unsupported type : Teapot. Type should be Peripheral or Mcu"},
    {"chip_type",        kBoard, Component(R"("class": "NRF52832", "type": "Teapot")"), kPlace + "components[0].type| Unsupported type : Teapot. Type should be Peripheral or Mcu"},
    {"class_unknown",    kBoard, Component(R"("class": "Teapot", "name": "T")"), kPlace + "component \"T\".class| Unsupported peripheral: Teapot"},
    {"class_not_built",  kBoard, Component(R"("class": "SDCard", "name": "S")"), kPlace + "component \"S\".class| Peripheral class SDCard is known, but no model of it is built"},
    {"neither",          kBoard, Component(R"("name": "N")"), kPlace + "component \"N\"| One of the fields \"class\" or \"file\" should be assigned for peripheral"},
    {"pins_type",        kBoard, Button(R"("pins": [3])"), kB + ".pins: expected an object, found an array"},
    {"pin_missing",      kBoard, Button(R"("pins": {})"), kB + ".pins.in| Missing pin in"},
    {"pin_type",         kBoard, Button(R"("pins": {"in": true})"), kB + ".pins.in: expected a wire number or the name of a pin, found a boolean"},
    {"pin_unknown",      kBoard, Button(R"("pins": {"in": "P1_1"})"), kB + ".pins.in| Pin_name: P1_1 is invalid pin number"},
    {"pin_on_supply",    kBoard, Button(R"("pins": {"in": "vdd"})"), kB + "| Only wire level and wire voltage can be read from vdd/gnd wires"},
    {"config_type",      kBoard, Button(R"("pins": {"in": 1}, "config": 7)"), kB + ".config: expected an object, found 7"},
    {"generators_type",  kBoard, Button(R"("pins": {"in": 1}, "generators": "x")"), kB + ".generators: expected an object, found a string"},
    {"generator_type",   kBoard, Button(R"("pins": {"in": 1}, "generators": {"x": "1"})"), kB + ".generators.x: expected an integer from 0 to 4294967295, found a string"},
    {"generator_unknown", kBoard, Button(R"("pins": {"in": 1}, "generators": {"x": 3})"), kB + ".generators.x| Data generator id 3 doesn't exist (check your scenario.json file)"},
    {"chip_config_type", kBoard, Component(R"("class": "nrf52832", "config": 7)"), kPlace + "components[0].config: expected an object, found 7"},
    {"key_twice",        kBoard, Pins(R"("P0_1": 1, "P0_1": 2)"), kPlace + "the key \"P0_1\" stands twice in one object"},
    {"pin_twice",        kBoard, Pins(R"("P0_1": 1, "P0_01": 2)"), kChip + "pins.P0_1: names the same pin as P0_01"},
    {"pin_no_number",    kBoard, Pins(R"("P0_x": 1)"), kChip + "pins.P0_x: expected a pin number below 32 behind P0_"},
    {"pin_of_no_port",   kBoard, Pins(R"("P0_32": 1)"), kChip + "pins.P0_32: expected a pin number below 32 behind P0_"},
    {"wire_type",        kBoard, Pins(R"("P0_1": [1])"), kChip + "pins.P0_1: expected a wire number or the name of a pin, found an array"},
    {"wire_too_high",    kBoard, Pins(R"("P0_1": 198)"), kChip + "pins.P0_1| wire number 198 is invalid, wire number should be lesser than 198. Please check your bsp.json file"},
    {"wire_negative",    kBoard, Pins(R"("P0_1": -1)"), kChip + "pins.P0_1| wire number -1 is invalid"},
    {"pin_named_later",  kBoard, Pins(R"("P0_1": "P0_2", "P0_2": 2)"), kChip + "pins.P0_1| Pin_name: P0_2 is invalid pin number"},
    {"chip_pins_type",   kBoard, Config(R"("pins": [1])"), kChip + "pins: expected an object, found an array"},
    {"ram_size_type",    kBoard, Config(R"("ram_size": "64k")"), kChip + "ram_size: expected an integer from -2147483648 to 2147483647, found a string"},
    {"ram_size_broken",  kBoard, Config(R"("ram_size": 0.5)"), kChip + "ram_size: expected an integer"},
    {"ram_size_too_big", kBoard, Config(R"("ram_size": 4294967296)"), kChip + "ram_size: expected an integer"},
    {"ram_size_overlap", kBoard, Config(R"("ram_size": 2000000000)"), kChip + "ram_size: expected at most 536870912 bytes, up to"},
    {"flash_size_type",  kBoard, Config(R"("flash_size": {})"), kChip + "flash_size: expected an integer"},
    {"external_ram",     kBoard, Config(R"("external_ram_size": "64k")"), kChip + "external_ram_size: expected an integer"},
    {"hse_negative",     kBoard, Config(R"("HSE": -1)"), kChip + "HSE: expected an integer from 0 to 4294967295, found -1"},
    {"seed_negative",    kBoard, Config(R"("seed": -1)"), kChip + "seed: expected an integer from 0 to 4294967295, found -1"},
    {"ble_type",         kBoard, Config(R"("load_ble_memory_values": 1)"), kChip + "load_ble_memory_values: expected true or false, found 1"},
    {"radio_type",       kBoard, Config(R"("radio": "master")"), kChip + "radio: expected an object, found a string"},
    {"ficr_type",        kBoard, Config(R"("ficr": [])"), kChip + "ficr: expected an object, found an array"},
    {"mac_type",         kBoard, Config(R"("ficr": {"mac_address": 7})"), kChip + "ficr.mac_address: expected a string, found 7"},
    {"mac_short",        kBoard, Config(R"("ficr": {"mac_address": "12:34:56:78:9a"})"), kChip + "ficr.mac_address: expected six pairs of hexadecimal digits"},
    {"regs_type",        kBoard, Config(R"("load_ficr_regs": {})"), kChip + "load_ficr_regs: expected an array, found an object"},
    {"regs_entry",       kBoard, Config(R"("load_ficr_regs": [5])"), kChip + "load_ficr_regs[0]: expected an object, found 5"},
    {"regs_value",       kBoard, Config(R"("load_temp_regs": [{"address": 0}])"), kChip + "load_temp_regs[0]: the key \"value\" is missing"},
    {"regs_address",     kBoard, Config(R"("load_errate_regs": [{"address": "0x0", "value": 0}])"), kChip + "load_errate_regs[0].address: expected an integer from 0"},
    {"internal_type",    kBoard, Config(R"("internal_peripherals": true)"), kChip + "internal_peripherals: expected an array, found a boolean"},
    {"internal_null",    kBoard, Config(R"("internal_peripherals": null)"), "board.json| Mcu internal_peripherals not exists"},
    {"internal_class",   kBoard, Config(R"("internal_peripherals": [{"class": "Button", "name": "b"}])"), kChip + "internal_peripherals[0].class| Unsupported peripheral: Button"},
    {"internal_no_name", kBoard, Config(R"("internal_peripherals": [{"class": "SUDO"}])"), kChip + "internal_peripherals[0]: the key \"name\" is missing"},
    {"internal_name",    kBoard, Config(R"("internal_peripherals": [{"class": "SUDO", "name": 1}])"), kChip + "internal_peripherals[0].name: expected a string, found 1"},
    {"generators_of_board", kBoard, R"({"DataGenerators": 7})", kPlace + "DataGenerators: expected an array, found 7"},
    {"generator_of_board",  kBoard, R"({"DataGenerators": [{"id": 1}]})", kPlace + "DataGenerators[0]| Missing 'type' key in data generator"}};

// --- scenario.json -------------------------------------------------------------------------------

std::string Generators(const std::string& list) { return "{\"DataGenerators\": [" + list + "]}"; }
std::string Kind(const std::string& kind, const std::string& config) {
  return Generators(R"({"id": 5, "type": ")" + kind + R"(", "config": {)" + config + "}}");
}

const std::string kGenerator = "scenario.json: DataGenerators[0]";
const std::string kKey = kGenerator + ".config.";
const std::string kCheck = ". Please check your scenario.json file";

const Mistake kScenarioMistakes[] = {
    {"s_empty",          kScenario, "",                                "scenario.json: [json.exception.parse_error.101] parse error at line 1, column 1"},
    {"s_number",         kScenario, "7",                               "scenario.json: expected an object, found 7"},
    {"s_list",           kScenario, R"({"DataGenerators": {}})",       "scenario.json: DataGenerators: expected an array, found an object"},
    {"s_entry",          kScenario, Generators("1"),                   kGenerator + ": expected an object, found 1"},
    {"s_no_id",          kScenario, Generators(R"({"type": "CONSTANT", "config": {"value": 1}})"), kGenerator + ": the key \"id\" is missing"},
    {"s_id_type",        kScenario, Generators(R"({"id": -1, "type": "CONSTANT", "config": {"value": 1}})"), kGenerator + ".id: expected an integer from 0 to 4294967295, found -1"},
    {"s_id_twice",       kScenario, Generators(R"({"id": 5, "type": "CONSTANT", "config": {"value": 1}}, {"id": 5, "type": "CONSTANT", "config": {"value": 1}})"),
     "scenario.json: DataGenerators[1].id| Duplicate generator id: 5"},
    {"s_no_type",        kScenario, Generators(R"({"id": 5})"),        kGenerator + "| Missing 'type' key in data generator: 5"},
    {"s_type_type",      kScenario, Generators(R"({"id": 5, "type": 5})"), kGenerator + ".type: expected a string, found 5"},
    {"s_type_unknown",   kScenario, Kind("noise", ""),                 kGenerator + ".type| Unsupported data generator: NOISE"},
    {"s_config_type",    kScenario, Generators(R"({"id": 5, "type": "CONSTANT", "config": 1})"), kGenerator + ".config: expected an object, found 1"},
    {"s_no_config",      kScenario, Generators(R"({"id": 5, "type": "constant"})"), kKey + "value| Missing 'value' key in constant data generator CONSTANT" + kCheck},
    {"s_value_type",     kScenario, Kind("CONSTANT", R"("value": true)"), kKey + "value: expected a string or a number, found a boolean"},
    {"s_timing_type",    kScenario, Kind("CONSTANT", R"("value": 1, "timing": 5)"), kKey + "timing: expected an object, found 5"},
    {"s_interval",       kScenario, Kind("CONSTANT", R"("value": 1, "timing": {"changeInterval": -1, "changeIntervalUnit": "s"})"), kKey + "timing.changeInterval: expected an integer from 0"},
    {"s_unit",           kScenario, Kind("CONSTANT", R"("value": 1, "timing": {"changeInterval": 1, "changeIntervalUnit": 1})"), kKey + "timing.changeIntervalUnit: expected a string, found 1"},
    {"s_no_unit",        kScenario, Kind("CONSTANT", R"("value": 1, "timing": {"changeInterval": 1})"), kKey + "timing: the key \"changeIntervalUnit\" is missing"},
    {"s_random_min",     kScenario, Kind("RANDOM", R"("max": 1)"),     kKey + "min| Missing min value in random generator RANDOM" + kCheck},
    {"s_random_max",     kScenario, Kind("RANDOM", R"("min": 1)"),     kKey + "max| Missing max value in random generator RANDOM" + kCheck},
    {"s_random_type",    kScenario, Kind("RANDOM", R"("min": 0.5, "max": 1)"), kKey + "min: expected an integer from -2147483648"},
    {"s_random_range",   kScenario, Kind("RANDOM", R"("min": 5, "max": 5)"), kKey + "max: expected a value above min by 1 to 2147483647, found 5"},
    {"s_random_wide",    kScenario, Kind("RANDOM", R"("min": -2147483648, "max": 2147483647)"), kKey + "max: expected a value above min"},
    {"s_increment_min",  kScenario, Kind("INCREMENT", R"("max": 1, "step": 1)"), kKey + "min| Missing min value in data generator INCREMENT" + kCheck},
    {"s_increment_max",  kScenario, Kind("INCREMENT", R"("min": 1, "step": 1)"), kKey + "max| Missing max value in data generator INCREMENT" + kCheck},
    {"s_increment_step", kScenario, Kind("INCREMENT", R"("min": 1, "max": 2)"), kKey + "step| Missing step value in data generator INCREMENT.Please check your scenario.json file"},
    {"s_increment_type", kScenario, Kind("INCREMENT", R"("min": 1, "max": 2, "step": "1")"), kKey + "step: expected a number, found a string"},
    {"s_step_of_zero",   kScenario, Kind("INCREMENT", R"("min": 0, "max": 5, "step": 0)"), kKey + "step: expected a step that leads from min to max, found 0"},
    {"s_step_away",      kScenario, Kind("INCREMENT", R"("min": 0, "max": 5, "step": -1)"), kKey + "step: expected a step that leads from min to max, found -1"},
    {"s_sin_min",        kScenario, Kind("SIN", R"("max": 2, "sinFrequency": 1)"), kKey + "min| Missing min value in sine generator.SIN" + kCheck},
    {"s_sin_max",        kScenario, Kind("SIN", R"("min": 1, "sinFrequency": 1)"), kKey + "max| Missing max value in sine generator SIN" + kCheck},
    {"s_sin_frequency",  kScenario, Kind("SIN", R"("min": 1, "max": 2)"), kKey + "sinFrequency| Missing sinFrequency value in sine generator SIN" + kCheck},
    {"s_sin_type",       kScenario, Kind("SIN", R"("min": 1, "max": 2, "sinFrequency": [1])"), kKey + "sinFrequency: expected a number, found an array"},
    {"s_values",         kScenario, Kind("VALUES", ""), kKey + "validValues| Missing validValues value in values generator VALUES" + kCheck},
    {"s_values_type",    kScenario, Kind("VALUES", R"("validValues": 1)"), kKey + "validValues: expected an array, found 1"},
    {"s_values_empty",   kScenario, Kind("VALUES", R"("validValues": [])"), kKey + "validValues: expected an array of at least one number"},
    {"s_values_entry",   kScenario, Kind("VALUES", R"("validValues": [1, "2"])"), kKey + "validValues[1]: expected a number, found a string"},
    {"s_no_path",        kScenario, Kind("FILE", ""),                  kKey + "path| Missing 'path' key in data generator: FILE" + kCheck},
    {"s_path_type",      kScenario, Kind("FILE", R"("path": 5)"),      kKey + "path: expected a string, found 5"},
    {"s_no_file",        kScenario, Kind("FILE", R"("path": "absent.txt")"), kKey + "path| Failed to open data file: absent.txt"},
    {"s_directory",      kScenario, Kind("FILE", R"("path": ".")"),    kKey + "path| Failed to open data file: ."},
    {"s_header",         kScenario, Kind("FILE", R"("path": "no_width")"), kKey + "path| First line of data generated char-count should be in the following format (e.g. !char-count:5). Please check your data generator file"},
    {"s_no_header",      kScenario, Kind("FILE", R"("path": "text", "timing": {"changeInterval": 1, "changeIntervalUnit": "s"})"),
     kKey + "path| Add char-count on the first line in data file (e.g. !char-count:5). Please check your data generator file"},
    {"s_width",          kScenario, Kind("FILE", R"("path": "narrow")"), kKey + "path: narrow, line 3: expected 2 characters as the first line says, found 1"}};
// clang-format on

const auto kName = [](const auto& test) { return test.param.name; };
INSTANTIATE_TEST_SUITE_P(OfBoards, BadFiles, testing::ValuesIn(kBoardMistakes), kName);
INSTANTIATE_TEST_SUITE_P(OfScenarios, BadFiles, testing::ValuesIn(kScenarioMistakes), kName);

// --- Check ---------------------------------------------------------------------------------------

TEST(CheckBoard, NamesAllMistakesOfBothFilesByComponentAndKey) {
  OrvoBench bench;
  bench.directory().Write("bsp.json", R"({"components": [
      {"class": "nrf52832", "config": {"HSE": "8 MHz", "pins": {"P0_1": 300, "P0_2": true}}},
      {"class": "Teapot", "name": "T", "type": "teapot"},
      {"class": "Short", "pins": {"pin1": 3}},
      {"file": "plugin.so"},
      {"class": "Short", "name": "S", "pins": {"pin1": "P0_7"}, "generators": {"x": 1, "y": 2, "z": 3}}]})");
  bench.directory().Write("scenario.json", R"({"DataGenerators": [
      {"id": 1, "type": "sin", "config": {"min": "low", "sinFrequency": 1}},
      {"id": 2, "type": "file", "config": {"path": "gone"}}, {"id": 2}]})");
  const ProcessResult check = bench.Run({"--check-board"});
  EXPECT_EQ(check.exit_status, 1);
  EXPECT_THAT(
      Lines(check.out),
      ElementsAreArray(
          {"bsp.json: components[2]: Missing name field in one of the peripherals",
           "bsp.json: Mcu config.HSE: expected an integer from 0 to 4294967295, found a string",
           "bsp.json: Mcu config.pins.P0_1: wire number 300 is invalid, wire number should be "
           "lesser than 198. Please check your bsp.json file",
           "bsp.json: Mcu config.pins.P0_2: expected a wire number or the name of a pin, found a "
           "boolean",
           "bsp.json: component \"T\".type: Unsupported type : teapot. Type should be Peripheral "
           "or Mcu",
           "bsp.json: component \"T\".class: Unsupported peripheral: Teapot",
           "bsp.json: components[2].pins.pin0: Missing pin pin0",
           "bsp.json: components[3].file: the plug-in plugin.so can't be loaded: support for "
           "plug-ins is not built in",
           "bsp.json: components[3]: the key \"name\" is missing",
           "bsp.json: component \"S\".generators.z: Data generator id 3 doesn't exist (check your "
           "scenario.json file)",
           "bsp.json: component \"S\".pins.pin0: Missing pin pin0",
           "bsp.json: component \"S\".pins.pin1: Pin_name: P0_7 is invalid pin number",
           "scenario.json: DataGenerators[0].config.min: expected a number, found a string",
           "scenario.json: DataGenerators[0].config.max: Missing max value in sine generator SIN. "
           "Please check your scenario.json file",
           "scenario.json: DataGenerators[1].config.path: Failed to open data file: gone",
           "scenario.json: DataGenerators[2].id: Duplicate generator id: 2",
           "scenario.json: DataGenerators[2]: Missing 'type' key in data generator: 2"}));
}

TEST(CheckBoard, SaysWhatItFoundInOrderAndDoesNotRun) {
  OrvoBench bench;
  ProcessResult check = bench.Run({"--check-board", "-i", "absent.bin"});
  EXPECT_EQ(check.exit_status, 0) << check.out;
  EXPECT_THAT(check.out, HasSubstr("nrf52832_default_board.json; there is no scenario.json\n"));
  // The same pins are right or wrong by the chip.
  bench.directory().Write("board.json",
                          Button(R"("pins": {"in": "P1_4"}, "generators": {"x": 5})"));
  bench.directory().Write("scenario.json", Kind("VALUES", R"("validValues": [1, 2.5])"));
  check = bench.Run({"--check-board", "--mcu", "nrf52840"});
  EXPECT_EQ(check.exit_status, 0) << check.out;
  EXPECT_EQ(check.out, "No problems in board.json and scenario.json\n");
  EXPECT_EQ(bench.Run({"--check-board"}).exit_status, 1);
  EXPECT_FALSE(bench.directory().Has(".zandor/port"));
}

TEST(CheckBoard, WarnsOfWhatNothingReadsOrMayBeMeantOtherwise) {
  OrvoBench bench;
  bench.directory().Write("board.json", R"({"component": [], "components": [
      {"class": "nrf52840", "config": {"ramsize": 4, "pins": {"P0_1": 1, "P1_4": 36}}},
      {"class": "MockI2cDevice", "name": "M", "pins": {"sda": "vdd", "sad": 2}},
      {"class": "Button", "name": "B", "pins": {"in": 1}, "generator": {}}]})");
  bench.directory().Write("scenario.json",
                          Kind("SIN", R"("min": 0, "max": 1, "sinFrequency": 1, "time": {})"));
  const ProcessResult check = bench.Run({"--check-board"});
  EXPECT_EQ(check.exit_status, 0) << check.out;
  for (const char* place :
       {"board.json: nothing reads the key \"component\"",
        "board.json: components[0].class: changes the nrf52832 of this run all the same",
        "board.json: Mcu config: nothing reads the key \"ramsize\"",
        "board.json: Mcu config.pins: nothing reads the key \"P1_4\"",
        "board.json: component \"M\": pin sda stands on vdd or gnd",
        "board.json: component \"M\".pins: nothing reads the key \"sad\"",
        "board.json: component \"B\": nothing reads the key \"generator\"",
        "scenario.json: DataGenerators[0].config: nothing reads the key \"time\""}) {
    EXPECT_THAT(check.err, HasSubstr(std::string("Warning: ") + place));
  }
}

TEST(CheckBoard, ReportsADirectoryInPlaceOfAFile) {
  for (const char* name : {"board.json", "bsp.json", "scenario.json"}) {
    OrvoBench bench;
    std::filesystem::create_directory(bench.directory().path() / name);
    EXPECT_THAT(bench.Run({"--check-board"}).out, testing::StartsWith(name + std::string(": ")));
    EXPECT_EQ(bench.RunFirmware("clocks.bin").exit_status, 255);
  }
}

// --- Boards that are right -----------------------------------------------------------------------

TEST(Board, McuEntryChangesTheSizesThatItNames) {
  OrvoBench bench;
  bench.directory().Write("board.json", R"({"components": [
      {"class": "nrf52832", "name": "mcu", "type": "MCU", "config": {"ram_size": 131072}}]})");
  const ProcessResult run = bench.RunFirmware("clocks.bin", {"-o", "dump.txt"});
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_THAT(bench.directory().Read("dump.txt"), HasSubstr("\n0x2001fff0\t"));
}

}  // namespace
}  // namespace orvo
