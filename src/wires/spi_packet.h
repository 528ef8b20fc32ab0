// The packets on an SCLK wire. Clock edges are not simulated: SCLK carries the settings of the bus
// and the lengths of the transfers, MOSI and MISO carry the bytes as they are.
#pragma once

namespace orvo {

enum SpiPacketKind : unsigned {
  kSpiFrequency = 0,  // hertz
  kSpiMode = 1,       // bit n for mode n: 1, 2, 4 or 8
  kSpiTransfer = 2,   // bytes
  kSpiBitOrder = 3,   // BitOrder
};

// 8 bytes in the order of the host.
struct SpiPacket {
  SpiPacketKind kind;
  unsigned value;
};
static_assert(sizeof(SpiPacket) == 8);

}  // namespace orvo
