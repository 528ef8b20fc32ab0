// The control connection: JSON messages over TCP, by which a host SDK drives the run and hears of
// it. Frames are a length of 4 bytes, big-endian, and that many bytes of JSON text. The first
// message is the handshake; after it commands are queued by the server's thread and carried out on
// the simulation thread at a tick.
#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "control/event_triggers.h"
#include "control/tcp_server.h"
#include "runner/orvo_signals.h"
#include "time/tick_listener.h"

namespace orvo {

class Mcu;
class Peripheral;
struct WireLogicLevelEvent;
struct orvo_command_t;

class ConnectionManager : public TickListener, private TcpServer {
 public:
  // Longest frame that is taken from a client, in bytes of text.
  static constexpr unsigned kMaxFrameBytes = 1u << 20;
  // Text of the commands that may wait for their tick, beyond which the client is held back.
  static constexpr unsigned long kMaxQueuedBytes = 8ul << 20;

  ConnectionManager();
  ~ConnectionManager() override;

  // Opens the server, writes the port to .zandor/port, which is made if it is missing, and with
  // `wait` blocks until a client has connected or the run is stopped. Throws UserError if the port
  // is taken, OrvoError if the port file can't be written.
  void Start(unsigned short port, bool wait);
  void WaitForConnection(bool wait);
  void NotifyConnection();
  bool IsConnected();

  // Learns what commands can address: the chip's blocks under its name, devices under "External".
  void CreatePeripherals(Mcu* mcu);
  // Ends the server's thread and forgets the chip and its peripherals. For the chip's destructor:
  // afterwards nothing reaches it from another thread.
  void ReleasePeripherals();

  // Whether somebody hears what is sent: a cheap test before a message is put together.
  using TcpServer::HasClient;
  using TcpServer::Stop;

  // Adds "message_id" and writes the object. With no client it is dropped, and the counter stands
  // still. Any thread.
  void SendJsonMessage(const nlohmann::json& message);
  // Makes the object an event of the present device time, and pauses the run if a trigger matches.
  // Any thread.
  void SendJsonEvent(const nlohmann::json& event);
  // Events at which the run pauses. They go with the client.
  EventTriggers& event_triggers() { return event_triggers_; }
  // Makes the object a command to the SDK and blocks for the reply. Throws UserError if there is no
  // client or it leaves, OrvoError if the run is stopped meanwhile. Simulation thread.
  nlohmann::json SendJsonCommand(const nlohmann::json& command);
  void SendPinLogicLevelEvent(WireLogicLevelEvent* event);
  void SendPinLogicLevelEvents(std::vector<WireLogicLevelEvent>* events);

  // Keeps a function for the system's extensions; nothing calls it yet.
  void AddCallback(std::function<void(orvo_command_t*)> callback);

  // Carries out the queued commands. Throws OrvoError for a peripheral that doesn't exist and
  // UserError for a malformed command.
  unsigned long OnTick(unsigned long tick) override;

 private:
  void ClientHandler() override;
  void HandleJsonObject(const std::string& text);
  void HandleHandshake(const nlohmann::json& message, const std::string& type);
  void CheckHandShake(const nlohmann::json& message, const std::string& type);
  void SendAck();
  void SendError(const std::string& text);
  void QueueCommand(nlohmann::json command, unsigned long length);
  void AttachToMainClock();  // queue_mutex_ held
  void CarryOut(const nlohmann::json& command);
  void Send(nlohmann::json message);
  nlohmann::json WithTypeAndTime(const nlohmann::json& object, const char* type) const;

  const std::string port_file_ = ".zandor/port";
  bool handshake_done_ = false;  // server's thread; stays for all later clients
  unsigned message_count_ = 0;
  std::mutex message_mutex_;

  nlohmann::json reply_;
  bool reply_ready_ = false;
  std::mutex reply_mutex_;
  std::condition_variable reply_cv_;

  std::condition_variable connection_cv_;
  std::condition_variable queue_cv_;  // there is room
  std::mutex queue_mutex_;            // guards connected_, commands_ and queued_bytes_
  bool connected_ = false;
  std::deque<nlohmann::json> commands_;
  unsigned long queued_bytes_ = 0;
  std::atomic<bool> awaits_reply_{false};

  EventTriggers event_triggers_;
  std::list<std::function<void(orvo_command_t*)>> callbacks_;
  std::map<std::string, std::map<std::string, Peripheral*>> peripherals_;
  std::atomic<Mcu*> mcu_{nullptr};
  Connection<const nlohmann::json&> message_connection_;
  Connection<const nlohmann::json&> event_connection_;
};

}  // namespace orvo
