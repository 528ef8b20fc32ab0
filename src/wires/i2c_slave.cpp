#include "wires/i2c_slave.h"

#include <iostream>
#include <utility>

namespace orvo {

I2cSlave::I2cSlave(Mcu* mcu, WireManager& wires) : base_(mcu, wires) {
  base_.WriteCallback([this](unsigned char address, unsigned char byte, int index) {
    return OnMasterWrite(address, byte, index);
  });
  base_.ReadCallback([this](unsigned char address, int index, unsigned char* byte) {
    return OnMasterRead(address, index, byte);
  });
  base_.StopWriteCallback([this] { EndTransfers(); });
  base_.StopReadCallback([this] { EndTransfers(); });
}

I2cSlave::~I2cSlave() { close(); }

void I2cSlave::SetSlaveAddress(unsigned char address, unsigned char mask) {
  base_.ClearAddresses();
  base_.AddAddress(address, mask);
}

bool I2cSlave::OnMasterWrite(unsigned char address, unsigned char byte, int index) {
  if (index == 0) {
    EndTransfers();
    read_stream_.Reset();
    master_write_.Start(read_stream_.alternation(), [this, address] {
      if (iI2cSlaveHandlerV1* handler = handler_) handler->OnMasterWrite(address, &read_stream_);
    });
  }
  return read_stream_.add_byte(byte);
}

bool I2cSlave::OnMasterRead(unsigned char address, int index, unsigned char* byte) {
  if (index == 0) {
    EndTransfers();
    write_stream_.Reset();
    master_read_.Start(write_stream_.alternation(), [this, address] {
      if (iI2cSlaveHandlerV1* handler = handler_) handler->OnMasterRead(address, &write_stream_);
    });
  }
  if (!write_stream_.get_bytes(byte)) {
    std::cerr << "Warning: I2C slave has no byte for the master, which reads 0xff\n";
    *byte = 0xff;
  }
  return true;
}

// Also at the first byte of a transfer: a repeated start ends the one before without a stop.
void I2cSlave::EndTransfers() {
  read_stream_.SetStop();
  write_stream_.SetNack();
  master_write_.Join();
  master_read_.Join();
}

void I2cSlave::close() {
  read_stream_.alternation().End();
  write_stream_.alternation().End();
  master_write_.Close();
  master_read_.Close();
}

void I2cSlave::Transfer::Start(Alternation& alternation, std::function<void()> call) {
  const std::lock_guard lock(mutex_);
  if (closed_) return alternation.Leave();
  thread_ = std::thread([this, &alternation, run = std::move(call)] {
    id_ = std::this_thread::get_id();
    run();
    id_ = std::thread::id();
    alternation.Leave();
  });
}

void I2cSlave::Transfer::Join() {
  if (id_.load() == std::this_thread::get_id()) return;
  const std::lock_guard lock(mutex_);
  if (thread_.joinable()) thread_.join();
}

void I2cSlave::Transfer::Close() {
  if (id_.load() == std::this_thread::get_id()) return;
  const std::lock_guard lock(mutex_);
  closed_ = true;
  if (thread_.joinable()) thread_.join();
}

}  // namespace orvo
