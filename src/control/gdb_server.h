// A server for one GDB client, by the remote serial protocol over TCP. Source: the GDB manual,
// appendix "GDB Remote Serial Protocol". Deliberately small: one thread of a fixed id, breakpoints
// in the program only, and nothing is written to the chip. Writes are acknowledged: a client that
// loads firmware finds the image there already. The `monitor` commands of debug probes get canned
// answers, so that launch scripts for real probes run unchanged.
// Three threads meet here: the TCP server's reads, the worker handles what was read, and the run
// loop executes the firmware. Only the worker touches the chip, and only while the loop stands.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "control/debugging_locks.h"
#include "control/tcp_server.h"

namespace orvo {

class GdbServer : public DebuggingLocks, private TcpServer {
 public:
  // `on_kill` ends the run; called on the server's threads.
  GdbServer(unsigned short port, Mcu* mcu, std::function<void()> on_kill);
  ~GdbServer() override;

  // Stops the firmware, and opens the server. Port 0 takes a free one. Returns the port. Throws
  // UserError if the port is taken.
  unsigned short Run();
  // Ends the worker. Any thread but the server's own.
  void Stop();

 private:
  using Handler = void (GdbServer::*)(const std::string& packet);
  static constexpr char kStopped[] = "T05thread:0000dead;";
  struct PacketRow;
  struct QueryRow;

  void ClientHandler() override;
  void WorkerRun();
  void HandlePoppedMessage(const std::string& data);
  void HandlePacket(const std::string& packet);

  // As the two hexadecimal digits of each character with `hex`.
  void SendMessage(const std::string& text, bool hex = false);
  static unsigned char GetChecksum(const std::string& text);
  void Complain(const std::string& text);

  // Packets. Each gets the whole of its text, the letter included.
  void HandleStatus(const std::string&) { SendMessage("S05"); }
  void HandleAcknowledged(const std::string&) { SendMessage("OK"); }
  void HandleContinue(const std::string&);
  void HandleStep(const std::string&);
  void HandleContinueWithSignal(const std::string& packet);
  void HandleDetach(const std::string& packet);
  void HandleKill(const std::string&) { on_kill_(); }
  void HandleReadRegisters(const std::string&);
  void HandleReadRegister(const std::string& packet);
  void HandleWriteRegister(const std::string& packet);
  void HandleReadMemory(const std::string& packet);
  void WriteDataToMemory(const std::string& packet);
  void HandleBreakpoint(const std::string& packet);
  void HandleQuery(const std::string& packet);
  void HandleSet(const std::string& packet);
  void HandleVerbose(const std::string& packet);

  void HandleSupported(const std::string& packet);
  void XferMsgHandler(const std::string& packet);
  void RcmdMsgHandler(const std::string& packet);
  // Whether the chip could be reset: not when the run is over.
  bool ResetHalt();
  void SendConsoleText(const std::string& text);
  unsigned RegisterValue(unsigned id) const;
  void AddGeneralRegsToString(std::string* text) const;
  void AddDescribedRegsToString(std::string* text) const;
  // Appends the byte at the address; false if there is none to read.
  bool AddByteToString(unsigned address, std::string* text) const;

  const unsigned short port_;
  Mcu* const mcu_;
  const std::function<void()> on_kill_;
  bool ack_mode_ = true;  // worker's; QStartNoAckMode is granted and leaves it
  // Worker's: the client has said that it goes by a target description, with its feature
  // "xmlRegisters", and has read it to the end. GDB does both.
  bool client_wants_description_ = false;
  bool client_has_description_ = false;

  std::atomic<bool> stopping_{false};
  std::mutex data_mutex_;  // guards the three below
  std::condition_variable data_arrived_;
  std::deque<std::string> received_;
  bool data_ready_ = false;
  std::thread worker_;
};

}  // namespace orvo
