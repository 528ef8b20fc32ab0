// The queue of received bytes and its pacing, and the ways out of the firmware's bytes.
#include "wires/uart_handler_base.h"

#include <chrono>
#include <nlohmann/json.hpp>
#include <utility>

#include "control/connection_manager.h"
#include "control/protocol.h"
#include "mcu/mcu.h"
#include "runner/errors.h"
#include "wires/uart_tcp_server.h"

namespace orvo {

namespace {

// How much may wait for the firmware before the reader threads leave the rest with its sender.
constexpr unsigned long kQueueBytes = 16ul << 20;
constexpr std::chrono::milliseconds kRoomPoll{10};  // time of the host

}  // namespace

UartHandlerBase::UartHandlerBase(Mcu* mcu, std::function<void()> byte_available, WireManager* wires,
                                 unsigned rx_wire, unsigned tx_wire, std::string name)
    : byte_available_(std::move(byte_available)),
      wires_(wires),
      tx_wire_(tx_wire),
      mcu_(mcu),
      name_(std::move(name)),
      options_connection_(OrvoSignals::Get().options_parsed,
                          [this](ArgsManager& args) { onArgsManager(args); }) {
  setRXPin(rx_wire);
  SetNanosecondPerWord();
}

UartHandlerBase::~UartHandlerBase() {
  CloseRecvThread();
  CloseTcpServer();
  DetachFromTick();
  setRXPin(kNoWire);
}

void UartHandlerBase::setRXPin(unsigned wire) {
  if (wires_ != nullptr && !WireManager::IsSupply(rx_wire_)) {
    wires_->DisconnectFromWireData(this, rx_wire_, rx_wire_);
  }
  rx_wire_ = wire;
  if (wires_ != nullptr && rx_wire_ != kNoWire) {
    wires_->ConnectToWireData(this, rx_wire_, rx_wire_);
  }
}

void UartHandlerBase::SetBaudRate(unsigned bits_per_second) {
  if (bits_per_second != 0) baud_rate_ = bits_per_second;
  SetNanosecondPerWord();
}

void UartHandlerBase::SetWordLength(unsigned bits) {
  word_length_bits_ = bits;
  SetNanosecondPerWord();
}

void UartHandlerBase::SetNanosecondPerWord() {
  nanoseconds_per_word_ = word_length_bits_ * 1'000'000'000ul / baud_rate_;
}

void UartHandlerBase::UartSend(unsigned char byte, unsigned long count) {
  std::string bytes(count, '\0');
  for (unsigned long k = 0; k < count; ++k) bytes[k] = static_cast<char>(byte + k);
  if (pty_ != nullptr) pty_->Write(bytes);
  SendEvent(byte);
  if (WritesToStream()) {
    WriteToStream(bytes);
  } else if (output_enabled_ && hold_output_) {
    held_for_tcp_ += bytes;
  } else if (output_enabled_) {
    SendToTcpClient(bytes);
  }
  if (wires_ != nullptr && tx_wire_ != kNoWire) {
    wires_->SendDataOverWire(tx_wire_, tx_wire_,
                             reinterpret_cast<const unsigned char*>(bytes.data()), count, this);
  }
}

void UartHandlerBase::SendEvent(unsigned char byte) {
  ConnectionManager* connection = mcu_->GetConnectionManager();
  if (connection == nullptr || !connection->HasClient()) return;
  OrvoSignals::Get().send_json_event.emit(
      {{kDescription, kUartEvent}, {kValue, byte}, {kName, name_}});
}

bool UartHandlerBase::GetByte(unsigned char* byte) {
  const std::lock_guard lock(rx_mutex_);
  if (rx_queue_.empty()) return false;
  *byte = static_cast<unsigned char>(rx_queue_.front());
  rx_queue_.pop_front();
  if (rx_ready_ != 0) --rx_ready_;
  return true;
}

void UartHandlerBase::FillBuffer(const char* bytes, unsigned long length) {
  const std::lock_guard lock(rx_mutex_);
  rx_queue_.insert(rx_queue_.end(), bytes, bytes + length);
  if (tick_attached_ || length == 0) return;
  tick_attached_ = true;
  mcu_->clock().AttachToTime(nanoseconds_per_word_, this);
}

bool UartHandlerBase::WaitForRoom() {
  {
    const std::lock_guard lock(rx_mutex_);
    if (rx_queue_.size() < kQueueBytes) return true;
  }
  std::this_thread::sleep_for(kRoomPoll);
  return false;
}

void UartHandlerBase::WriteJsonMessage(const nlohmann::json& message) {
  const auto command = message.at(kCommand).get<std::string>();
  if (command != kUartWrite) {
    throw OrvoError("Unknown command type: " + command + " in Uart");
  }
  const auto value = message.at(kValue).get<double>();
  // A byte as a number with or without sign.
  if (!(value >= -128 && value <= 255)) {
    throw UserError("write_uart_data: value: expected a byte, found " + message.at(kValue).dump());
  }
  const char byte = static_cast<char>(static_cast<int>(value));
  FillBuffer(&byte, 1);
}

void UartHandlerBase::Update(std::vector<WireDataEvent>* events) {
  for (const WireDataEvent& event : *events) {
    if (event.pin_number != rx_wire_) continue;
    FillBuffer(reinterpret_cast<const char*>(event.data), event.size);
  }
}

unsigned long UartHandlerBase::OnTick(unsigned long) {
  {
    const std::lock_guard lock(rx_mutex_);
    if (rx_ready_ < rx_queue_.size()) ++rx_ready_;
  }
  byte_available_();
  const std::lock_guard lock(rx_mutex_);
  tick_attached_ = rx_ready_ < rx_queue_.size();
  // Attached by time rather than by return value, so that a change of the clock's frequency keeps
  // the speed of the line.
  if (tick_attached_) mcu_->clock().AttachToTime(nanoseconds_per_word_, this);
  return 0;
}

void UartHandlerBase::DetachFromTick() { mcu_->clock().DetachFromTick(this); }

void UartHandlerBase::Reset() {
  const std::lock_guard lock(rx_mutex_);
  DetachFromTick();
  rx_ready_ = 0;
  tick_attached_ = false;
}

}  // namespace orvo
