// An SPI slave whose model runs in a thread of its own: the model blocks in Transmit() until the
// master has exchanged the bytes, the simulation in a transfer until the model has offered its own.
#pragma once

#include <vector>

#include "wires/alternation.h"
#include "wires/spi_slave_base.h"
#include "wires/spi_slave_interface.h"

namespace orvo {

class SpiSlave : public iSpiSlaveV2 {
 public:
  SpiSlave(WireManager& wires, const SpiSlaveConfig& config);
  SpiSlave(const SpiSlave&) = delete;
  SpiSlave& operator=(const SpiSlave&) = delete;

  // The model's thread. A transfer may be longer or shorter than what a Transmit() offers: what is
  // left on either side waits for the next.
  unsigned long Transmit(unsigned char* tx, unsigned char* rx, unsigned long size) override;
  bool IsSsActive() override;
  void Detach() override { alternation_.End(); }
  bool WaitForMasterTransmit() override;
  // The simulation thread, or the model's own outside of these operations.
  virtual ~SpiSlave();

 private:
  // What a Transmit() that stands has offered.
  struct Request {
    unsigned char* tx = nullptr;
    unsigned char* rx = nullptr;
    unsigned long size = 0;
    unsigned long done = 0;  // bytes exchanged
    bool released = false;   // the select line was, after some of them
    bool IsOver() const { return done == size || released; }
  };

  std::vector<unsigned char> OnSpiMasterWrite(const std::vector<unsigned char>& data);
  void OnSsToggled(bool active);

  Alternation alternation_;
  Request request_;
  unsigned long unanswered_ = 0;  // bytes of the present transfer
  bool announced_ = false;        // WaitForMasterTransmit() has told the model of them
  SpiSlaveBase base_;
  bool ss_active_;
};

}  // namespace orvo
