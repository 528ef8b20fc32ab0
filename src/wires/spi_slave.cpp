#include "wires/spi_slave.h"

#include <algorithm>
#include <utility>

namespace orvo {

SpiSlave::SpiSlave(WireManager& wires, const SpiSlaveConfig& config)
    : base_(wires, config), ss_active_(base_.IsSsActive()) {
  base_.SetWriteCallback([this](const auto& data) { return OnSpiMasterWrite(data); });
  base_.SetSsLogicLevelChangeCallback([this](bool active) { OnSsToggled(active); });
}

SpiSlave::~SpiSlave() { alternation_.Close(); }

unsigned long SpiSlave::Transmit(unsigned char* tx, unsigned char* rx, unsigned long size) {
  Alternation::Lock lock = alternation_.Acquire();
  request_ = {tx, rx, size};
  alternation_.BlockUntil(lock, [this] { return request_.IsOver(); });
  return std::exchange(request_, {}).done;
}

bool SpiSlave::IsSsActive() {
  const Alternation::Lock lock = alternation_.Acquire();
  return ss_active_;
}

bool SpiSlave::WaitForMasterTransmit() {
  Alternation::Lock lock = alternation_.Acquire();
  const bool there =
      alternation_.BlockUntil(lock, [this] { return unanswered_ != 0 && !announced_; });
  announced_ = true;
  return there;
}

std::vector<unsigned char> SpiSlave::OnSpiMasterWrite(const std::vector<unsigned char>& data) {
  std::vector<unsigned char> answer(data.size());
  Alternation::Lock lock = alternation_.Acquire();
  unanswered_ = data.size();
  announced_ = false;
  bool there = alternation_.WaitUntilBlocking(lock);
  while (there && unanswered_ != 0) {
    const unsigned long place = data.size() - unanswered_;
    const unsigned long count = std::min(unanswered_, request_.size - request_.done);
    if (count == 0 && announced_) break;  // the model knows of the bytes, and waits for others
    if (request_.tx) std::copy_n(request_.tx + request_.done, count, &answer[place]);
    if (request_.rx) std::copy_n(&data[place], count, request_.rx + request_.done);
    request_.done += count;
    unanswered_ -= count;
    if (count != 0) announced_ = false;
    if (request_.IsOver()) there = alternation_.Run(lock);
  }
  unanswered_ = 0;
  return answer;
}

void SpiSlave::OnSsToggled(bool active) {
  Alternation::Lock lock = alternation_.Acquire();
  ss_active_ = active;
  if (active || request_.done == 0) return;
  request_.released = true;
  alternation_.Run(lock);
}

}  // namespace orvo
