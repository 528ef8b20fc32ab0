// Puts the packets of an I2C master on the SDA wire. The slave's answer stands in the wire's
// mailbox as soon as a call returns.
#pragma once

#include <span>
#include <vector>

#include "wires/wire_manager.h"

namespace orvo {

class I2cMasterWireLevel {
 public:
  explicit I2cMasterWireLevel(WireManager& wires) : wires_(wires) {}

  void Initialize(unsigned sda_wire) { sda_wire_ = sda_wire; }
  // Leaves the wire. Without a wire, which vdd stands for, nobody hears and nobody answers.
  void Reset() { sda_wire_ = WireManager::kVdd; }

  void Start();
  void Stop();
  void SendAck();
  void SendNack();
  void SendPacket(unsigned char byte);
  // 7 bits.
  void SendAddress(unsigned char address, bool read);
  // The bit time in ticks of the main clock.
  void SendHclkTicksPerbit(unsigned ticks);
  // Ends the transfer of a master that has gone: a slave that waits for an answer is refused.
  void ClearBus();
  // Whether the slave acknowledged what was sent last.
  bool GetAck() const;
  // The slave's packet: its kind, then the byte. Throws OrvoError if something else was sent last.
  std::span<const unsigned char> GetPacket() const;

  // A packet as it is; `source` doesn't hear it.
  void SendData(const std::vector<unsigned char>& packet, Observer<WireDataEvent>* source);
  bool SendDataGetAck(const std::vector<unsigned char>& packet, Observer<WireDataEvent>* source);

 private:
  // What was sent last.
  std::span<const unsigned char> Mailbox() const;

  WireManager& wires_;
  unsigned sda_wire_ = WireManager::kVdd;
};

}  // namespace orvo
