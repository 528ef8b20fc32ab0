// UART, SPI and TWI as firmware uses them, with a client of the control connection and devices of
// the board at their other ends.
#include <gmock/gmock.h>

#include <map>

#include "support/control_session.h"

namespace orvo {
namespace {

using testing::HasSubstr;

// --- UART ----------------------------------------------------------------------------------------

// Answers each pause of the firmware with the bytes of its code, all at that tick.
ProcessResult RunWithClient(const std::string& image, const std::map<int, std::string>& bytes) {
  OrvoBench bench;
  ChildProcess process =
      bench.Start({"-i", FirmwarePath(image), "-u", "-w", "-p", kFirmwareDone, "-k", "1"});
  ControlClient client(WaitForPort(bench));
  client.Send({{"type", "handshake"}, {"api_version", "1"}});
  WaitForMessage(client, "stopped");
  Resume(client);
  for (size_t answers = 0; answers < bytes.size(); ++answers) {
    const nlohmann::json pause = WaitForMessage(client, "sudo_exit");
    if (pause.is_null()) break;
    for (const char byte : bytes.at(pause["value"])) {
      client.Send({{"type", "command"},
                   {"peripheral_type", "nrf52832"},
                   {"peripheral_name", "UARTE"},
                   {"command", "write_uart_data"},
                   {"value", byte}});
    }
    Resume(client);
  }
  return process.Wait(kRunLimit);
}

// A word is ten bits in whole nanoseconds: 1041883, 86874, 86250, 40000 and 10000, with 64 ticks a
// microsecond; the client's turn comes a tick after the firmware asks. RXDRDY of the FIFO waits ten
// times the ticks of a bit.
TEST(NrfUart, BytesOfAClientArriveAtTheSpeedOfTheLineAndNoneIsLost) {
  const ProcessResult run = RunWithClient("uart_reception.bin", {{0, "hello"},
                                                                 {1, "hello"},
                                                                 {2, "hello"},
                                                                 {3, "hello"},
                                                                 {4, "hello"},
                                                                 {100, "123456789"},
                                                                 {101, "abcde"},
                                                                 {102, "xyz"}});
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_EQ(run.out,
            "00275000: 66681, then 66680 66680 66680: hello, sent 5\n"
            "01d60000: 5560, then 5559 5559 5559: hello, sent 5\n"
            "01d7e000: 5521, then 5520 5520 5520: hello, sent 5\n"
            "04000000: 2561, then 2560 2560 2560: hello, sent 5\n"
            "10000000: 641, then 640 640 640: hello, sent 5\n"
            "ready 1, bytes 123456789, next ready after"
            " 5520 5520 5520 5520 5520 5520 5520 5520, empty 0\n"
            "of five in a buffer of two: 2 ab, end 1, refused 2, end again 1, the rest 3 abcde\n"
            "sent while disabled: xyz\n"
            "rxto after 27750, endrx 1, void 0\n");
  EXPECT_THAT(run.err, HasSubstr("Warning: Trying to read from an empty uart\n"
                                 "set_BAUDRATE: Invalid value for Uart buad rate: abc\n"));
}

// --- SPI -----------------------------------------------------------------------------------------

TEST(NrfSpi, BuffersOfAnyLengthAndTheDoubleBufferExchangeWithAnEcho) {
  OrvoBench bench;
  bench.directory().Write("board.json", R"({"components": [
      {"class": "EchoSpiSlave", "name": "echo", "type": "Peripheral",
       "pins": {"mosi": "P0_23", "miso": "P0_24", "sclk": "P0_25", "ss": "P0_22"}}]})");
  const ProcessResult run = bench.RunFirmware("spi.bin");
  EXPECT_EQ(run.out,
            "4 out, 4 in: abcd----, amounts 4 4, events 111, interrupt 1\n"
            "2 out, 5 in: ab...---, amounts 5 5, events 111, interrupt 1\n"
            "5 out, 2 in: ab------, amounts 5 5, events 111, interrupt 1\n"
            "0 out, 3 in: ...-----, amounts 3 3, events 111, interrupt 1\n"
            "0 out, 0 in: --------, amounts 0 0, events 111, interrupt 1\n"
            "late interrupt 0 1, configuration 0, enable 0\n"
            "not selected, 3 out, 3 in: 000-----, amounts 3 3, events 111, interrupt 0\n"
            "3 out, 3 in: abc-----, amounts 3 3, events 111, interrupt 0\n"
            "stopped 1\n"
            "by a timer 5\n"
            "ready after 64: 1, of the second 0, read a, ready 1, read b c, ready 1\n"
            "ready after 512: 1, of the second 0, read a, ready 1, read b c, ready 1\n"
            "ready after 4096: 1, of the second 0, read a, ready 1, read b c, ready 1\n"
            "1 out, 1 in: a-------, amounts 1 1, events 111, interrupt 0\n");
  // It ends with SPIS.
  EXPECT_THAT(run.err, HasSubstr("Warning: master SPI bit order does not match to the slave\n"));
  EXPECT_THAT(run.err, HasSubstr("SPIS Peripheral is currently unsupported"));
}

// --- TWI -----------------------------------------------------------------------------------------

// A bit is 640, 256 or 160 ticks. A write has 8 bits before its address and 9 for each byte; a read
// one more behind its last.
TEST(NrfTwi, WritesReadsAndRefusalsTakeTheTimeOfTheBus) {
  OrvoBench bench;
  bench.directory().Write("board.json", R"({"components": [
      {"class": "MockI2cDevice", "name": "device", "type": "Peripheral",
       "pins": {"sda": "P0_26"}}]})");
  const ProcessResult run = bench.RunFirmware("twi.bin");
  EXPECT_EQ(run.out,
            "write 22400: abc 3, amount 1, events 11, slave 111 match 0\n"
            "read 23040: wxy, amount 3 of 3, events 11, slave 111 match 1\n"
            "last of three: read 16640, write 16640\n"
            "write and read 22400: d u\n"
            "write 8960: abc 3, amount 1, events 11, slave 111 match 0\n"
            "read 9216: wxy, amount 3 of 3, events 11, slave 111 match 1\n"
            "last of three: read 6656, write 6656\n"
            "write and read 8960: d u\n"
            "suspended after 4160 ab, resumed abcde, stopped at once 0\n"
            "nobody: error after 2720, source 4, cleared to 0\n"
            "refused: error after 4160, source 2, cleared to 0\n"
            "device gives AA\n"
            "slave of one takes ab, errors 1 1\n"
            "slave of two gives 78 79 0, error 1, overrun 7a\n"
            "byte by byte: hi!, stopped 1, read pq\n");
  // It ends with a frequency that the model doesn't have.
  EXPECT_THAT(run.err,
              HasSubstr("Illegal frequency value: 104857600 in SpimTwimHandler::GetFrequency"));
}

// The client answers each question of the bus, which stands still meanwhile.
TEST(NrfTwi, AClientIsTheMasterOfTwisAndADeviceOfTwim) {
  OrvoBench bench;
  bench.directory().Write("board.json", R"({"components": [
      {"class": "I2cMasterSdk", "name": "host", "type": "Peripheral", "pins": {"sda": "P0_26"}},
      {"class": "I2cSlaveSdk", "name": "device", "type": "Peripheral", "pins": {"sda": "P0_28"}}]})");
  ChildProcess process = bench.Start(
      {"-i", FirmwarePath("twi_client.bin"), "-u", "-w", "-p", kFirmwareDone, "-k", "1"});
  ControlClient client(WaitForPort(bench));
  Handshake(client);
  WaitForMessage(client, "stopped");
  const auto command = [&](const char* name, const char* text, nlohmann::json keys) {
    keys.update({{"type", "command"},
                 {"peripheral_type", "External"},
                 {"peripheral_name", name},
                 {"command", text}});
    client.Send(keys);
  };
  RunFor(client, 100'000);  // until TWIS listens
  command("host", "master_set_frequency", {{"i2c_frequency", 100'000}});
  command("device", "set_device_address", {{"device_address", 0x42}});
  command("host", "master_write", {{"address", 0x29}, {"data", {104, 105}}});
  Resume(client);

  std::vector<std::string> events;
  for (nlohmann::json event; !(event = WaitForMessage(client, "i2c_event")).is_null();) {
    const std::string type = event["event_type"];
    std::string text = type;
    for (const char* key : {"address", "write_index", "read_index", "data"}) {
      if (event.contains(key)) text += " " + event[key].dump();
    }
    events.push_back(text);
    const bool refused = event.value("write_index", 0) == 1 && event["data"] == 'b';
    client.Send({{"type", "response"},
                 {"response", 0xc0 + event.value("read_index", 0)},
                 {"ack", !refused}});
    if (type == "master_write_finished")
      command("host", "master_read", {{"address", 0x29}, {"num_bytes_to_read", 3}});
  }
  EXPECT_THAT(events, testing::ElementsAre("master_write_finished",
                                           "master_read_finished [97,98,99]", "on_write 66 0 97",
                                           "on_write 66 1 98", "on_write 66 1 99", "on_stop_write",
                                           "on_read 66 0", "on_read 66 1", "on_stop_read"));
  const ProcessResult run = process.Wait(kRunLimit);
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_EQ(run.out,
            "got hi, 2 bytes\n"
            "gave 3 bytes\n"
            "refused 1\n"
            "device gives c0 c1\n");
}

}  // namespace
}  // namespace orvo
