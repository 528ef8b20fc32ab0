#include "wires/spi_slave_base.h"

#include <cstring>
#include <iostream>
#include <string>
#include <utility>

#include "runner/errors.h"
#include "wires/device_pin.h"

namespace orvo {

namespace {

constexpr unsigned kNoWire = WireManager::kVdd;

SpiSlaveConfig ConfigOf(WireManager& wires, const JsonPlace& component, unsigned max_frequency_hz,
                        unsigned supported_modes, BitOrder bit_order) {
  const auto optional = [&](const char* pin) {
    return IsPinInJson(component, pin) ? DevicePinWire(wires, component, pin) : kNoWire;
  };
  return {
      optional("mosi"), optional("miso"), optional("ss"), DeviceBusWire(wires, component, "sclk"),
      supported_modes,  max_frequency_hz, bit_order};
}

}  // namespace

SpiSlaveBase::SpiSlaveBase(WireManager& wires, SpiSlaveConfig config)
    : wires_(wires),
      config_(config),
      ss_active_(config.ss_wire == kNoWire || !wires.GetWireLevel(config.ss_wire)) {
  wires_.ConnectToWireLogicState(this, config_.ss_wire, config_.ss_wire);
  wires_.ConnectToWireData(this, config_.sclk_wire, config_.sclk_wire);
}

// A select line that the board ties to vdd keeps the slave inactive.
SpiSlaveBase::SpiSlaveBase(WireManager& wires, const JsonPlace& component,
                           unsigned max_frequency_hz, unsigned supported_modes, BitOrder bit_order)
    : SpiSlaveBase(wires,
                   ConfigOf(wires, component, max_frequency_hz, supported_modes, bit_order)) {
  if (config_.ss_wire == WireManager::kVdd) ss_active_ = !IsPinInJson(component, "ss");
}

SpiSlaveBase::~SpiSlaveBase() {
  wires_.DisconnectFromWireLogicState(this, config_.ss_wire, config_.ss_wire);
  if (WireManager::IsSupply(config_.sclk_wire)) return;
  wires_.DisconnectFromWireData(this, config_.sclk_wire, config_.sclk_wire);
}

void SpiSlaveBase::FlushResponseBuffer(std::vector<unsigned char>& output) {
  output = std::exchange(tx_buffer_, {});
}

void SpiSlaveBase::Update(std::vector<WireLogicLevelEvent>* events) {
  ss_active_ = events->front().level == 0;
  if (ss_callback_) ss_callback_(ss_active_);
}

void SpiSlaveBase::Update(std::vector<WireDataEvent>* events) {
  const WireDataEvent& event = events->front();
  SpiPacket packet{};
  if (event.size != sizeof packet) {
    throw OrvoError("SpiSlaveBase: no SPI packet on SCLK, wire " +
                    std::to_string(event.wire_number) + ": " + std::to_string(event.size) +
                    " bytes");
  }
  std::memcpy(&packet, event.data, sizeof packet);
  switch (packet.kind) {
    case kSpiFrequency:
      frequency_ok_ = packet.value <= config_.max_frequency_hz;
      return;
    case kSpiMode:
      mode_ok_ = (packet.value & config_.supported_modes) != 0;
      return;
    case kSpiBitOrder:
      bit_order_ok_ = packet.value == static_cast<unsigned>(config_.bit_order);
      return;
    case kSpiTransfer:
      if (ss_active_) Transfer();
      return;
  }
  throw OrvoError("SpiSlaveBase: unknown kind of packet on SCLK, wire " +
                  std::to_string(event.wire_number) + ": " + std::to_string(packet.kind));
}

// Deliberate: wrong settings never stop a transfer.
void SpiSlaveBase::Transfer() {
  WarnOfSettings();
  if (!WireManager::IsSupply(config_.mosi_wire)) {
    rx_buffer_ = wires_.GetWireData(config_.mosi_wire);
  }
  if (!rx_buffer_.empty() && write_callback_) tx_buffer_ = write_callback_(rx_buffer_);
  if (tx_buffer_.size() < rx_buffer_.size()) tx_buffer_.resize(rx_buffer_.size());
  std::vector<unsigned char> answer;
  FlushResponseBuffer(answer);
  if (WireManager::IsSupply(config_.miso_wire)) return;
  wires_.SendDataOverWire(config_.miso_wire, config_.miso_wire, answer, this);
}

void SpiSlaveBase::WarnOfSettings() const {
  if (!mode_ok_) std::cerr << "Warning: SPI mode does not match to slave\n";
  if (!frequency_ok_) {
    std::cerr << "Warning: master SPI frequency is higher than the maximum supported by the "
                 "slave\n";
  }
  if (!bit_order_ok_) std::cerr << "Warning: master SPI bit order does not match to the slave\n";
}

std::vector<unsigned char> SpiSlaveBase::OnWriteNullFunc(const std::vector<unsigned char>&) {
  throw OrvoError("Unset write callback in SpiSlaveBase::OnWriteNullFunc");
}

}  // namespace orvo
