// The hand-over between the simulation thread and the thread of a plug-in.
#include "wires/uart_device.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace orvo {

UARTDevice::UARTDevice(WireManager& wires, const UartConfig& config, Clock* clock)
    : wires_(wires), config_(config), clock_(clock) {
  wires_.ConnectToWireData(this, config_.rx_wire, config_.rx_wire);
  DriveRts(false);
}

UARTDevice::~UARTDevice() {
  if (clock_ != nullptr) clock_->DetachFromTick(this);
  if (WireManager::IsSupply(config_.rx_wire)) return;
  wires_.DisconnectFromWireData(this, config_.rx_wire, config_.rx_wire);
}

void UARTDevice::OnSimulationThread(std::function<void()> action) {
  if (clock_ == nullptr || std::this_thread::get_id() == simulation_thread_) return action();
  Request request{std::move(action)};
  std::unique_lock lock(mutex_);
  requests_.push_back(&request);
  changed_.notify_all();  // the simulation may stand in Update()
  if (!tick_attached_) clock_->AttachToTick(clock_->ticks(), this, false);
  tick_attached_ = true;
  changed_.wait(lock,
                [&] { return request.done || (cancelled_ && std::erase(requests_, &request)); });
}

// Without the lock while one runs: whoever hears of a wire may send at once.
void UARTDevice::CarryOutRequests(std::unique_lock<std::mutex>& lock) {
  while (!requests_.empty()) {
    Request* request = requests_.front();
    requests_.pop_front();
    lock.unlock();
    std::exception_ptr failure;
    try {
      request->action();
    } catch (...) {
      failure = std::current_exception();
    }
    lock.lock();
    request->done = true;
    changed_.notify_all();
    if (failure != nullptr) std::rethrow_exception(failure);
  }
}

unsigned long UARTDevice::OnTick(unsigned long) {
  std::unique_lock lock(mutex_);
  tick_attached_ = false;
  CarryOutRequests(lock);
  return 0;
}

void UARTDevice::DriveRts(bool level) {
  if (!config_.rts_enabled) return;
  OnSimulationThread([this, level] {
    wires_.SetWireLevel(config_.rts_wire, level, config_.rts_wire, false, nullptr, false);
  });
}

unsigned long UARTDevice::Write(const char* data, unsigned long length) {
  unsigned long sent = 0;
  OnSimulationThread([&] {
    if (config_.cts_enabled && wires_.GetWireLevel(config_.cts_wire)) return;
    wires_.SendDataOverWire(config_.tx_wire, config_.tx_wire,
                            reinterpret_cast<const unsigned char*>(data), length, nullptr);
    sent = length;
  });
  return sent;
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
    // The reader may ask for more before this thread wakes, so that missing_ tells nothing. It
    // needs this thread for RTS.
    const unsigned long served = reads_served_;
    while (reads_served_ == served) {
      changed_.wait(lock, [&] { return reads_served_ != served || !requests_.empty(); });
      CarryOutRequests(lock);
    }
  }
}

}  // namespace orvo
