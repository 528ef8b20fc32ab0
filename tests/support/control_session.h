// A started run under a control connection, as an SDK has it.
#pragma once

#include <chrono>
#include <string>
#include <thread>

#include "support/orvo_process.h"
#include "unit/control/control_client.h"

namespace orvo {

// The port that a started run has written, once it is complete.
inline unsigned short WaitForPort(const OrvoBench& bench) {
  std::string text;
  for (int i = 0; i < 1000 && text.find('\n') == std::string::npos; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    text = bench.directory().Read(".zandor/port");
  }
  return static_cast<unsigned short>(std::stoi("0" + text));
}

// Reads messages until one has the description; null if none comes.
inline nlohmann::json WaitForMessage(ControlClient& client, const std::string& description) {
  for (;;) {
    nlohmann::json message = client.Receive();
    if (message.is_null() || message.value("description", "") == description) return message;
  }
}

inline void Handshake(ControlClient& client) {
  client.Send({{"type", "handshake"}, {"api_version", "1"}});
}

inline nlohmann::json SudoCommand(nlohmann::json command) {
  command["type"] = "command";
  command["peripheral_type"] = "nrf52832";
  command["peripheral_name"] = "SUDO";
  return command;
}

inline void SendSudoCommand(ControlClient& client, nlohmann::json command) {
  client.Send(SudoCommand(std::move(command)));
}

inline void Resume(ControlClient& client) {
  SendSudoCommand(client, {{"command", "resume_running"}});
}

// Lets a paused run go on for that long, in virtual time; the second waits for its pause.
inline void ResumeFor(ControlClient& client, unsigned long nanoseconds) {
  SendSudoCommand(client, {{"command", "set_timer"}, {"nanoseconds", nanoseconds}});
  Resume(client);
}
inline void RunFor(ControlClient& client, unsigned long nanoseconds) {
  ResumeFor(client, nanoseconds);
  WaitForMessage(client, "timer_id");
  WaitForMessage(client, "stopped");
}

}  // namespace orvo
