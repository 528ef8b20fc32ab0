// An I2C slave for plug-ins: each transfer is a call of the plug-in's handler in a thread of its
// own, with a stream on which it blocks. The two threads alternate.
#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

#include "wires/i2c_slave_base.h"
#include "wires/i2c_slave_interface.h"
#include "wires/i2c_slave_streams.h"

namespace orvo {

class I2cSlave : public iI2cSlaveBaseV1 {
 public:
  I2cSlave(Mcu* mcu, WireManager& wires);
  I2cSlave(const I2cSlave&) = delete;
  I2cSlave& operator=(const I2cSlave&) = delete;
  virtual ~I2cSlave();

  void SetSdaWire(unsigned wire) override { base_.SetSdaWire(wire); }
  void SetSlaveAddress(unsigned char address, unsigned char mask) override;
  void SetHandler(iI2cSlaveHandlerV1* handler) override { handler_ = handler; }
  void Enable() override { base_.Enable(); }
  void Disable() override { base_.Disable(); }
  void close() override;

 private:
  // The thread of a transfer.
  class Transfer {
   public:
    // Runs `call` on a new thread, then tells that the model has gone.
    void Start(Alternation& alternation, std::function<void()> call);
    // Waits for the end of the call; does nothing on its own thread. Any thread.
    void Join();
    // The same, and nothing starts from now on. Any thread.
    void Close();

   private:
    std::mutex mutex_;
    std::thread thread_;
    std::atomic<std::thread::id> id_;
    bool closed_ = false;
  };

  bool OnMasterWrite(unsigned char address, unsigned char byte, int index);
  bool OnMasterRead(unsigned char address, int index, unsigned char* byte);
  void EndTransfers();

  std::atomic<iI2cSlaveHandlerV1*> handler_{nullptr};
  I2cSlaveBaseReadStream read_stream_;
  I2cSlaveBaseWriteStream write_stream_;
  Transfer master_write_;
  Transfer master_read_;
  I2cSlaveBase base_;
};

}  // namespace orvo
