// The master's end of an SPI bus. A transfer is one synchronous exchange: the bytes go into the
// mailbox of MOSI, SCLK tells how many they are, and the slave's answer stands in the mailbox of
// MISO when that returns. The select line is none of its concerns.
#pragma once

#include <vector>

#include "wires/spi_packet.h"
#include "wires/spi_slave_interface.h"
#include "wires/wire_manager.h"

namespace orvo {

// Wires that aren't set, or are a supply, stay out of everything.
struct SpiMasterConfig {
  unsigned mosi_wire = 0xffffffff;
  unsigned miso_wire = 0xffffffff;
  unsigned sclk_wire = 0xffffffff;
};

class SpiMaster {
 public:
  explicit SpiMaster(WireManager* wires) : wires_(wires) {}
  SpiMaster(WireManager* wires, SpiMasterConfig config);

  void SetMosiPin(unsigned wire) { config_.mosi_wire = wire; }
  void SetMisoPin(unsigned wire) { config_.miso_wire = wire; }
  // Tells the slaves on the new wire bit order, frequency and mode, in this order.
  void SetSclkPin(unsigned wire);

  // Store the setting and tell the slaves.
  void SetFrequency(int frequency_hz);
  // A mask of one bit: 1, 2, 4, 8 for the modes 0 to 3.
  void SetSpiMode(int mode);
  void SetBitOrder(BitOrder order);
  void NotifyFrequency() { Send(kSpiFrequency, static_cast<unsigned>(frequency_hz_)); }
  void NotifySpiMode() { Send(kSpiMode, static_cast<unsigned>(spi_mode_)); }
  void NotifyBitOrder() { Send(kSpiBitOrder, static_cast<unsigned>(bit_order_)); }
  int GetFrequency() const { return frequency_hz_; }

  // Returns what stands on MISO afterwards: the slave's answer, or, if no slave was active, an
  // earlier one, whatever its length. As many zeros as bytes were sent if there never was one.
  std::vector<unsigned char> SendData(std::vector<unsigned char>& data);

 private:
  void Send(SpiPacketKind kind, unsigned value);

  WireManager* wires_;
  SpiMasterConfig config_;
  int frequency_hz_ = 0;
  int spi_mode_ = 0;
  BitOrder bit_order_ = kBitOrderUnset;
};

}  // namespace orvo
