// A BME280 that firmware reads over TWIM: the example of the README, the accuracy of the readings,
// and the sensor under a control connection.
#include <gmock/gmock.h>

#include <cmath>
#include <sstream>

#include "build_paths.h"
#include "support/control_session.h"

namespace orvo {
namespace {

using testing::HasSubstr;

std::string Source(const std::string& path) {
  return ReadFile(std::string(kSourceDirectory) + "/" + path);
}

struct WeatherStation : OrvoBench {
  WeatherStation() {
    for (const char* file : {"board.json", "scenario.json"}) {
      directory().Write(file, Source(std::string("examples/weather/") + file));
    }
  }
};

// The degrees that the lines of firmware tell.
std::vector<double> Temperatures(const std::string& out) {
  std::vector<double> temperatures;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) {
    temperatures.push_back(std::stod(line.substr(line.find("ms") + 2)));
  }
  return temperatures;
}

TEST(Bme280, WeatherStationPrintsWhatTheReadmeShows) {
  const WeatherStation bench;
  const ProcessResult run = bench.RunFirmware("weather.bin");
  EXPECT_EQ(run.exit_status, 0) << run.err;
  std::istringstream lines(run.out);
  std::string shown;
  for (std::string line; std::getline(lines, line);) shown += "    " + line + "\n";
  EXPECT_THAT(Source("README.md"), HasSubstr("-p 256 -k 1\n\n" + shown + "\n"));
  EXPECT_EQ(Temperatures(run.out).size(), 9u);
}

TEST(Bme280, MissingSensorIsNamed) {
  EXPECT_THAT(OrvoBench().RunFirmware("weather.bin").err,
              HasSubstr("Warning: no I2C device at address 0x76 on wire 26 for the read"));
}

// Every tenth of a degree from -40 to 85, as a scenario's author writes it.
TEST(Bme280, TemperatureAskedForComesBackWithinAHundredthOfADegree) {
  const WeatherStation bench;
  std::string asked;
  std::vector<double> expected;
  for (int tenths = -400; tenths <= 850; ++tenths) {
    asked += (asked.empty() ? "" : ",") + std::to_string(tenths / 10.0);
    expected.push_back(tenths / 10.0);
  }
  bench.directory().Write(
      "scenario.json",
      R"({"DataGenerators": [{"id": 2, "type": "CONSTANT", "config": {"value": 0}},
        {"id": 1, "type": "VALUES", "config": {"validValues": [)" +
          asked + "]}}]}");
  const ProcessResult run = bench.RunFirmware("bme280.bin");
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_THAT(Temperatures(run.out), testing::Pointwise(testing::DoubleNear(0.0101), expected));
}

TEST(Bme280, ClientSetsWhatItMeasuresAndSeesItsRegisters) {
  const WeatherStation bench;
  bench.directory().Write("board.json", R"({"components": [{"class": "BME280", "name": "sensor",
      "type": "Peripheral", "pins": {"sda": "P0_26"}}]})");
  ChildProcess process =
      bench.Start({"-i", FirmwarePath("weather.bin"), "-u", "-w", "-p", kFirmwareDone, "-k", "1"});
  ControlClient client(WaitForPort(bench));
  client.Send({{"type", "handshake"}, {"api_version", "1"}});
  ASSERT_FALSE(WaitForMessage(client, "stopped").is_null());
  const auto command = [&](nlohmann::json keys) {
    keys.update(
        {{"type", "command"}, {"peripheral_type", "External"}, {"peripheral_name", "sensor"}});
    client.Send(keys);
  };
  const auto register_value = [&](int address) {
    command({{"command", "get_reg_value"}, {"address", address}});
    return WaitForMessage(client, "value_response")["value"];
  };
  EXPECT_EQ(register_value(0xD0), 0x60);
  EXPECT_EQ(register_value(0xFA), 0x80);
  RunFor(client, 300'000'000);  // one measurement without a generator
  EXPECT_EQ(register_value(0xFA), 0x80);
  EXPECT_EQ(register_value(0xF8), 0xB1);
  command({{"command", "set_value"}, {"field_name", "temperature"}, {"value", -12.5}});
  RunFor(client, 300'000'000);
  command({{"command", "get_value"}, {"field_name", "temperature"}});
  EXPECT_EQ(WaitForMessage(client, "get_value_response")["value"], "-12.500000");
  // Oversampling of the temperature off: it stays as it is until firmware turns it on again.
  command({{"command", "set_reg_value"}, {"address", 0xFB}, {"value", 0}});
  EXPECT_EQ(register_value(0xFB), 0);
  command({{"command", "get_reg_value"}, {"address", 256}});
  const ProcessResult run = process.Wait(kRunLimit);
  EXPECT_NEAR(Temperatures(run.out).at(2), -12.5, 0.0101);
  EXPECT_THAT(run.err, HasSubstr("Warning: BME280 measures temperature, but the board names no "
                                 "data generator for it\n"));
  EXPECT_THAT(run.err, HasSubstr("Register address: 256 out of range at BME280::GetRegister"));
}

}  // namespace
}  // namespace orvo
