// A small chip under a control connection, in a directory of its own. The test is the simulation
// thread.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "config/configuration_file_handler.h"
#include "control/connection_manager.h"
#include "support/test_mcu.h"
#include "unit/config/working_directory.h"
#include "unit/control/control_client.h"
#include "wires/wire_manager.h"

namespace orvo {

// Waits up to 30 s for what another thread does.
inline bool WaitUntil(const std::function<bool()>& condition) {
  for (int i = 0; i < 30'000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

// Learns that the run was to end.
struct TerminateRecorder {
  std::atomic<bool> ended{false};
  Connection<int> connection{OrvoSignals::Get().terminate, [this](int) { ended = true; }};
};

struct ControlBench {
  WorkingDirectory directory;
  ConnectionManager connection;
  WireManager wires{&connection, 200, false, false};
  TestMcu mcu{&wires, &connection};
  std::unique_ptr<ControlClient> client;

  // `internal` are the entries of "internal_peripherals".
  explicit ControlBench(const std::string& internal = "") {
    directory.Write("board.json",
                    R"({"components": [{"class": "nrf52832", "name": "chip", "config": {
                        "internal_peripherals": [)" +
                        internal + "]}}]}");
    ConfigurationFileHandler::Get().Init("nrf52832", nullptr,
                                         std::filesystem::read_symlink("/proc/self/exe"));
    connection.Start(0, false);
  }

  unsigned short Port() const {
    unsigned short port = 0;
    std::ifstream(".zandor/port") >> port;
    return port;
  }

  void Connect() { client = std::make_unique<ControlClient>(Port()); }
  // Connects and shakes hands; the pause that this asks for is undone.
  void Handshake() {
    Connect();
    client->Send({{"type", "handshake"}, {"api_version", "1"}});
    client->Receive();
    WaitUntil([this] { return connection.IsConnected(); });
    if (mcu.IsPauseState()) mcu.Resume(false);
  }
  void Command(const std::string& name, nlohmann::json command) {
    command["type"] = "command";
    command["peripheral_type"] = "nrf52832";
    command["peripheral_name"] = name;
    client->Send(command);
  }
  // Runs the clock until the condition holds; what a command throws comes out.
  bool RunUntil(const std::function<bool()>& condition) {
    return WaitUntil([&] {
      mcu.clock().Tickrement(1);
      return condition();
    });
  }
};

}  // namespace orvo
