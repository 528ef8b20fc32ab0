// The control connection: handshake, frames, commands in and messages out.
#include "control/connection_manager.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <utility>

#include "config/configuration_file_handler.h"
#include "config/json_place.h"
#include "control/protocol.h"
#include "devices/peripheral.h"
#include "mcu/mcu.h"
#include "runner/errors.h"
#include "runner/logger.h"
#include "wires/wire_types.h"

namespace orvo {

namespace {

// How long a wait goes on before it looks whether the run was stopped.
constexpr std::chrono::milliseconds kWaitSlice{100};
constexpr char kSource[] = "control connection";
constexpr char kExternal[] = "External";
// A document takes host stack for each level when it is copied; no command needs more than a few.
constexpr int kDeepest = 100;

// Compact. Texts of users' files may not be UTF-8; such bytes are replaced.
std::string Serialise(const nlohmann::json& object) {
  return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// True for as long as this lives.
struct Flag {
  explicit Flag(std::atomic<bool>& flag) : flag_(flag) { flag_ = true; }
  ~Flag() { flag_ = false; }
  std::atomic<bool>& flag_;
};

nlohmann::json Parse(const std::string& text) {
  const auto accept = [](int depth, nlohmann::json::parse_event_t, nlohmann::json&) {
    if (depth > kDeepest) {
      throw UserError(std::string(kSource) + ": a message is nested deeper than " +
                      std::to_string(kDeepest) + " levels");
    }
    return true;
  };
  try {
    return nlohmann::json::parse(text, accept);
  } catch (const nlohmann::json::exception& error) {
    throw UserError(std::string(kSource) + ": " + error.what());
  }
}

}  // namespace

ConnectionManager::ConnectionManager()
    : message_connection_(OrvoSignals::Get().send_json_message,
                          [this](const nlohmann::json& message) { SendJsonMessage(message); }),
      event_connection_(OrvoSignals::Get().send_json_event,
                        [this](const nlohmann::json& event) { SendJsonEvent(event); }) {
  logger::debug("ConnectionManager") << "ConnectionManager";
}

ConnectionManager::~ConnectionManager() {
  logger::debug("ConnectionManager") << "~ConnectionManager";
  Join();
  if (!std::ifstream(port_file_)) return;
  std::error_code error;
  if (!std::filesystem::remove(port_file_, error)) {
    std::cerr << "Error: Could not remove file: " << port_file_ << ": " << error.message()
              << std::endl;
  }
}

// ---- Connecting ----

void ConnectionManager::Start(unsigned short port, bool wait) {
  logger::debug("ConnectionManager") << "start";
  const unsigned short bound = StartServer(port);
  // If this fails, opening the file tells.
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(port_file_).parent_path(), ignored);
  std::ofstream file(port_file_);
  file << bound << std::endl;
  if (!file) throw OrvoError("ConnectionManager could not open port file");
  WaitForConnection(wait);
}

void ConnectionManager::WaitForConnection(bool wait) {
  if (!wait) return;
  logger::debug("ConnectionManager") << "WaitForConnection";
  std::unique_lock lock(queue_mutex_);
  while (!connected_ && IsRunning()) connection_cv_.wait_for(lock, kWaitSlice);
}

void ConnectionManager::NotifyConnection() {
  const std::lock_guard lock(queue_mutex_);
  connected_ = true;
  connection_cv_.notify_all();
}

bool ConnectionManager::IsConnected() {
  const std::lock_guard lock(queue_mutex_);
  return connected_;
}

void ConnectionManager::CreatePeripherals(Mcu* mcu) {
  logger::debug("ConnectionManager") << "CreatePeripherals";
  if (mcu->GetWireManager() == nullptr) {
    throw OrvoError("ConnectionManager::CreatePeripherals: the chip has no wires");
  }
  WireManager& wires = *mcu->GetWireManager();
  ConfigurationFileHandler& board = ConfigurationFileHandler::Get();
  peripherals_[mcu->GetName()] = board.AggregatePeripheralsFromJson(
      mcu, wires, board.GetInternalsPeripherals(), ComponentKind::kInternal);
  peripherals_[kExternal] = board.AggregatePeripheralsFromJson(mcu, wires, board.GetComponents(),
                                                               ComponentKind::kExternal);
  // Together: a command attaches to the clock either when it is queued or here.
  const std::lock_guard lock(queue_mutex_);
  mcu_ = mcu;
  if (!commands_.empty()) AttachToMainClock();
}

void ConnectionManager::ReleasePeripherals() {
  Join();
  mcu_ = nullptr;
  peripherals_.clear();
}

// ---- Reading, on the server's thread ----

void ConnectionManager::ClientHandler() {
  // Nobody would resume at the triggers of a client that has left.
  const struct ClearAtEnd {
    ~ClearAtEnd() { triggers.Clear(); }
    EventTriggers& triggers;
  } clear_at_end{event_triggers_};
  while (IsRunning()) {
    unsigned char header[4];
    if (ReadExactAmount(header, sizeof(header)) < 1) return;
    const unsigned length =
        static_cast<unsigned>(header[0]) << 24 | header[1] << 16 | header[2] << 8 | header[3];
    if (length > kMaxFrameBytes) {
      // Most likely no client of ours; the run goes on without it.
      const std::string text = "Frame of " + std::to_string(length) +
                               " bytes is longer than the limit of " +
                               std::to_string(kMaxFrameBytes) + " bytes";
      logger::error("ConnectionManager") << text;
      SendError(text);
      return;
    }
    std::string text(length, '\0');
    if (ReadExactAmount(text.data(), length) < 1) return;
    HandleJsonObject(text);
  }
}

void ConnectionManager::HandleJsonObject(const std::string& text) {
  nlohmann::json message = Parse(text);
  const std::string type = JsonPlace(message, kSource)[kType].String();
  if (!handshake_done_) {
    HandleHandshake(message, type);
  } else if (type == kCommand) {
    QueueCommand(std::move(message), text.size());
  } else if (type == kResponse) {
    const std::lock_guard lock(reply_mutex_);
    reply_ready_ = true;
    reply_ = std::move(message);
    reply_cv_.notify_one();
  }
}

// Deliberate: a client whose handshake is refused stays connected as though it had succeeded, and
// is meant to hang up.
void ConnectionManager::HandleHandshake(const nlohmann::json& message, const std::string& type) {
  CheckHandShake(message, type);
  handshake_done_ = true;
  if (Mcu* mcu = mcu_) mcu->PauseCommand(false);
  NotifyConnection();
}

void ConnectionManager::CheckHandShake(const nlohmann::json& message, const std::string& type) {
  if (type != kHandshake) {
    SendError("Error expect [handshake] message, instead got [" + type + "]");
    return;
  }
  const std::string& version = JsonPlace(message, kSource)[kApiVersionString].String();
  if (version == kApiVersion) {
    SendAck();
  } else {
    SendError("Error expect api version [1], instead got [" + version + "]");
  }
}

// A client that sends faster than its commands are carried out is held back by its socket. Not
// while the simulation waits for a reply, which may stand behind them.
void ConnectionManager::QueueCommand(nlohmann::json command, unsigned long length) {
  std::unique_lock lock(queue_mutex_);
  while (queued_bytes_ > kMaxQueuedBytes && !awaits_reply_ && IsRunning()) {
    queue_cv_.wait_for(lock, kWaitSlice);
  }
  queued_bytes_ += length;
  commands_.push_back(std::move(command));
  if (commands_.size() == 1) AttachToMainClock();
}

void ConnectionManager::AttachToMainClock() {
  Mcu* mcu = mcu_;
  if (mcu == nullptr) return;
  mcu->clock().AttachToTick(mcu->clock().TickCount(), this, false);
  mcu->LookUpFromPause();
}

// ---- Commands, on the simulation thread ----

// The queue is taken over whole, so that the server's thread can read on while commands run: one of
// them may wait for a reply that stands behind further commands. What is queued meanwhile attaches
// anew, and still runs at this tick.
unsigned long ConnectionManager::OnTick(unsigned long) {
  std::deque<nlohmann::json> commands;
  {
    const std::lock_guard lock(queue_mutex_);
    commands.swap(commands_);
    queued_bytes_ = 0;
  }
  queue_cv_.notify_one();
  for (const nlohmann::json& command : commands) CarryOut(command);
  return 0;
}

void ConnectionManager::CarryOut(const nlohmann::json& command) {
  const JsonPlace place(command, kSource);
  const std::string& name = place[kPeripheralName].String();
  const std::string& type = place[kPeripheralType].String();
  const auto of_type = peripherals_.find(type);
  if (of_type == peripherals_.end()) throw OrvoError("Peripheral type: " + type + " not found");
  const auto peripheral = of_type->second.find(name);
  if (peripheral == of_type->second.end()) {
    throw OrvoError("Peripheral id of type: " + name + " is missing");
  }
  try {
    peripheral->second->DoCommand(command);
  } catch (const nlohmann::json::exception& error) {
    throw UserError(std::string(kSource) + ": command for " + name + ": " + error.what());
  }
}

void ConnectionManager::AddCallback(std::function<void(orvo_command_t*)> callback) {
  callbacks_.push_back(std::move(callback));
}

// ---- Sending ----

void ConnectionManager::SendJsonMessage(const nlohmann::json& message) {
  if (HasClient()) Send(message);
}

void ConnectionManager::Send(nlohmann::json message) {
  const std::lock_guard lock(message_mutex_);
  message[kMessageID] = message_count_++;
  const std::string text = Serialise(message);
  const auto length = static_cast<unsigned>(text.size());
  std::string frame{static_cast<char>(length >> 24), static_cast<char>(length >> 16),
                    static_cast<char>(length >> 8), static_cast<char>(length)};
  frame += text;
  SendPacket(frame.data(), static_cast<long>(frame.size()));
}

nlohmann::json ConnectionManager::WithTypeAndTime(const nlohmann::json& object,
                                                  const char* type) const {
  nlohmann::json result = object;
  result[kType] = type;
  result[kDeviceTime] = 0;
  if (const Mcu* mcu = mcu_) result[kDeviceTime] = mcu->GetDeviceTime();
  return result;
}

void ConnectionManager::SendJsonEvent(const nlohmann::json& event) {
  if (!HasClient()) return;
  nlohmann::json stamped = WithTypeAndTime(event, kEvent);
  const bool pauses = event_triggers_.Match(stamped);
  Send(std::move(stamped));
  if (Mcu* mcu = mcu_; pauses && mcu != nullptr) mcu->PauseCommand(false);
}

nlohmann::json ConnectionManager::SendJsonCommand(const nlohmann::json& command) {
  const unsigned client = ServedClient();
  {
    const std::lock_guard lock(reply_mutex_);
    reply_ready_ = false;  // a reply that nobody asked for
  }
  const Flag awaits_reply(awaits_reply_);
  SendJsonMessage(WithTypeAndTime(command, kCommand));
  std::unique_lock lock(reply_mutex_);
  while (!reply_ready_) {
    if (!IsRunning()) throw OrvoError("The run was stopped while it waited for the SDK's reply");
    if (client == 0 || ServedClient() != client) {
      throw UserError("The SDK left without a reply to " + Serialise(command));
    }
    reply_cv_.wait_for(lock, kWaitSlice);
  }
  reply_ready_ = false;
  return std::move(reply_);
}

void ConnectionManager::SendPinLogicLevelEvent(WireLogicLevelEvent* event) {
  if (!HasClient()) return;
  SendJsonEvent({{kDescription, kPinLevelEvent},
                 {kPinNum, event->wire_number},
                 {kVoltage, event->voltage},
                 {kTransitionType, event->level}});
}

void ConnectionManager::SendPinLogicLevelEvents(std::vector<WireLogicLevelEvent>* events) {
  for (WireLogicLevelEvent& event : *events) SendPinLogicLevelEvent(&event);
}

void ConnectionManager::SendAck() { SendJsonMessage({{kType, kResponse}, {kResponse, kOk}}); }

void ConnectionManager::SendError(const std::string& text) {
  SendJsonMessage({{kType, kResponse}, {kResponse, kError}, {kError, text}});
}

}  // namespace orvo
