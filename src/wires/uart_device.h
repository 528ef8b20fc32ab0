// The far end of a serial line, for plug-ins: reads what the chip sends on a wire, and answers on
// another.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "time/clock.h"
#include "wires/uart_device_interface.h"
#include "wires/wire_manager.h"

namespace orvo {

// Write() and Read() may be called on a thread of the device's model. With a clock, what they do to
// wires is then done by the simulation thread at the clock's next step, for which they wait.
class UARTDevice : public iUartDeviceV1, public Observer<WireDataEvent>, public TickListener {
 public:
  // Drives RTS low, if it is enabled. Simulation thread.
  UARTDevice(WireManager& wires, const UartConfig& config, Clock* clock = nullptr);
  UARTDevice(const UARTDevice&) = delete;
  UARTDevice& operator=(const UARTDevice&) = delete;
  ~UARTDevice() override;

  unsigned long Write(const char* data, unsigned long length) override;
  unsigned long Read(char* buffer, unsigned long length) override;
  // Ends a Write() that waits for the simulation, too.
  void CancelRead() override;

  // Takes the bytes that the chip has sent. A reader that waits for no more than is there now gets
  // it before the simulation goes on.
  void Update(std::vector<WireDataEvent>* events) override;
  // Does what other threads wait for.
  unsigned long OnTick(unsigned long tick) override;

 private:
  struct Request {
    std::function<void()> action;
    bool done = false;
  };

  // On the simulation thread; returns when the action is done, or cancelled.
  void OnSimulationThread(std::function<void()> action);
  void CarryOutRequests(std::unique_lock<std::mutex>& lock);
  void DriveRts(bool level);

  WireManager& wires_;
  const UartConfig config_;
  Clock* const clock_;
  const std::thread::id simulation_thread_ = std::this_thread::get_id();
  std::mutex mutex_;  // guards all below
  std::condition_variable changed_;
  std::deque<char> queue_;
  std::deque<Request*> requests_;
  bool tick_attached_ = false;
  unsigned long missing_ = 0;  // bytes that a waiting reader lacks
  unsigned long reads_served_ = 0;
  bool cancelled_ = false;
};

}  // namespace orvo
