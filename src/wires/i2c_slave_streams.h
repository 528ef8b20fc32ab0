// The two streams between the simulation thread and a model's thread that serves one transfer on
// an I2C bus. Each transfer begins with Reset() and ends with the model's thread.
#pragma once

#include <deque>

#include "wires/alternation.h"
#include "wires/i2c_slave_interface.h"

namespace orvo {

class I2cSlaveBaseReadStream final : public iI2cSlaveBaseReadStreamV1 {
 public:
  I2cSlaveBaseReadStream() { alternation_.Leave(); }
  unsigned long ReadAndSendAck(unsigned char* data, unsigned long size) override;
  bool ReceivedStop() override;

  // The simulation thread.
  void Reset();
  // Returns when the model has taken the byte, or waits for more to take it with; false if it
  // doesn't want it.
  bool add_byte(unsigned char byte);
  void SetStop();

  Alternation& alternation() { return alternation_; }

 private:
  Alternation alternation_;
  std::deque<unsigned char> queue_;
  unsigned long wanted_ = 0;  // bytes for a ReadAndSendAck() that stands
  bool stop_ = false;
};

class I2cSlaveBaseWriteStream final : public iI2cSlaveBaseWriteStreamV1 {
 public:
  I2cSlaveBaseWriteStream() { alternation_.Leave(); }
  unsigned long Write(unsigned char* data, unsigned long size) override;
  bool ReceivedNack() override;

  // The simulation thread.
  void Reset();
  // Returns when the model has written a byte; false if it doesn't.
  bool get_bytes(unsigned char* byte);
  void SetNack();

  Alternation& alternation() { return alternation_; }

 private:
  Alternation alternation_;
  std::deque<unsigned char> queue_;
  bool nack_ = false;
};

}  // namespace orvo
