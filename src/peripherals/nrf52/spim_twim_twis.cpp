// TWIS: the block as a slave on the bus of another master.
// Source: nRF52832 Product Specification, TWIS.
#include <iostream>
#include <string>

#include "mcu/mcu.h"
#include "peripherals/nrf52/spim_twim_handler.h"
#include "runner/errors.h"
#include "runner/text.h"
#include "wires/wire_manager.h"

namespace orvo {

namespace {

constexpr unsigned kDisconnected = 1u << 31;  // PSEL
constexpr unsigned kPinMask = 31;
constexpr unsigned kAddressEnabled = 1, kAddress1Enabled = 2;  // CONFIG_TWIS
constexpr unsigned char kWholeAddress = 127;
// Deliberate: the RAM of the nRF52832, on the nRF52840 too.
constexpr unsigned kRamStart = 0x20000000, kRamEnd = 0x20010000;

}  // namespace

// --- Pin and addresses ---------------------------------------------------------------------------

void SpimTwimHandler::set_PSEL_SDA(unsigned, unsigned value) {
  if ((value & kDisconnected) == 0) {
    const std::string pin = "P0_" + std::to_string(value & kPinMask);
    i2c_slave_.SetSdaWire(mcu_->GetWireManager()->Pin2Wire(pin));
  } else {
    i2c_slave_.DisconnectSdaWire();
  }
  MemorySection::set(PSEL_SDA, value);
}

void SpimTwimHandler::SwitchAddress(unsigned address, bool on) {
  const auto byte = static_cast<unsigned char>(address);
  if (on) {
    i2c_slave_.AddAddressIfNotExist(byte, kWholeAddress);
  } else {
    i2c_slave_.RemoveAddress(byte, kWholeAddress);
  }
}

void SpimTwimHandler::set_CONFIG_TWIS(unsigned, unsigned value) {
  SwitchAddress(MemorySection::get(ADDRESS), (value & kAddressEnabled) != 0);
  SwitchAddress(MemorySection::get(ADDRESS1), (value & kAddress1Enabled) != 0);
  MemorySection::set(CONFIG_TWIS, value);
}

void SpimTwimHandler::set_ADDRESS(unsigned, unsigned value) {
  if ((MemorySection::get(CONFIG_TWIS) & kAddressEnabled) != 0) {
    SwitchAddress(MemorySection::get(ADDRESS), false);
    SwitchAddress(value, true);
  }
  MemorySection::set(ADDRESS, value);
}

void SpimTwimHandler::set_ADDRESS1(unsigned, unsigned value) {
  if ((MemorySection::get(CONFIG_TWIS) & kAddress1Enabled) != 0) {
    SwitchAddress(MemorySection::get(ADDRESS1), false);
    SwitchAddress(value, true);
  }
  MemorySection::set(ADDRESS1, value);
}

// Throws OrvoError for an address that is neither.
void SpimTwimHandler::MatchAddress(unsigned address) {
  if (address == MemorySection::get(ADDRESS)) {
    MemorySection::set(MATCH, 0);
  } else if (address == MemorySection::get(ADDRESS1)) {
    MemorySection::set(MATCH, 1);
  } else {
    throw OrvoError("SpimTwimHandler:: Address in not matched");
  }
}

// --- Transfers -----------------------------------------------------------------------------------

// The start of a transfer takes the buffer again.
void SpimTwimHandler::set_TASKS_PREPARERX(unsigned, unsigned value) {
  if (value != 0) PrepareBuffer(kReceive);
}

void SpimTwimHandler::set_TASKS_PREPARETX(unsigned, unsigned value) {
  if (value != 0) PrepareBuffer(kTransmit);
}

void SpimTwimHandler::RegisterI2cSlaveCallbacks() {
  i2c_slave_.ReadCallback([this](unsigned char address, int index, unsigned char* byte) {
    return OnMasterRead(address, static_cast<unsigned>(index), byte);
  });
  i2c_slave_.WriteCallback([this](unsigned char address, unsigned char byte, int index) {
    return OnMasterWrite(address, byte, static_cast<unsigned>(index));
  });
  i2c_slave_.StopReadCallback([this] { Generate(EVENTS_STOPPED); });
  i2c_slave_.StopWriteCallback([this] { Generate(EVENTS_STOPPED); });
  i2c_slave_.StartWriteCallback([this] { OnStartSlave(kReceive); });
  i2c_slave_.StartReadCallback([this] { OnStartSlave(kTransmit); });
}

void SpimTwimHandler::OnStartSlave(const Direction& direction) {
  MemorySection::set(direction.started, kGenerated);
  MemorySection::set(direction.request, kGenerated);
  RaiseIfEnabled(InterruptBit(direction.started) | InterruptBit(direction.request));
  MemorySection::set(direction.amount, 0);
  PrepareBuffer(direction);
}

void SpimTwimHandler::CheckMasterAccess(unsigned char address, unsigned pointer,
                                        const char* operation, const char* pointer_name) {
  if (state_.mode != Mode::kTwis) {
    throw OrvoError("SpimTwimHandler::" + std::string(operation) +
                    " is called when twis is disableD");
  }
  MatchAddress(address);
  if (pointer < kRamStart || pointer > kRamEnd) {
    std::cerr << "Warning: SpimTwimHandler::" << pointer_name
              << " points to area which is not RAM: " << IntToHex(pointer) << std::endl;
  }
}

// Deliberate: a buffer takes one byte more than it has before the next is refused.
bool SpimTwimHandler::OnMasterWrite(unsigned char address, unsigned char byte, unsigned index) {
  CheckMasterAccess(address, state_.rx_ptr, "OnMasterWrite", "rxd_ptr");
  MemorySection::set(EVENTS_RXSTARTED, kGenerated);
  const unsigned amount = MemorySection::get(RXD_AMOUNT);
  if (amount > state_.transfer_length) {
    Generate(EVENTS_ERROR);
    return false;
  }
  mcu_->memory().setByte<false>(state_.rx_ptr + index, byte);
  MemorySection::set(RXD_AMOUNT, amount + 1);
  return true;
}

// Deliberate: behind the buffer the master reads what the bus makes of no byte, and ORC takes the
// byte of memory that stands there.
bool SpimTwimHandler::OnMasterRead(unsigned char address, unsigned index, unsigned char* byte) {
  CheckMasterAccess(address, state_.tx_ptr, "OnMasterRead", "txd_ptr");
  MemorySection::set(EVENTS_TXSTARTED, kGenerated);
  const unsigned char read = mcu_->memory().getByte<false>(state_.tx_ptr + index);
  if (index >= state_.transfer_length) {
    MemorySection::set(ORC, read);
    Generate(EVENTS_ERROR);
    return true;
  }
  *byte = read;
  MemorySection::set(TXD_AMOUNT, MemorySection::get(TXD_AMOUNT) + 1);
  return true;
}

}  // namespace orvo
