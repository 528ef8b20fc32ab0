#include "wires/i2c_packet.h"

#include "runner/errors.h"

namespace orvo {

const std::map<int, std::string> I2cPacketHeaderMap = {
    {kPacketTypeStop, "stop"},
    {kPacketTypeStart, "start"},
    {kPacketTypeByteFromMaster, "byte from master"},
    {kPacketTypeByteFromSlave, "byte from slave"},
    {kPacketTypeAck, "ack"},
    {kPacketTypeNack, "nack"},
    {kPacketTypeFrequency, "frequency"},
};

std::string NameOfI2cPacket(int kind) {
  const auto name = I2cPacketHeaderMap.find(kind);
  return name == I2cPacketHeaderMap.end() ? std::to_string(kind) : name->second;
}

int KindOfI2cPacket(const WireDataEvent& event) {
  const int kind = event.size == 0 ? -1 : event.data[0];
  const bool has_byte = kind == kPacketTypeByteFromMaster || kind == kPacketTypeByteFromSlave;
  const unsigned size = kind == kPacketTypeFrequency ? sizeof(I2cFrequencyPacket) : 1u + has_byte;
  if (event.size < size) {
    throw OrvoError("I2C packet of " + std::to_string(event.size) + " bytes on wire " +
                    std::to_string(event.wire_number) + ", expected " + std::to_string(size));
  }
  return kind;
}

}  // namespace orvo
