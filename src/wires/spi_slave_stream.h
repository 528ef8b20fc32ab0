// An SPI slave as two streams of bytes, for a model that runs in a thread of its own: for each byte
// that the master clocks, one goes to the model and one comes from it.
#pragma once

#include <deque>
#include <vector>

#include "wires/alternation.h"
#include "wires/spi_slave_base.h"

namespace orvo {

class SpiSlaveStream {
 public:
  enum class Blocking { kNo, kYes };

  SpiSlaveStream(WireManager& wires, const SpiSlaveConfig& config);
  SpiSlaveStream(const SpiSlaveStream&) = delete;
  SpiSlaveStream& operator=(const SpiSlaveStream&) = delete;
  // The simulation thread, or the model's own outside of these operations.
  virtual ~SpiSlaveStream();

  // The model's thread.
  // Blocks until the master has clocked `size` bytes; returns how many there are, fewer only when
  // detached.
  virtual unsigned long Read(unsigned char* data, unsigned long size);
  // Blocks until the master has taken all bytes; returns how many it has, fewer only when detached.
  virtual unsigned long Write(const unsigned char* data, unsigned long size);
  // The model is about to wait for something else than this bus, or is back from it. Meanwhile the
  // simulation goes on: what the master clocks waits to be read, and it gets zeros.
  virtual void SetBlocking(Blocking blocking);
  virtual bool IsSsActive();
  // Ends all waits, now and later: the master gets what was written before, then zeros.
  virtual void Detach() { alternation_.End(); }

 private:
  std::vector<unsigned char> OnSpiMasterWrite(const std::vector<unsigned char>& data);
  void AddingZerosToResponse(std::vector<unsigned char>* response, unsigned long size);
  bool IsModelServed() const;

  Alternation alternation_;
  std::deque<unsigned char> read_queue_;
  std::deque<unsigned char> write_queue_;
  unsigned long wanted_ = 0;  // bytes for a Read() that stands
  bool writes_ = false;       // a Write() stands
  SpiSlaveBase base_;
  bool ss_active_;
};

}  // namespace orvo
