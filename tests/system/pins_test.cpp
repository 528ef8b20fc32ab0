// Pins from firmware to the board and back: GPIO, GPIOTE, devices, and the waveforms of --vcd,
// which sigrok-cli reads.
#include <gmock/gmock.h>
#include <signal.h>

#include <algorithm>

#include "build_paths.h"
#include "support/control_session.h"

namespace orvo {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;

// What sigrok-cli makes of pins.vcd.
std::string Sigrok(const OrvoBench& bench, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), {"-I", "vcd", "-i", "pins.vcd"});
  const ProcessResult run = RunProcess("sigrok-cli", arguments, bench.directory().path());
  EXPECT_EQ(run.exit_status, 0) << run.err << " signal " << run.signal;
  return run.out;
}

// The times between a pin's changes, each in a line.
std::string WidthsOf(const OrvoBench& bench, const std::string& pin) {
  return Sigrok(bench, {"-P", "timing:data=" + pin, "-A", "timing=time"});
}

// --- One port ------------------------------------------------------------------------------------

// Pins are named in the component or in its config.
constexpr char kBoard[] = R"({"components": [
    {"class": "Short", "name": "wire", "type": "Peripheral",
     "pins": {"pin0": "P0_0", "pin1": "P0_4"}},
    {"class": "ADG1404", "name": "switch", "type": "Peripheral", "config": {"pins": {
     "pinS1": "vdd", "pinS2": "gnd", "pinS3": "P0_13", "pinS4": "Gnd",
     "pinA0": "P0_8", "pinA1": "P0_9", "pinEn": "P0_10", "pinOutput": "P0_12"}}}]})";

TEST(Pins, FirmwareDrivesReadsSensesAndMeasuresThemToTheTick) {
  OrvoBench bench;
  bench.directory().Write("board.json", kBoard);
  const ProcessResult run = bench.RunFirmware("gpio.bin", {"--vcd", "pins.vcd"});
  EXPECT_EQ(run.exit_status, 0) << run.err;
  // Pin 12 is low: the switch is enabled from the start, on its fourth source.
  EXPECT_EQ(run.out,
            "after reset: in, out, pin_cnf: ffffefff 0 2\n"
            "as output, released, after a store: 1 0 1\n"
            "released after pull-down, pull-up: 1 0\n"
            "one word: 300000 300000 300000\n"
            "dirset is no direction: out, dir, in: 400000 0 1\n"
            "pulses in ticks: 8 80 800 8000\n"
            "interrupt pending: 0\n"
            "enabled none, 0, 1, 7: in 0, in 1, interrupt: 0 101 111 110\n"
            "late enable raises: 1\n"
            "short from its other side: 10\n"
            "switched to 1, 2, 3, 4: 1 0 1 0\n"
            "through the switch: on, off, on to 1, back: 10 0 1 10\n"
            "sense high, low, of an output high, low: interrupt, up, down: 110 101 0 0\n");

  // 64 ticks are a microsecond. The pulses of pin 0 as they arrive behind the short; then six
  // characters with 560 ticks a bit.
  const std::string widths = WidthsOf(bench, "wire.pin1");
  for (const char* width : {" 125.000 ns ", " 1.250 μs ", " 12.500 μs ", " 125.000 μs "}) {
    EXPECT_THAT(widths, HasSubstr(width));
  }
  EXPECT_THAT(
      Sigrok(bench, {"-P", "uart:baudrate=114286:rx=P0_0:format=ascii", "-A", "uart=rx-data"}),
      HasSubstr("uart-1: e\nuart-1: x\nuart-1: a\nuart-1: c\nuart-1: t\nuart-1: !\n"));
}

TEST(Pins, ALightWalksOverAllPinsInOneBatchAStepAndAnErrorLeavesTheWaveformsComplete) {
  OrvoBench bench;
  const ProcessResult run =
      bench.Run({"-i", FirmwarePath("walking_light.bin"), "--gpio", "--vcd", "pins.vcd"});
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_THAT(run.err, HasSubstr("Nrf52GPIOTE::set_TASKS_OUT: unsupported task"));
  std::string expected;
  const auto expect = [&](int pin, int level) {
    expected +=
        "pin_number: " + std::to_string(pin) + "   pin_level: " + std::to_string(level) + "\n";
  };
  for (int pin = 0; pin < 32; ++pin) expect(pin, 0);
  for (int pin = 0; pin < 32; ++pin) {
    if (pin > 0) expect(pin - 1, 0);
    expect(pin, 1);
  }
  expect(31, 0);
  EXPECT_EQ(run.out, expected);
  for (const char* pin : {"P0_0", "P0_31"})
    EXPECT_THAT(WidthsOf(bench, pin), HasSubstr(" 1.000 μs "));
  // Both changes of a step are of one time.
  EXPECT_THAT(bench.directory().Read("pins.vcd"), ContainsRegex("\n#[0-9]+\n0!\n1\"\n#"));
}

// --- A button from outside -----------------------------------------------------------------------

void SetDevice(ControlClient& client, const std::string& name, const nlohmann::json& level) {
  client.Send({{"type", "command"},
               {"peripheral_type", "External"},
               {"peripheral_name", name},
               {"command", "press"},
               {"pin_level", level}});
}

TEST(Pins, AButtonPressedFromOutsideInterruptsIsDebouncedAndWakesBySense) {
  OrvoBench bench;
  bench.directory().Write("board.json",
                          ReadFile(std::string(kSourceDirectory) + "/examples/button/board.json"));
  ChildProcess process = bench.Start({"-i", FirmwarePath("button.bin"), "-u", "-w", "-p",
                                      kFirmwareDone, "-k", "1", "--vcd", "pins.vcd"});
  ControlClient client(WaitForPort(bench));
  client.Send({{"type", "handshake"}, {"api_version", "1"}});
  ASSERT_FALSE(WaitForMessage(client, "stopped").is_null());
  const auto next_pin_event = [&] {
    const nlohmann::json event = WaitForMessage(client, "pin_level_event");
    return event["pin_number"].dump() + "=" + event["transition_type"].dump();
  };
  const auto press = [&](unsigned long after_us, int level) {
    RunFor(client, after_us * 1000);
    SetDevice(client, "button", level);
  };
  press(10'000, 0);
  press(100, 1);
  press(100, 0);
  EXPECT_EQ(next_pin_event(), "11=0");
  ResumeFor(client, 6'000'000);
  EXPECT_EQ(next_pin_event(), "17=1");  // the light
  WaitForMessage(client, "stopped");
  press(4'000, 1);
  press(4'000, 0);  // too short to count
  press(4'000, 1);
  press(10'000, 0);
  press(10'000, 1);
  press(12'500, 0);
  Resume(client);
  const ProcessResult run = process.Wait(kRunLimit);
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_EQ(
      run.out,
      "ready\n"
      "edges 8, presses 2, ticks between edges: 6400 6400 640000 256000 256000 640000 640000\n"
      "woken after 7 ms\n");
  // From the third edge to the seventh, with the same delay behind both.
  EXPECT_THAT(WidthsOf(bench, "P0_17"), HasSubstr(" 28.000 ms "));
  EXPECT_THAT(Sigrok(bench, {"--show"}), HasSubstr("- button.in: logic\n"));
}

TEST(Pins, ASensorRestsHighAnswersEachCommandAndRefusesWhatIsNoLevel) {
  OrvoBench bench;
  bench.directory().Write("board.json", R"({"components": [
      {"class": "AnalogSensor", "name": "sensor", "type": "Peripheral", "pins": {"in": 150}}]})");
  ChildProcess process = bench.Start({"-i", FirmwarePath("button.bin"), "-w", "--vcd", "pins.vcd"});
  ControlClient client(WaitForPort(bench));
  client.Send({{"type", "handshake"}, {"api_version", "1"}});
  ASSERT_FALSE(WaitForMessage(client, "stopped").is_null());
  SetDevice(client, "sensor", 1);
  EXPECT_EQ(client.Receive()["response"], "ok");
  SetDevice(client, "sensor", 0);
  EXPECT_EQ(client.Receive()["pin_number"], 150);
  EXPECT_EQ(client.Receive()["response"], "ok");
  SetDevice(client, "sensor", "low");
  const ProcessResult run = process.Wait(kRunLimit);
  EXPECT_THAT(run.err, HasSubstr("command: pin_level: expected a number, found a string"));
  EXPECT_THAT(Sigrok(bench, {"--show"}), HasSubstr("- sensor.in: logic\n"));
}

TEST(Pins, WaveformsAreCompleteAfterSigint) {
  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("button.bin"), "-u", "--vcd", "pins.vcd"});
  ASSERT_TRUE(process.WaitForOutput("ready\n", kRunLimit));
  process.Signal(SIGINT);
  EXPECT_EQ(process.Wait(kRunLimit).exit_status, 0);
  EXPECT_THAT(Sigrok(bench, {"--show"}), HasSubstr("- P0_17: logic\n"));
  const std::string vcd = bench.directory().Read("pins.vcd");
  EXPECT_THAT(vcd.substr(vcd.rfind('#')), MatchesRegex("#[0-9]+\n"));
}

TEST(Pins, AWaveformFileThatCannotBeOpenedOrWrittenIsReported) {
  OrvoBench bench;
  const ProcessResult refused = bench.RunFirmware("walking_light.bin", {"--vcd", "none/pins.vcd"});
  EXPECT_EQ(refused.exit_status, 255);
  EXPECT_THAT(refused.err, HasSubstr("--vcd: can't open none/pins.vcd: No such file or directory"));
  const ProcessResult full = bench.RunFirmware("walking_light.bin", {"--vcd", "/dev/full"});
  EXPECT_EQ(full.exit_status, 0);
  EXPECT_THAT(full.err, HasSubstr("Warning: the waveforms are incomplete, /dev/full took no more"));
}

TEST(Pins, ASwitchThatDrivesItsOwnAddressEndsTheRun) {
  OrvoBench bench;
  bench.directory().Write("board.json", R"({"components": [{"class": "ADG1404", "name": "S",
      "pins": {"pinS1": "vdd", "pinS2": "gnd", "pinS3": 1, "pinS4": 2, "pinA0": 20, "pinA1": "gnd",
               "pinEn": "vdd", "pinOutput": 20}}]})");
  const ProcessResult run = bench.RunFirmware("walking_light.bin");
  EXPECT_EQ(run.exit_status, 255);
  EXPECT_THAT(run.err, HasSubstr("The devices on wire 20 drive each other without end"));
}

// --- Two ports -----------------------------------------------------------------------------------

// By the default numbering both ports have the wires from 32 on, which no GPIOTE channel can
// select.
TEST(Pins, PortsOfTheNrf52840ShareWiresAndReachGpioteWhereTheBoardNumbersThemLow) {
  const auto expect = [](const std::string& board, const std::string& channel) {
    OrvoBench bench;
    if (!board.empty()) bench.directory().Write("board.json", board);
    const ProcessResult run = bench.RunFirmware("two_ports.bin", {"-m", "nrf52840"});
    EXPECT_EQ(run.exit_status, 0) << run.err;
    EXPECT_EQ(run.out, "P0 drives, P1 reads 0 1, its pin 6 1, port event 1, channel " + channel +
                           "\nP1 drives, P0 reads 0 1, its pin 6 1, port event 1, channel " +
                           channel + "\n");
  };
  expect("", "0");
  expect(R"({"components": [{"class": "nrf52840", "config": {"pins": {"P0_5": 40, "P1_5": 5}}}]})",
         "1");
}

}  // namespace
}  // namespace orvo
