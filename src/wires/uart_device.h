// The far end of a serial line, for plug-ins: reads what the chip sends on a wire, and answers on
// another.
#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>

#include "wires/uart_device_interface.h"
#include "wires/wire_manager.h"

namespace orvo {

// Write() and Read() run on the plug-in's thread and touch the wires from there, while the
// simulation runs on: that is how the plug-in interface works. Only Update() and the queue are
// synchronised.
class UARTDevice : public iUartDeviceV1, public Observer<WireDataEvent> {
 public:
  // Drives RTS low, if it is enabled.
  UARTDevice(WireManager& wires, const UartConfig& config);
  UARTDevice(const UARTDevice&) = delete;
  UARTDevice& operator=(const UARTDevice&) = delete;
  ~UARTDevice() override;

  unsigned long Write(const char* data, unsigned long length) override;
  unsigned long Read(char* buffer, unsigned long length) override;
  void CancelRead() override;

  // Takes the bytes that the chip has sent. A reader that waits for no more than is there now gets
  // it before the simulation goes on.
  void Update(std::vector<WireDataEvent>* events) override;

 private:
  void DriveRts(bool level);

  WireManager& wires_;
  const UartConfig config_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<char> queue_;
  unsigned long missing_ = 0;  // bytes that a waiting reader lacks
  unsigned long reads_served_ = 0;
  bool cancelled_ = false;
};

}  // namespace orvo
