#include "wires/i2c_master_high_level.h"

#include <utility>

#include "mcu/mcu.h"
#include "runner/errors.h"

namespace orvo {

I2cMasterHighLevel::I2cMasterHighLevel(Mcu* mcu, WireManager& wires)
    : mcu_(mcu), master_(mcu, wires) {
  RegisterI2cMasterCallbacks();
}

void I2cMasterHighLevel::RegisterI2cMasterCallbacks() {
  master_.GetNextByteCallback([this](unsigned index) { return buffer_.at(index); });
  master_.ByteSentCallback([this](unsigned bytes_sent) { return EndOfWrite(bytes_sent); });
  // The last byte is refused, by which the slave knows that the read is over.
  master_.ByteReceivedCallback([this](unsigned index, unsigned char byte, unsigned) {
    buffer_.push_back(byte);
    return index + 1 < bytes_to_read_;
  });
  master_.AckOrNackSentCallback([this](bool ack) {
    if (!ack) StopRX();
  });
}

void I2cMasterHighLevel::Write(unsigned char address, unsigned sda_wire,
                               std::vector<unsigned char> data) {
  CheckCanStart(static_cast<unsigned>(data.size()));
  buffer_ = std::move(data);
  master_.StartTX(address, sda_wire, GetTicksPerBit());
}

void I2cMasterHighLevel::Read(unsigned char address, unsigned sda_wire, unsigned count) {
  CheckCanStart(count);
  bytes_to_read_ = count;
  buffer_.clear();
  master_.StartRX(address, sda_wire, GetTicksPerBit());
}

void I2cMasterHighLevel::WriteRead(unsigned char address, unsigned sda_wire,
                                   std::vector<unsigned char> data, unsigned count) {
  CheckCanStart(count);
  Write(address, sda_wire, std::move(data));
  write_read_ = true;
  address_ = address;
  sda_wire_ = sda_wire;
  bytes_to_read_ = count;
}

void I2cMasterHighLevel::CheckCanStart(unsigned bytes) const {
  if (!master_.IsIdle())
    throw UserError("I2C master: a transfer is still under way: " + master_.StateName());
  if (bytes == 0) throw UserError("I2C master: a transfer needs at least one byte");
}

bool I2cMasterHighLevel::EndOfWrite(unsigned bytes_sent) {
  if (bytes_sent < buffer_.size()) return false;
  buffer_.clear();
  if (write_read_) {
    master_.StartRX(address_, sda_wire_, GetTicksPerBit());
  } else {
    master_.Stop();
    if (write_finished_) write_finished_();
  }
  return true;
}

void I2cMasterHighLevel::StopRX() {
  if (read_finished_) read_finished_(std::vector<unsigned char>(buffer_));
  master_.Stop();
  bytes_to_read_ = 0;
  write_read_ = false;
  buffer_.clear();
}

unsigned I2cMasterHighLevel::GetTicksPerBit() const {
  if (frequency_hz_ == 0) {
    throw UserError(
        "I2C master frequency is not defined, In order to set the frequency use 'set_frequency'");
  }
  const unsigned long clock_hz = mcu_->clock().GetFrequency();
  if (frequency_hz_ > clock_hz) {
    throw UserError("I2C master frequency of " + std::to_string(frequency_hz_) +
                    " Hz is above the main clock's " + std::to_string(clock_hz) + " Hz");
  }
  return static_cast<unsigned>(clock_hz / frequency_hz_);
}

}  // namespace orvo
