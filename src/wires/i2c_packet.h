// The packets on an SDA wire. There is neither SCL nor a clock edge: the first byte of a packet is
// its kind, and the bit time is a number that the master tells.
#pragma once

#include <map>
#include <string>

#include "wires/wire_types.h"

namespace orvo {

enum I2cPacketKind : unsigned char {
  kPacketTypeStop = 0,
  kPacketTypeStart = 1,
  kPacketTypeByteFromMaster = 2,  // then the byte; of an address: address * 2 + read flag
  kPacketTypeByteFromSlave = 3,   // then the byte
  kPacketTypeAck = 4,
  kPacketTypeNack = 5,
  kPacketTypeFrequency = 6,  // I2cFrequencyPacket
};

// Words in the order of the host.
struct I2cFrequencyPacket {
  unsigned kind = kPacketTypeFrequency;
  unsigned ticks_per_bit = 0;  // of the main clock
};
static_assert(sizeof(I2cFrequencyPacket) == 8);

extern const std::map<int, std::string> I2cPacketHeaderMap;
// The name, or the number of a kind that has none.
std::string NameOfI2cPacket(int kind);

// The kind of what was sent. Throws OrvoError for a packet that is shorter than its kind tells.
int KindOfI2cPacket(const WireDataEvent& event);

}  // namespace orvo
