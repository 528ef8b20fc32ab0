#include "wires/i2c_master_logic_level.h"

#include <exception>
#include <utility>

#include "mcu/mcu.h"
#include "runner/errors.h"

namespace orvo {

const std::map<I2cMasterState, std::string> I2cMasterStateMap = {
    {I2cMasterState::kIdle, "idle"},
    {I2cMasterState::kStart, "start"},
    {I2cMasterState::kTxStart, "tx start"},
    {I2cMasterState::kRxStart, "rx start"},
    {I2cMasterState::kTxWaitForAck, "tx wait for ack"},
    {I2cMasterState::kTxWaitForLastAck, "tx wait for last ack"},
    {I2cMasterState::kRxWaitForAck, "rx wait for ack"},
    {I2cMasterState::kRxWaitForData, "rx wait for data"},
    {I2cMasterState::kRxSendAck, "rx send ack"},
    {I2cMasterState::kRxSendNack, "rx send nack"},
    {I2cMasterState::kWaitForAddressAck, "wait for address ack"},
    {I2cMasterState::kRxWaitForStop, "rx wait for stop"},
    {I2cMasterState::kTxSendData, "tx send data"},
};

I2cMasterLogiclevel::I2cMasterLogiclevel(Mcu* mcu, WireManager& wires) : mcu_(mcu), wire_(wires) {}

I2cMasterLogiclevel::~I2cMasterLogiclevel() { mcu_->clock().DetachFromTick(this); }

void I2cMasterLogiclevel::StartTX(unsigned char address, unsigned sda_wire,
                                  unsigned ticks_per_bit) {
  Initialize(false, address, sda_wire, ticks_per_bit);
  if (tx_start_) tx_start_();
}

void I2cMasterLogiclevel::StartRX(unsigned char address, unsigned sda_wire,
                                  unsigned ticks_per_bit) {
  Initialize(true, address, sda_wire, ticks_per_bit);
  if (rx_start_) rx_start_();
}

void I2cMasterLogiclevel::Initialize(bool read, unsigned char address, unsigned sda_wire,
                                     unsigned ticks_per_bit) {
  if (ticks_per_bit == 0) {
    throw OrvoError("I2C bit time of 0 ticks: the bus is faster than the main clock");
  }
  ticks_per_bit_ = ticks_per_bit;
  wire_.Initialize(sda_wire);
  address_ = address;
  read_ = read;
  state_ = read ? I2cMasterState::kRxStart : I2cMasterState::kTxStart;
  byte_index_ = 0;
  ack_pending_skip_ = false;
  SendFrequencyAndStart(ticks_per_bit);
}

// Deliberate: after a Stop() from outside, the tick that the ended transfer waits for still comes,
// and a start before it goes on with that tick.
// After a Reset() in a transfer the bus is cleared first, which firmware does by pulses of its pins
// (I2C-bus specification, 3.1.16 "Bus clear") that no slave here would hear. A byte that the slave
// is sending can't be held back: the start waits for it.
void I2cMasterLogiclevel::SendFrequencyAndStart(unsigned ticks_per_bit) {
  if (cut_off_ && mcu_->clock().ticks() < slave_byte_due_) {
    next_tick_ = slave_byte_due_;
  } else {
    if (std::exchange(cut_off_, false)) wire_.ClearBus();
    wire_.SendHclkTicksPerbit(ticks_per_bit);
    wire_.Start();
    next_tick_ = InBits(8);
  }
  if (attached_) return;
  attached_ = true;
  mcu_->clock().AttachToTick(next_tick_, this, false);
}

unsigned long I2cMasterLogiclevel::InBits(unsigned bits) const {
  return mcu_->clock().ticks() + static_cast<unsigned long>(bits) * ticks_per_bit_;
}

unsigned long I2cMasterLogiclevel::OnTick(unsigned long tick) {
  next_tick_ = 0;
  if (suspended_) {
    attached_ = true;
    return tick + ticks_per_bit_;
  }
  if (cut_off_ && !IsIdle()) {
    SendFrequencyAndStart(ticks_per_bit_);
    return next_tick_;
  }
  switch (state_) {
    case I2cMasterState::kIdle:
      break;
    case I2cMasterState::kTxStart:
      wire_.SendAddress(address_, read_);
      state_ = I2cMasterState::kTxWaitForAck;
      next_tick_ = InBits(9);
      break;
    case I2cMasterState::kRxStart:
      wire_.SendAddress(address_, read_);
      state_ = I2cMasterState::kRxWaitForAck;
      next_tick_ = InBits(1);
      break;
    case I2cMasterState::kTxWaitForAck:
      if (!ack_pending_skip_) HandleAck(byte_index_ == 0);
      ack_pending_skip_ = !SendNextPacket();
      if (ack_pending_skip_) next_tick_ = InBits(8);
      break;
    case I2cMasterState::kRxWaitForAck:
      HandleAck(false);
      state_ = I2cMasterState::kRxWaitForData;
      next_tick_ = InBits(8);
      if (after_ack_on_rx_) after_ack_on_rx_();
      break;
    case I2cMasterState::kRxWaitForData:
      ReceivePacket();
      break;
    case I2cMasterState::kRxSendAck:
      SendAck();
      break;
    case I2cMasterState::kRxSendNack:
      SendNack();
      break;
    default:
      throw OrvoError("Unknown state: " + std::to_string(static_cast<unsigned>(state_)) +
                      " in I2cMasterLogiclevel");
  }
  attached_ = next_tick_ != 0;
  return next_tick_;
}

void I2cMasterLogiclevel::HandleAck(bool address_byte) {
  if (error_ && !wire_.GetAck()) error_(address_byte);
}

// Returns false if the owner has no byte yet.
bool I2cMasterLogiclevel::SendNextPacket() {
  unsigned char byte = 0;
  try {
    if (!next_byte_) return false;
    byte = next_byte_(byte_index_);
  } catch (const std::exception&) {
    return false;
  }
  wire_.SendPacket(byte);
  ++byte_index_;
  if (byte_sent_ && byte_sent_(byte_index_)) return true;
  next_tick_ = InBits(9);
  if (!suspended_ && suspended_resume_) suspended_resume_();
  return true;
}

void I2cMasterLogiclevel::ReceivePacket() {
  const unsigned char byte = wire_.GetPacket()[1];
  const bool acknowledge = byte_received_ && byte_received_(byte_index_, byte, byte_index_ + 1);
  ++byte_index_;
  state_ = acknowledge ? I2cMasterState::kRxSendAck : I2cMasterState::kRxSendNack;
  next_tick_ = InBits(1);
}

void I2cMasterLogiclevel::SendAck() {
  wire_.SendAck();
  state_ = I2cMasterState::kRxWaitForData;
  next_tick_ = InBits(8);
  if (ack_or_nack_sent_) ack_or_nack_sent_(true);
  if (after_ack_on_rx_) after_ack_on_rx_();
}

void I2cMasterLogiclevel::SendNack() {
  wire_.SendNack();
  state_ = I2cMasterState::kRxWaitForStop;
  if (ack_or_nack_sent_) ack_or_nack_sent_(false);
}

void I2cMasterLogiclevel::Stop() {
  if (!cut_off_) wire_.Stop();  // else the start hasn't been sent
  state_ = I2cMasterState::kIdle;
}

void I2cMasterLogiclevel::Resume() {
  suspended_ = false;
  if (!IsIdle() && suspended_resume_) suspended_resume_();
  if (attached_) return;
  attached_ = true;
  mcu_->clock().AttachToTick(InBits(8), this, false);
}

void I2cMasterLogiclevel::Reset() {
  mcu_->clock().DetachFromTick(this);
  wire_.Reset();
  if (state_ == I2cMasterState::kRxWaitForAck) slave_byte_due_ = next_tick_ + 8ul * ticks_per_bit_;
  if (state_ == I2cMasterState::kRxWaitForData) slave_byte_due_ = next_tick_;
  cut_off_ = cut_off_ || !IsIdle();
  state_ = I2cMasterState::kIdle;
  byte_index_ = 0;
  ticks_per_bit_ = 0;
  next_tick_ = 0;
  attached_ = false;
  suspended_ = false;
  ack_pending_skip_ = false;
  read_ = false;
  address_ = 0;
}

}  // namespace orvo
