#include "wires/spi_master.h"

namespace orvo {

SpiMaster::SpiMaster(WireManager* wires, SpiMasterConfig config) : SpiMaster(wires) {
  SetMosiPin(config.mosi_wire);
  SetMisoPin(config.miso_wire);
  SetSclkPin(config.sclk_wire);
}

void SpiMaster::SetSclkPin(unsigned wire) {
  config_.sclk_wire = wire;
  NotifyBitOrder();
  NotifyFrequency();
  NotifySpiMode();
}

void SpiMaster::SetFrequency(int frequency_hz) {
  frequency_hz_ = frequency_hz;
  NotifyFrequency();
}

void SpiMaster::SetSpiMode(int mode) {
  spi_mode_ = mode;
  NotifySpiMode();
}

void SpiMaster::SetBitOrder(BitOrder order) {
  bit_order_ = order;
  NotifyBitOrder();
}

std::vector<unsigned char> SpiMaster::SendData(std::vector<unsigned char>& data) {
  if (!WireManager::IsSupply(config_.mosi_wire)) {
    wires_->SendDataOverWire(config_.mosi_wire, config_.mosi_wire, data, nullptr);
  }
  Send(kSpiTransfer, static_cast<unsigned>(data.size()));
  if (!WireManager::IsSupply(config_.miso_wire)) {
    const std::vector<unsigned char>& answer = wires_->GetWireData(config_.miso_wire);
    if (!answer.empty()) return answer;
  }
  return std::vector<unsigned char>(data.size());
}

void SpiMaster::Send(SpiPacketKind kind, unsigned value) {
  if (WireManager::IsSupply(config_.sclk_wire)) return;
  const SpiPacket packet{kind, value};
  wires_->SendDataOverWire(config_.sclk_wire, config_.sclk_wire,
                           reinterpret_cast<const unsigned char*>(&packet), sizeof packet, nullptr);
}

}  // namespace orvo
