#include "wires/i2c_slave_streams.h"

#include <algorithm>

namespace orvo {

unsigned long I2cSlaveBaseReadStream::ReadAndSendAck(unsigned char* data, unsigned long size) {
  Alternation::Lock lock = alternation_.Acquire();
  wanted_ = size;
  alternation_.BlockUntil(lock, [this] { return queue_.size() >= wanted_ || stop_; });
  const auto count = static_cast<long>(std::min(size, queue_.size()));
  std::copy_n(queue_.begin(), count, data);
  queue_.erase(queue_.begin(), queue_.begin() + count);
  return static_cast<unsigned long>(count);
}

bool I2cSlaveBaseReadStream::ReceivedStop() {
  const Alternation::Lock lock = alternation_.Acquire();
  return stop_ || alternation_.HasEnded(lock);
}

void I2cSlaveBaseReadStream::Reset() {
  Alternation::Lock lock = alternation_.Acquire();
  queue_.clear();
  stop_ = false;
  alternation_.ExpectModel(lock);
}

bool I2cSlaveBaseReadStream::add_byte(unsigned char byte) {
  Alternation::Lock lock = alternation_.Acquire();
  if (!alternation_.WaitUntilBlocking(lock)) return false;
  queue_.push_back(byte);
  if (queue_.size() >= wanted_) alternation_.Run(lock);
  return true;
}

void I2cSlaveBaseReadStream::SetStop() {
  Alternation::Lock lock = alternation_.Acquire();
  stop_ = true;
  alternation_.WaitUntilBlocking(lock);
  alternation_.Run(lock);
}

unsigned long I2cSlaveBaseWriteStream::Write(unsigned char* data, unsigned long size) {
  Alternation::Lock lock = alternation_.Acquire();
  const bool open = alternation_.BlockUntil(lock, [this] { return queue_.empty() || nack_; });
  if (!open || nack_) return 0;
  queue_.insert(queue_.end(), data, data + size);
  return size;
}

bool I2cSlaveBaseWriteStream::ReceivedNack() {
  const Alternation::Lock lock = alternation_.Acquire();
  return nack_ || alternation_.HasEnded(lock);
}

void I2cSlaveBaseWriteStream::Reset() {
  Alternation::Lock lock = alternation_.Acquire();
  queue_.clear();
  nack_ = false;
  alternation_.ExpectModel(lock);
}

bool I2cSlaveBaseWriteStream::get_bytes(unsigned char* byte) {
  Alternation::Lock lock = alternation_.Acquire();
  if (alternation_.WaitUntilBlocking(lock) && queue_.empty()) alternation_.Run(lock);
  if (queue_.empty()) return false;
  *byte = queue_.front();
  queue_.pop_front();
  return true;
}

void I2cSlaveBaseWriteStream::SetNack() {
  Alternation::Lock lock = alternation_.Acquire();
  nack_ = true;
  alternation_.WaitUntilBlocking(lock);
  alternation_.Run(lock);
}

}  // namespace orvo
