#include "wires/i2c_slave_base.h"

#include <algorithm>
#include <cstring>

#include "mcu/mcu.h"
#include "runner/errors.h"
#include "wires/device_pin.h"
#include "wires/i2c_packet.h"

namespace orvo {

const std::map<I2cSlaveState, std::string> I2cSlaveStateMap = {
    {I2cSlaveState::kIdle, "idle"},
    {I2cSlaveState::kStart, "start"},
    {I2cSlaveState::kReceive, "receive"},
    {I2cSlaveState::kTransmit, "transmit"},
    {I2cSlaveState::kTransmitWaitForAck, "transmit wait for ack"},
    {I2cSlaveState::kWaitForStop, "wait for stop"},
};

I2cSlaveBase::I2cSlaveBase(Mcu* mcu, WireManager& wires) : wires_(wires), mcu_(mcu) {}

I2cSlaveBase::I2cSlaveBase(Mcu* mcu, WireManager& wires, const JsonPlace& component)
    : I2cSlaveBase(mcu, wires) {
  SetSdaWire(DeviceBusWire(wires, component, "sda"));
  Enable();
}

I2cSlaveBase::~I2cSlaveBase() { Disable(); }

void I2cSlaveBase::Enable() {
  enabled_ = true;
  Connect();
}

void I2cSlaveBase::Disable() {
  enabled_ = false;
  Disconnect();
}

void I2cSlaveBase::SetSdaWire(unsigned wire) {
  if (wire == sda_wire_) return;
  Disconnect();
  sda_wire_ = wire;
  if (enabled_) Connect();
}

void I2cSlaveBase::DisconnectSdaWire() { SetSdaWire(WireManager::kVdd); }

void I2cSlaveBase::Connect() {
  if (connected_ || WireManager::IsSupply(sda_wire_)) return;
  wires_.ConnectToWireData(this, sda_wire_, sda_wire_);
  connected_ = true;
}

void I2cSlaveBase::Disconnect() {
  mcu_->clock().DetachFromTick(this);
  if (connected_) wires_.DisconnectFromWireData(this, sda_wire_, sda_wire_);
  connected_ = false;
  state_ = I2cSlaveState::kIdle;
  read_index_ = 0;
  write_index_ = 0;
}

void I2cSlaveBase::AddAddress(unsigned char address, unsigned char mask) {
  addresses_.push_back({address, mask});
}

void I2cSlaveBase::RemoveAddress(unsigned char address, unsigned char mask) {
  std::erase(addresses_, AddressEntry{address, mask});
}

void I2cSlaveBase::AddAddressIfNotExist(unsigned char address, unsigned char mask) {
  const AddressEntry entry{address, mask};
  if (std::find(addresses_.begin(), addresses_.end(), entry) == addresses_.end()) {
    addresses_.push_back(entry);
  }
}

void I2cSlaveBase::SendDataOverWire(const unsigned char* data, unsigned long size) {
  if (enabled_) wires_.SendDataOverWire(sda_wire_, sda_wire_, data, size, this);
}

void I2cSlaveBase::Send(std::initializer_list<unsigned char> packet) {
  SendDataOverWire(packet.begin(), packet.size());
}

void I2cSlaveBase::Update(std::vector<WireDataEvent>* events) {
  if (!enabled_) return;
  if (events->size() != 1) {
    throw OrvoError("Case of more than one notification in I2cSlaveBase is currently unsupported");
  }
  const WireDataEvent& event = events->front();
  if (addresses_.empty() || event.wire_number != sda_wire_) return;
  const int kind = KindOfI2cPacket(event);
  if (kind == kPacketTypeFrequency) {
    I2cFrequencyPacket packet;
    std::memcpy(&packet, event.data, sizeof packet);
    ticks_per_bit_ = packet.ticks_per_bit;
    return;
  }
  switch (state_) {
    case I2cSlaveState::kIdle:
      if (kind == kPacketTypeStart) state_ = I2cSlaveState::kStart;
      return;
    case I2cSlaveState::kStart:
      state_ = I2cSlaveState::kIdle;
      if (kind == kPacketTypeByteFromMaster) HandleStart(event.data[1]);
      return;
    case I2cSlaveState::kReceive:
      return HandleReceive(kind, event);
    case I2cSlaveState::kTransmitWaitForAck:
      return HandleTransmitAck(kind);
    case I2cSlaveState::kWaitForStop:
      return HandleStop(kind);
    case I2cSlaveState::kTransmit:
      break;
  }
  throw OrvoError("Unknown state: " + I2cSlaveStateMap.at(state_) + " in I2cSlaveBase::Update");
}

void I2cSlaveBase::HandleStart(unsigned char address_byte) {
  address_ = address_byte >> 1;
  const bool matches = std::any_of(
      addresses_.begin(), addresses_.end(),
      [this](const AddressEntry& entry) { return ((entry.address ^ address_) & entry.mask) == 0; });
  if (!matches) return;
  Send({kPacketTypeAck});
  if ((address_byte & 1) != 0) {
    TransmitInBits(9);
    if (start_read_) start_read_();
  } else {
    state_ = I2cSlaveState::kReceive;
    if (start_write_) start_write_();
  }
}

// One tick before the master looks.
void I2cSlaveBase::TransmitInBits(unsigned bits) {
  state_ = I2cSlaveState::kTransmit;
  mcu_->clock().AttachToTick(
      mcu_->clock().ticks() + static_cast<unsigned long>(bits) * ticks_per_bit_ - 1, this, false);
}

unsigned long I2cSlaveBase::OnTick(unsigned long) {
  unsigned char byte = 0;
  if (!read_(address_, read_index_, &byte)) {
    Send({kPacketTypeNack});
    state_ = I2cSlaveState::kIdle;
    return 0;
  }
  ++read_index_;
  Send({kPacketTypeByteFromSlave, byte});
  state_ = I2cSlaveState::kTransmitWaitForAck;
  return 0;
}

void I2cSlaveBase::HandleTransmitAck(int kind) {
  if (kind == kPacketTypeAck) return TransmitInBits(8);
  if (kind != kPacketTypeNack) {
    throw OrvoError("I2cSlaveBase: Unknown state " + NameOfI2cPacket(kind));
  }
  state_ = I2cSlaveState::kWaitForStop;
}

// A repeated start doesn't end the write: the index goes on, and nobody is told.
void I2cSlaveBase::HandleReceive(int kind, const WireDataEvent& event) {
  switch (kind) {
    case kPacketTypeByteFromMaster:
      if (write_(address_, event.data[1], write_index_)) {
        ++write_index_;
        Send({kPacketTypeAck});
      } else {
        Send({kPacketTypeNack});
      }
      return;
    case kPacketTypeStop:
      stop_write_();
      write_index_ = 0;
      state_ = I2cSlaveState::kIdle;
      return;
    case kPacketTypeStart:
      state_ = I2cSlaveState::kStart;
      return;
    default:
      throw OrvoError("State mismatch, expecting for stop/start/byteFromMaster packet, got " +
                      NameOfI2cPacket(kind) + " packet in I2cSlaveBase::Update");
  }
}

void I2cSlaveBase::HandleStop(int kind) {
  if (kind != kPacketTypeStop) {
    throw OrvoError("I2cSlaveBase: State mismatch, expecting for stop packet, got " +
                    NameOfI2cPacket(kind) + " packet");
  }
  state_ = I2cSlaveState::kIdle;
  stop_read_();
  read_index_ = 0;
  write_index_ = 0;
}

}  // namespace orvo
