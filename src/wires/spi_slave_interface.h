// What a plug-in sees of an SPI bus. A binary contract: the order of the operations and of the
// fields never changes, and a new version derives and adds at its end.
#pragma once

namespace orvo {

enum BitOrder : int {
  kBitOrderUnset = -1,
  kMsbFirst = 0,
  kLsbFirst = 1,
};

struct SpiSlaveConfig {
  // 0xffffffff for a wire that the device doesn't have.
  unsigned mosi_wire = 0xffffffff;
  unsigned miso_wire = 0xffffffff;
  unsigned ss_wire = 0xffffffff;
  unsigned sclk_wire = 0xffffffff;
  unsigned supported_modes = 0;  // bit n for mode n
  unsigned max_frequency_hz = 0;
  BitOrder bit_order = kMsbFirst;
};

// Whoever has blocked in one of these operations alternates with the simulation from then on: that
// stands until the next such call. Nothing that only the simulation brings about, such as a timed
// callback, may be waited for in between.
class iSpiSlaveV1 {
 public:
  // Offers `size` bytes for MISO and blocks until the master has exchanged them; `rx` takes the
  // bytes of MOSI. Null stands for zeros, and for bytes that nobody wants. Returns the number of
  // bytes exchanged: less than `size` if the select line was released after some of them, or the
  // slave was detached.
  virtual unsigned long Transmit(unsigned char* tx, unsigned char* rx, unsigned long size) = 0;
  virtual bool IsSsActive() = 0;
  // Ends all waits, now and later: the master reads zeros from then on.
  virtual void Detach() = 0;

 protected:
  ~iSpiSlaveV1() = default;
};

class iSpiSlaveV2 : public iSpiSlaveV1 {
 public:
  // Blocks until the master clocks bytes that no Transmit() has offered an answer for. Who doesn't
  // offer one before the next wait leaves that transfer with zeros. Returns false when detached.
  virtual bool WaitForMasterTransmit() = 0;

 protected:
  ~iSpiSlaveV2() = default;
};

}  // namespace orvo
