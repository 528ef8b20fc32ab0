// The hand-over between the simulation thread and the thread of a plug-in.
#include "wires/uart_device.h"

#include <algorithm>

namespace orvo {

UARTDevice::UARTDevice(WireManager& wires, const UartConfig& config)
    : wires_(wires), config_(config) {
  wires_.ConnectToWireData(this, config_.rx_wire, config_.rx_wire);
  DriveRts(false);
}

UARTDevice::~UARTDevice() {
  if (WireManager::IsSupply(config_.rx_wire)) return;
  wires_.DisconnectFromWireData(this, config_.rx_wire, config_.rx_wire);
}

void UARTDevice::DriveRts(bool level) {
  if (!config_.rts_enabled) return;
  wires_.SetWireLevel(config_.rts_wire, level, config_.rts_wire, false, nullptr, false);
}

unsigned long UARTDevice::Write(const char* data, unsigned long length) {
  if (config_.cts_enabled && wires_.GetWireLevel(config_.cts_wire)) return 0;
  wires_.SendDataOverWire(config_.tx_wire, config_.tx_wire,
                          reinterpret_cast<const unsigned char*>(data), length, nullptr);
  return length;
}

unsigned long UARTDevice::Read(char* buffer, unsigned long length) {
  DriveRts(false);
  {
    std::unique_lock lock(mutex_);
    while (queue_.size() < length) {
      if (cancelled_) {
        cancelled_ = false;
        missing_ = 0;
        return 0;
      }
      missing_ = length - queue_.size();
      changed_.wait(lock);
    }
    missing_ = 0;
  }
  // Without the lock: whoever hears of RTS may send at once. The simulation still stands in
  // Update() if it woke this reader.
  DriveRts(true);
  const std::lock_guard lock(mutex_);
  std::copy_n(queue_.begin(), length, buffer);
  queue_.erase(queue_.begin(), queue_.begin() + static_cast<long>(length));
  ++reads_served_;
  changed_.notify_all();
  return length;
}

void UARTDevice::CancelRead() {
  const std::lock_guard lock(mutex_);
  cancelled_ = true;
  changed_.notify_all();
}

void UARTDevice::Update(std::vector<WireDataEvent>* events) {
  if (events->front().wire_number != config_.rx_wire) return;
  const std::vector<unsigned char>& mailbox = wires_.GetWireData(config_.rx_wire);
  std::unique_lock lock(mutex_);
  queue_.insert(queue_.end(), mailbox.begin(), mailbox.end());
  changed_.notify_all();
  if (missing_ == 0) return;
  if (missing_ > mailbox.size()) {
    missing_ -= mailbox.size();
  } else {
    // The reader may ask for more before this thread wakes, so that missing_ tells nothing.
    changed_.wait(lock, [this, served = reads_served_] { return reads_served_ != served; });
  }
}

}  // namespace orvo
