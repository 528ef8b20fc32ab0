// What a plug-in sees of a serial line. A binary contract: the order of the operations and of the
// fields never changes, and a new version adds at the end.
#pragma once

namespace orvo {

class iUartDeviceV1 {
 public:
  // Sends to the chip; returns the number of bytes sent, 0 while the chip holds CTS high.
  virtual unsigned long Write(char const* data, unsigned long length) = 0;
  // Blocks until `length` bytes from the chip are there; returns `length`, or 0 when cancelled.
  virtual unsigned long Read(char* buffer, unsigned long length) = 0;
  // Ends the Read() that waits, or else the next one that would wait.
  virtual void CancelRead() = 0;

 protected:
  ~iUartDeviceV1() = default;
};

struct UartConfig {
  // Kept and not used: bytes travel whole, whatever the format of the line.
  unsigned baud_rate = 115200;
  unsigned word_length = 8;  // bits
  unsigned stop_bits = 1;
  // As this end sees them: the chip's TX wire is the RX wire here.
  unsigned rx_wire = 0xffffffff;
  unsigned tx_wire = 0xffffffff;
  unsigned cts_wire = 0xffffffff;
  unsigned rts_wire = 0xffffffff;
  bool cts_enabled = false;
  bool rts_enabled = false;
};

}  // namespace orvo
