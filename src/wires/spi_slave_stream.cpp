#include "wires/spi_slave_stream.h"

#include <algorithm>

namespace orvo {

SpiSlaveStream::SpiSlaveStream(WireManager& wires, const SpiSlaveConfig& config)
    : base_(wires, config), ss_active_(base_.IsSsActive()) {
  base_.SetWriteCallback([this](const auto& data) { return OnSpiMasterWrite(data); });
  base_.SetSsLogicLevelChangeCallback([this](bool active) {
    const Alternation::Lock lock = alternation_.Acquire();
    ss_active_ = active;
  });
}

SpiSlaveStream::~SpiSlaveStream() { alternation_.Close(); }

unsigned long SpiSlaveStream::Read(unsigned char* data, unsigned long size) {
  Alternation::Lock lock = alternation_.Acquire();
  wanted_ = size;
  alternation_.BlockUntil(lock, [this] { return read_queue_.size() >= wanted_; });
  wanted_ = 0;
  const auto count = static_cast<long>(std::min(size, read_queue_.size()));
  std::copy_n(read_queue_.begin(), count, data);
  read_queue_.erase(read_queue_.begin(), read_queue_.begin() + count);
  return static_cast<unsigned long>(count);
}

unsigned long SpiSlaveStream::Write(const unsigned char* data, unsigned long size) {
  Alternation::Lock lock = alternation_.Acquire();
  write_queue_.insert(write_queue_.end(), data, data + size);
  writes_ = true;
  alternation_.BlockUntil(lock, [this] { return write_queue_.empty(); });
  writes_ = false;
  return size - std::min(size, write_queue_.size());
}

void SpiSlaveStream::SetBlocking(Blocking blocking) {
  Alternation::Lock lock = alternation_.Acquire();
  alternation_.SetBlocking(lock, blocking == Blocking::kYes);
}

bool SpiSlaveStream::IsSsActive() {
  const Alternation::Lock lock = alternation_.Acquire();
  return ss_active_;
}

// The model runs as soon as a byte serves its wait, so that it can answer the first bytes of a
// transfer by the next.
std::vector<unsigned char> SpiSlaveStream::OnSpiMasterWrite(
    const std::vector<unsigned char>& data) {
  std::vector<unsigned char> response;
  Alternation::Lock lock = alternation_.Acquire();
  bool there = alternation_.WaitUntilBlocking(lock);
  for (const unsigned char byte : data) {
    if (!write_queue_.empty()) {
      response.push_back(write_queue_.front());
      write_queue_.pop_front();
    } else {
      AddingZerosToResponse(&response, 1);
    }
    if (!alternation_.HasEnded(lock)) read_queue_.push_back(byte);
    if (there && IsModelServed()) there = alternation_.Run(lock);
  }
  return response;
}

void SpiSlaveStream::AddingZerosToResponse(std::vector<unsigned char>* response,
                                           unsigned long size) {
  response->insert(response->end(), size, 0);
}

bool SpiSlaveStream::IsModelServed() const {
  return writes_ ? write_queue_.empty() : read_queue_.size() >= wanted_;
}

}  // namespace orvo
