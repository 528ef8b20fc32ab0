#include "wires/i2c_master_wire_level.h"

#include <iostream>

#include "runner/errors.h"
#include "runner/text.h"
#include "wires/i2c_packet.h"

namespace orvo {

void I2cMasterWireLevel::Start() { SendData({kPacketTypeStart}, nullptr); }

void I2cMasterWireLevel::Stop() { SendData({kPacketTypeStop}, nullptr); }

void I2cMasterWireLevel::SendAck() { SendData({kPacketTypeAck}, nullptr); }

void I2cMasterWireLevel::SendNack() { SendData({kPacketTypeNack}, nullptr); }

void I2cMasterWireLevel::SendPacket(unsigned char byte) {
  SendData({kPacketTypeByteFromMaster, byte}, nullptr);
}

void I2cMasterWireLevel::SendAddress(unsigned char address, bool read) {
  SendPacket(static_cast<unsigned char>(address * 2 + read));
}

void I2cMasterWireLevel::SendHclkTicksPerbit(unsigned ticks) {
  const I2cFrequencyPacket packet{.ticks_per_bit = ticks};
  const auto* bytes = reinterpret_cast<const unsigned char*>(&packet);
  SendData({bytes, bytes + sizeof packet}, nullptr);
}

void I2cMasterWireLevel::ClearBus() {
  const std::span<const unsigned char> mailbox = Mailbox();
  if (!mailbox.empty() && mailbox[0] == kPacketTypeByteFromSlave) SendNack();
  Stop();
}

std::span<const unsigned char> I2cMasterWireLevel::Mailbox() const {
  if (sda_wire_ == WireManager::kVdd) return {};
  return wires_.GetWireData(sda_wire_);
}

bool I2cMasterWireLevel::GetAck() const {
  const std::span<const unsigned char> mailbox = Mailbox();
  return !mailbox.empty() && mailbox[0] == kPacketTypeAck;
}

std::span<const unsigned char> I2cMasterWireLevel::GetPacket() const {
  const std::span<const unsigned char> mailbox = Mailbox();
  if (mailbox.size() < 2 || mailbox[0] != kPacketTypeByteFromSlave) {
    if (mailbox.size() == 2 && mailbox[0] == kPacketTypeByteFromMaster) {
      std::cerr << "Warning: no I2C device at address 0x" << IntToHex(mailbox[1] >> 1u)
                << " on wire " << sda_wire_ << " for the read that goes on there\n";
    }
    const std::string got = mailbox.empty() ? "nothing" : NameOfI2cPacket(mailbox[0]);
    throw OrvoError("Incorrect state, expected kPacketTypeByteFromSlave, got " + got +
                    " in I2cMasterWireLevel");
  }
  return mailbox;
}

void I2cMasterWireLevel::SendData(const std::vector<unsigned char>& packet,
                                  Observer<WireDataEvent>* source) {
  if (sda_wire_ == WireManager::kVdd) return;
  wires_.SendDataOverWire(sda_wire_, sda_wire_, packet, source);
}

bool I2cMasterWireLevel::SendDataGetAck(const std::vector<unsigned char>& packet,
                                        Observer<WireDataEvent>* source) {
  SendData(packet, source);
  return GetAck();
}

}  // namespace orvo
