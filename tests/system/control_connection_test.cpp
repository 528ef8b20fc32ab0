// The control connection of a run: a client that drives the chip, and all that a client can do
// wrong.
#include <gmock/gmock.h>

#include <atomic>

#include "support/control_session.h"

namespace orvo {
namespace {

using nlohmann::json;
using testing::HasSubstr;

// A run that prints for ever, with a client that has shaken hands: it stands at tick 0.
struct Session {
  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("wait_printing.bin"), "-u", "-w"});
  unsigned short port = WaitForPort(bench);
  ControlClient client{port};
  std::string heard;  // all messages, a line for each

  Session() {
    Handshake(client);
    Until("stopped");
  }
  // Reads on until a message has the description.
  json Until(const std::string& description) {
    for (;;) {
      json message = client.Receive();
      heard += message.dump() + "\n";
      if (message.is_null() || message.value("description", "") == description) return message;
    }
  }
  void Send(const json& command) { SendSudoCommand(client, command); }
  json Ask(const std::string& command, const std::string& answer) {
    Send({{"command", command}});
    return Until(answer);
  }
  void RunUntilStopped(unsigned long nanoseconds) {
    Send({{"command", "stop_after"}, {"nanoseconds", nanoseconds}});
    Send({{"command", "resume_running"}});
    Until("resumed");
    last_stop = Until("stopped");
  }
  ProcessResult End() {
    Send({{"command", "terminate"}});
    return process.Wait(kRunLimit);
  }
  json last_stop;
};

// --- What a client can rely on -------------------------------------------------------------------

TEST(ControlConnection, FirmwareHandsItsCodeToTheClientAndForcesPins) {
  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("sudo.bin"), "-u", "-w"});
  ControlClient client(WaitForPort(bench));
  Handshake(client);
  EXPECT_EQ(client.Receive(), json({{"type", "response"}, {"response", "ok"}, {"message_id", 0}}));
  // The handshake leaves the chip paused.
  ASSERT_FALSE(WaitForMessage(client, "stopped").is_null());
  Resume(client);
  EXPECT_EQ(WaitForMessage(client, "uart_event")["value"], 'b');
  EXPECT_EQ(WaitForMessage(client, "sudo_exit")["value"], 42);
  Resume(client);
  const char* message = "SUDO can't force pin 32: port P0 has 32 pins";
  EXPECT_EQ(WaitForMessage(client, "user_error")["value"], message);
  const ProcessResult run = process.Wait(kRunLimit);
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_EQ(run.out, "before\nafter\npin 0 0 1\n");
  EXPECT_THAT(run.err, HasSubstr(message));
  EXPECT_FALSE(bench.directory().Has(".zandor/port"));
}

// Ticks are of 15.625 ns.
std::string HeardInAScriptedSession() {
  Session session;
  session.RunUntilStopped(1'234'567);  // 79012.3 ticks
  EXPECT_EQ(session.last_stop["device_time"], 79012 * 15.625);
  session.Send({{"command", "set_timer"}, {"nanoseconds", 1000}});
  session.Send({{"command", "set_timer"}, {"nanoseconds", 500.9}});
  const json first = session.Until("set_timer"), second = session.Until("set_timer");
  EXPECT_EQ(first["ticks"], 64);
  EXPECT_EQ(second["ticks"], 32);
  for (const auto& [timer, tick] : {std::pair(second, 79044), std::pair(first, 79076)}) {
    Resume(session.client);
    EXPECT_EQ(session.Until("timer_id")["value"], timer["timer_id"]);
    EXPECT_EQ(session.Until("stopped")["device_time"], tick * 15.625);
  }
  session.Send({{"command", "stop_after"}, {"nanoseconds", 5}});  // 0 ticks
  session.Until("ok");
  session.Ask("cancel_stop", "stop_canceled");  // nothing is pending
  session.Send({{"command", "stop_after"}, {"nanoseconds", 1'000'000}});
  session.Ask("cancel_stop", "stop_canceled");
  EXPECT_EQ(session.Ask("get_state", "emulator_state")["value"], "paused");
  EXPECT_EQ(session.Ask("pause", "emulator_state")["value"], "paused");
  for (const bool level : {false, true}) {
    session.Send({{"command", "set_pin_level"}, {"pin_number", "P0_9"}, {"pin_level", level}});
    const json event = session.Until("pin_level_event");
    EXPECT_EQ(event["pin_number"], 9);
    EXPECT_EQ(event["transition_type"], level ? 1 : 0);
    EXPECT_EQ(event["voltage"], level ? 3.0 : 0.0);
    for (const json& pin : {json(9), json(level ? "vdd" : "GND")}) {
      session.Send({{"command", "get_pin_level"}, {"pin_number", pin}});
      EXPECT_EQ(session.Until("value_response")["value"], level);
    }
  }
  session.RunUntilStopped(10'000'000);
  EXPECT_EQ(session.Ask("get_device_time", "device_time")["value"], (79076 + 640'000) * 15.625);
  const ProcessResult run = session.End();
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("line 9 of a text"));
  return session.heard + run.out;
}

TEST(ControlConnection, ScriptedSessionIsTheSameToTheTickInEveryRunOnALoadedMachineToo) {
  const std::string heard = HeardInAScriptedSession();
  std::atomic<bool> done{false};
  std::vector<std::thread> load;
  for (unsigned i = 0; i < 2 * std::thread::hardware_concurrency(); ++i) {
    load.emplace_back([&] {
      while (!done) {
      }
    });
  }
  EXPECT_EQ(HeardInAScriptedSession(), heard);
  done = true;
  for (std::thread& thread : load) thread.join();
}

TEST(ControlConnection, TenThousandCommandsOfOneBurstAreAnsweredInTheirOrder) {
  Session session;
  std::string burst;
  for (int i = 0; i < 5000; ++i) {
    burst +=
        ControlClient::Frame(SudoCommand({{"command", "set_timer"}, {"nanoseconds", i}}).dump());
    burst += ControlClient::Frame(SudoCommand({{"command", "get_state"}}).dump());
  }
  session.client.SendBytes(burst);
  const int first = session.Until("set_timer")["timer_id"];
  for (int i = 1; i < 5000; ++i) EXPECT_EQ(session.Until("set_timer")["timer_id"], first + i);
  EXPECT_EQ(session.Until("emulator_state")["value"], "paused");
  EXPECT_EQ(session.End().exit_status, 0);
}

TEST(ControlConnection, FirmwareThatExitsWithoutAClientSaysSoAndGoesOnWhenOneComes) {
  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("sudo.bin"), "-u"});
  EXPECT_TRUE(process.WaitForOutput(
      "Warning: the firmware exits with code 42: the run is paused until a client resumes it",
      kRunLimit));
  ControlClient client(WaitForPort(bench));
  Handshake(client);
  Resume(client);
  EXPECT_EQ(process.Wait(kRunLimit).exit_status, 0);
  EXPECT_THAT(process.out(), HasSubstr("after\n"));
}

TEST(ControlConnection, RunOutlivesItsClientsAndTheNextNeedsNoHandshake) {
  Session session;
  Resume(session.client);
  session.Until("uart_event");
  session.client.Close();  // with much unread
  for (int i = 0; i < 3; ++i) {
    ControlClient next(session.port);
    SendSudoCommand(next, {{"command", i == 2 ? "pause" : "get_state"}});
    EXPECT_EQ(WaitForMessage(next, "emulator_state")["value"], i == 2 ? "paused" : "running");
    if (i == 2) WaitForMessage(next, "stopped");
  }
  // The pause is still there; a handshake has no answer any more.
  ControlClient last(session.port);
  Handshake(last);
  Resume(last);
  EXPECT_EQ(last.Receive()["description"], "resumed");
  SendSudoCommand(last, {{"command", "terminate"}});
  EXPECT_EQ(session.process.Wait(kRunLimit).exit_status, 0);
}

// --- What a client can do wrong ------------------------------------------------------------------

// Each ends the run: the client hears the message as an event, and the user reads it.
TEST(ControlConnection, WhatIsNoMessageEndsTheRunWithStatus1) {
  for (const auto& [text, message] :
       {std::pair<std::string, const char*>("{\"type\": ", "[json.exception.parse_error.101]"),
        {std::string("\0\xff garbage", 10), "[json.exception.parse_error.101]"},
        {"[1]", "control connection: expected an object, found an array"},
        {"{}", "control connection: the key \"type\" is missing"},
        {"{\"type\": 5}", "control connection: type: expected a string, found 5"},
        {"{\"type\": " + std::string(500'000, '[') + std::string(500'000, ']') + "}",
         "control connection: a message is nested deeper than 100 levels"}}) {
    Session session;
    session.client.SendBytes(ControlClient::Frame(text));
    EXPECT_THAT(session.Until("user_error").value("value", ""), HasSubstr(message));
    const ProcessResult run = session.process.Wait(kRunLimit);
    EXPECT_EQ(run.exit_status, 1) << message;
    EXPECT_THAT(run.err, HasSubstr(message));
  }
}

TEST(ControlConnection, BadCommandsEndTheRunWithWhatIsWrong) {
  const std::pair<json, const char*> commands[] = {
      {{{"peripheral_type", "X"}}, "Peripheral type: X not found"},
      {{{"peripheral_name", "X"}}, "Peripheral id of type: X is missing"},
      {{{"peripheral_name", nullptr}}, "control connection: peripheral_name: expected a string"},
      {{{"peripheral_name", "UARTE"}, {"command", "fly"}}, "Unknown command type: fly in Uart"},
      {{{"peripheral_name", "UARTE"}, {"command", "write_uart_data"}}, "'value' not found"},
      {{{"command", "fly"}}, "Unknown command type: fly in Sudo"},
      {{{"command", 5}}, "command: command: expected a string, found 5"},
      {{{"command", "set_timer"}}, "command set_timer: the key \"nanoseconds\" is missing"},
      {{{"command", "stop_after"}, {"nanoseconds", -1}},
       "command stop_after: nanoseconds: expected an integer from 0 to 18446744073709551615, "
       "found -1"},
      {{{"command", "get_pin_level"}}, "Missing pin pin_number"},
      {{{"command", "get_pin_level"}, {"pin_number", 5000}}, "5000"},
      {{{"command", "set_pin_level"}, {"pin_number", 5}, {"pin_level", "up"}},
       "command set_pin_level: pin_level: expected a number, found a string"},
      {{{"command", "set_pin_level"}, {"pin_number", "vdd"}, {"pin_level", 0}},
       "Only wire level and wire voltage can be read from vdd/gnd wires"}};
  for (const auto& [keys, message] : commands) {
    Session session;
    session.RunUntilStopped(100);
    json command = SudoCommand(json::object());
    command.update(keys);
    session.client.Send(command);
    while (!session.client.Receive().is_null()) {
    }
    const ProcessResult run = session.process.Wait(kRunLimit);
    EXPECT_EQ(run.exit_status, 0) << message;
    EXPECT_THAT(run.err, HasSubstr(" TC: 6 PC: "));
    EXPECT_THAT(run.err, HasSubstr(message));
  }
}

TEST(ControlConnection, RefusedHandshakeIsAnsweredAndTheConnectionGoesOn) {
  for (const auto& [message, answer] :
       {std::pair<json, const char*>({{"type", "handshake"}, {"api_version", "2"}},
                                     "Error expect api version [1], instead got [2]"),
        {SudoCommand({{"command", "terminate"}}),
         "Error expect [handshake] message, instead got [command]"}}) {
    OrvoBench bench;
    ChildProcess process = bench.Start({"-i", FirmwarePath("wait_running.bin"), "-w"});
    ControlClient client(WaitForPort(bench));
    client.Send(message);
    EXPECT_EQ(
        client.Receive(),
        json({{"type", "response"}, {"response", "error"}, {"error", answer}, {"message_id", 0}}));
    WaitForMessage(client, "stopped");
    client.Send({{"type", "event"}, {"description", "of no interest"}});
    SendSudoCommand(client, {{"command", "terminate"}});
    EXPECT_EQ(process.Wait(kRunLimit).exit_status, 0);
  }
}

TEST(ControlConnection, FrameBeyondTheLimitEndsTheClientAndNotTheRun) {
  Session session;
  ControlClient browser(session.port);
  session.client.SendBytes(std::string(4, '\0'));  // ends the first client
  browser.SendBytes("GET / HTTP/1.1\r\nHost: board\r\n\r\n");
  EXPECT_EQ(browser.Receive()["error"],
            "Frame of 1195725856 bytes is longer than the limit of 1048576 bytes");
  EXPECT_TRUE(browser.Closed());
  ControlClient next(session.port);
  SendSudoCommand(next, {{"command", "terminate"}});
  const ProcessResult run = session.process.Wait(kRunLimit);
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_THAT(run.err, HasSubstr("Frame of 1195725856 bytes"));
  EXPECT_LT(run.peak_resident_kib, 512 * 1024);
}

// --- Where it listens ----------------------------------------------------------------------------

TEST(ControlConnection, ListensWhereItIsTold) {
  for (const auto& [options, elsewhere] :
       {std::pair(std::vector<std::string>{}, true), {{"--listen", "127.0.0.1"}, false}}) {
    OrvoBench bench;
    std::vector<std::string> arguments = {"-i", FirmwarePath("wait_running.bin")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    ChildProcess process = bench.Start(arguments);
    const unsigned short port = WaitForPort(bench);
    EXPECT_EQ(ControlClient(port, "127.0.0.2").connected(), elsewhere);
    EXPECT_TRUE(ControlClient(port).connected());
  }
  for (const auto& [address, message] :
       {std::pair("localhost", "--listen: not an IPv4 or IPv6 address"),
        {"", "--listen: not an IPv4 or IPv6 address"},
        {"192.0.2.1", "Could not bind socket to port 0 of 192.0.2.1, see --listen"}}) {
    const ProcessResult run = OrvoBench().RunFirmware("clocks.bin", {"--listen", address});
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_THAT(run.err, HasSubstr(message));
  }
}

TEST(ControlConnection, PortOrPortFileThatCannotBeHadIsReported) {
  OrvoBench first, second, third;
  ChildProcess running = first.Start({"-i", FirmwarePath("wait_running.bin")});
  const std::string port = std::to_string(WaitForPort(first));
  third.directory().Write(".zandor", "a file where the directory should be");
  for (const auto& [run, message] :
       {std::pair(second.RunFirmware("clocks.bin", {"--sdk-port", port}), "Could not bind socket"),
        {third.RunFirmware("clocks.bin"), "ConnectionManager could not open port file"}}) {
    EXPECT_EQ(run.exit_status, 255);
    EXPECT_THAT(run.err, HasSubstr(message));
  }
}

}  // namespace
}  // namespace orvo
