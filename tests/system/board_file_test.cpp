// board.json in the directory of the run: mistakes in it are named, never a crash.
#include <gmock/gmock.h>

#include "support/orvo_process.h"

namespace orvo {
namespace {

using testing::HasSubstr;

struct BoardCase {
  std::string name;
  std::string content;
  std::string message;
};

std::ostream& operator<<(std::ostream& stream, const BoardCase& test) {
  return stream << test.name;
}

std::string WithPins(const std::string& pins) {
  return R"({"components": [{"class": "nrf52832", "config": {"pins": {)" + pins + "}}}]}";
}

class BadBoards : public testing::TestWithParam<BoardCase> {};

TEST_P(BadBoards, EndWithAMessageAndStatus255) {
  for (const char* file : {"board.json", "bsp.json"}) {
    OrvoBench bench;
    bench.directory().Write(file, GetParam().content);
    const ProcessResult run = bench.RunFirmware("clocks.bin");
    EXPECT_EQ(run.exit_status, 255) << file << run.out << run.err;
    EXPECT_EQ(run.signal, 0) << file;
    EXPECT_THAT(run.err, HasSubstr(GetParam().message)) << file;
  }
}

INSTANTIATE_TEST_SUITE_P(
    , BadBoards,
    testing::Values(
        BoardCase{"empty", "", "parse error at line 1, column 1"},
        BoardCase{"text", "This is not JSON.", "parse error at line 1, column 1"},
        BoardCase{"truncated", R"({"components": [)", "unexpected end of input"},
        BoardCase{"binary", std::string(64, '\xfe'), "parse error"},
        BoardCase{"array", "[1, 2, 3]", "expected an object, found an array"},
        BoardCase{"number", "7", "expected an object, found 7"},
        BoardCase{"components_not_an_array", R"({"components": 7})",
                  "components: expected an array, found 7"},
        BoardCase{"component_not_an_object", R"({"components": [7]})",
                  "components[0]: expected an object, found 7"},
        BoardCase{"class_not_a_string",
                  R"({"components": [{"class": 7, "name": "x", "type": "Peripheral"}]})",
                  "components[0].class: expected a string, found 7"},
        BoardCase{"name_not_a_string",
                  R"({"components": [{"class": "Button", "name": 7, "type": "Peripheral"}]})",
                  "components[0].name: expected a string, found 7"},
        BoardCase{"no_name", R"({"components": [{"class": "Button", "type": "Peripheral"}]})",
                  "board.json: Missing name field in one of the peripherals"},
        BoardCase{"name_twice",
                  R"({"components": [{"class": "Button", "name": "B", "type": "Peripheral"},
                                     {"class": "Button", "name": "B", "type": "Peripheral"}]})",
                  "board.json: Duplicate peripheral: B"},
        BoardCase{"unknown_class",
                  R"({"components": [{"class": "Teapot", "name": "T", "type": "Peripheral"}]})",
                  "Unsupported peripheral: Teapot"},
        BoardCase{"unknown_type",
                  R"({"components": [{"class": "Button", "name": "T", "type": "Teapot"}]})",
                  "Unsupported type : Teapot"},
        BoardCase{"size_not_a_number",
                  R"({"components": [{"class": "nrf52832", "type": "MCU",
                                      "config": {"ram_size": "large"}}]})",
                  "ram_size: expected an integer"},
        BoardCase{"key_twice", WithPins(R"("P0_1": 1, "P0_1": 2)"),
                  "the key \"P0_1\" stands twice in one object"},
        BoardCase{"pin_twice", WithPins(R"("P0_1": 1, "P0_01": 2)"),
                  ".json: Mcu config.pins.P0_1: names the same pin as P0_01"},
        BoardCase{"pin_without_number", WithPins(R"("P0_x": 1)"),
                  ".json: Mcu config.pins.P0_x: expected a pin number below 32 behind P0_"},
        BoardCase{"pin_beyond_the_port", WithPins(R"("P0_32": 1)"),
                  ".json: Mcu config.pins.P0_32: expected a pin number below 32 behind P0_"},
        BoardCase{"pin_of_a_wrong_type", WithPins(R"("P0_1": [1])"),
                  ".json: Mcu config.pins.P0_1: expected a wire number or the name of a pin, found "
                  "an array"},
        BoardCase{"wire_beyond_the_net", WithPins(R"("P0_1": 198)"),
                  "wire number 198 is invalid, wire number should be lesser than 198. Please check "
                  "your bsp.json file"},
        BoardCase{"pin_named_later", WithPins(R"("P0_1": "P0_2", "P0_2": 2)"),
                  "Pin_name: P0_2 is invalid pin number"},
        BoardCase{"pins_not_an_object",
                  R"({"components": [{"class": "nrf52832", "config": {"pins": [1]}}]})",
                  ".json: Mcu config.pins: expected an object, found an array"},
        BoardCase{"device_without_pins", R"({"components": [{"class": "Button", "name": "B"}]})",
                  "board.json: Missing pin in"},
        BoardCase{"device_pin_of_a_wrong_type",
                  R"({"components": [{"class": "Button", "name": "B", "pins": {"in": true}}]})",
                  ".json: component \"B\".pins.in: expected a wire number or the name of a pin, "
                  "found a boolean"},
        BoardCase{"device_pin_unknown",
                  R"({"components": [{"class": "Short", "name": "S",
                                      "pins": {"pin0": 3, "pin1": "P1_1"}}]})",
                  "Pin_name: P1_1 is invalid pin number"},
        BoardCase{"button_on_the_supply",
                  R"({"components": [{"class": "Button", "name": "B", "pins": {"in": "vdd"}}]})",
                  "Only wire level and wire voltage can be read from vdd/gnd wires"},
        BoardCase{"seed_negative",
                  R"({"components": [{"class": "nrf52832", "type": "MCU",
                                      "config": {"seed": -1}}]})",
                  "seed: expected an integer from 0 to 4294967295, found -1"}),
    [](const auto& test) { return test.param.name; });

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
