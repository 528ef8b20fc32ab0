// TWI, byte by byte through TXD and RXD, and TWIM with EasyDMA.
// Source: nRF52832 Product Specification, TWI and TWIM. The state machine of the bus is
// I2cMasterLogiclevel's; here stand its answers, in the order in which they act.
#include <string>

#include "mcu/mcu.h"
#include "peripherals/nrf52/spim_twim_handler.h"
#include "runner/errors.h"

namespace orvo {

namespace {

constexpr unsigned kDisconnected = 1u << 31;  // PSEL
constexpr unsigned kPinMask = 31;

// SHORTS
constexpr unsigned kBbSuspend = 1u << 0, kBbStop = 1u << 1;
constexpr unsigned kLastTxStartRx = 1u << 7, kLastTxSuspend = 1u << 8, kLastTxStop = 1u << 9;
constexpr unsigned kLastRxStartTx = 1u << 10, kLastRxStop = 1u << 12;

// ERRORSRC
constexpr unsigned kAddressNack = 2, kDataNack = 4;

// Bits per second. Deliberate: 400 kbit/s is the value of TWI, for TWIM too.
unsigned long GetFrequency(unsigned register_value) {
  switch (register_value) {
    case 0x01980000:
      return 100'000;
    case 0x04000000:
      return 250'000;
    case 0x06680000:
      return 400'000;
    default:
      throw OrvoError("Illegal frequency value: " + std::to_string(register_value) +
                      " in SpimTwimHandler::GetFrequency");
  }
}

}  // namespace

void SpimTwimHandler::RegisterI2cMasterCallbacks() {
  i2c_master_.ErrorCallback([this](bool address_of_write) { ReportError(address_of_write); });
  i2c_master_.GetNextByteCallback([this](unsigned index) { return NextByte(index); });
  i2c_master_.ByteSentCallback([this](unsigned index) { return OnByteSent(index); });
  i2c_master_.AfterAckOnRxCallback([this] { OnBeforeByte(); });
  i2c_master_.SuspendedResumeCallback([this] { OnBeforeByte(); });
  i2c_master_.ByteReceivedCallback([this](unsigned index, unsigned char byte, unsigned amount) {
    return OnByteReceived(index, byte, amount);
  });
  i2c_master_.StartRXCallback([this] { OnStart(kReceive, &state_.start_rx_pending); });
  i2c_master_.StartTXCallback([this] { OnStart(kTransmit, &state_.start_tx_pending); });
  i2c_master_.AckOrNackSentCallback([this](bool ack) { OnAckOrNackSent(ack); });
}

// --- Start ---------------------------------------------------------------------------------------

bool SpimTwimHandler::TakesStart(unsigned value) {
  if (value != kTrigger || !twi_enable_ || !IsTwiMaster()) return false;
  if ((MemorySection::get(PSEL_SDA) & kDisconnected) == 0) return true;
  throw OrvoError(
      "Illegal call to STAR RX/TX while pin is disconnected (bit 31 in register twi0 pselsda)");
}

void SpimTwimHandler::set_TASKS_STARTTX(unsigned, unsigned value) {
  if (!TakesStart(value)) return;
  if (!HasReachedTransferLength()) {
    state_.start_tx_pending = true;
    return;
  }
  i2c_master_.StartTX(Address(), SdaWire(), TicksPerBit());
}

void SpimTwimHandler::set_TASKS_STARTRX(unsigned, unsigned value) {
  if (!TakesStart(value)) return;
  if (state_.mode == Mode::kTwim && !HasReachedTransferLength()) {
    state_.start_rx_pending = true;
    return;
  }
  i2c_master_.StartRX(Address(), SdaWire(), TicksPerBit());
}

// Deliberate: the wire of the pin's number, whatever the board says.
unsigned SpimTwimHandler::SdaWire() { return MemorySection::get(PSEL_SDA) & kPinMask; }

unsigned SpimTwimHandler::TicksPerBit() {
  const unsigned long bits_per_second = GetFrequency(MemorySection::get(FREQUENCY));
  return static_cast<unsigned>(mcu_->clock().GetFrequency() / bits_per_second);
}

void SpimTwimHandler::OnStart(const Direction& direction, bool* pending) {
  *pending = false;
  if (state_.mode == Mode::kTwi) {
    state_.stop_requested = false;
    state_.transfer_length = 0;
  } else {
    PrepareBuffer(direction);
    if (state_.transfer_length == 1) this->set(direction.last, kGenerated);
  }
  Generate(direction.started);
}

// --- Write ---------------------------------------------------------------------------------------

// Deliberate: nothing ends a transfer at its buffer's end but a stop or a start.
unsigned char SpimTwimHandler::NextByte(unsigned index) {
  if (state_.mode != Mode::kTwi) return mcu_->memory().getByte<false>(state_.tx_ptr + index);
  if (!state_.txd_provided) {
    throw OrvoError("TXD was not provided in SpimTwimHandler::GetNextByteCallback");
  }
  state_.txd_provided = false;
  return static_cast<unsigned char>(MemorySection::get(TXD));
}

// Deliberate: TXD_AMOUNT is 1 whatever was sent.
bool SpimTwimHandler::OnByteSent(unsigned index) {
  if (state_.mode == Mode::kTwi) {
    set_EVENTS_TXDSENT(EVENTS_TXDSENT, kGenerated);
    return false;
  }
  MemorySection::set(TXD_AMOUNT, 1);
  if (index + 1 == state_.transfer_length) set_EVENTS_LASTTX(EVENTS_LASTTX, kGenerated);
  if (index != state_.transfer_length) return false;
  if (state_.stop_requested) SendStop();
  if (state_.suspend_requested) SuspendConnection();
  if (state_.start_rx_pending) set_TASKS_STARTRX(TASKS_STARTRX, kTrigger);
  return true;
}

void SpimTwimHandler::set_EVENTS_TXDSENT(unsigned, unsigned value) {
  MemorySection::set(EVENTS_TXDSENT, value);
  if (value == kGenerated) RaiseIfEnabled(InterruptBit(EVENTS_TXDSENT));
}

void SpimTwimHandler::set_EVENTS_LASTTX(unsigned, unsigned value) {
  MemorySection::set(EVENTS_LASTTX, value);
  if (value == 0) return;
  const unsigned shorts = MemorySection::get(SHORTS);
  if ((shorts & kLastTxStartRx) != 0) this->set(TASKS_STARTRX, kTrigger);
  if ((shorts & kLastTxSuspend) != 0) this->set(TASKS_SUSPEND, kTrigger);
  if ((shorts & kLastTxStop) != 0) this->set(TASKS_STOP, kTrigger);
  RaiseIfEnabled(InterruptBit(EVENTS_LASTTX));
}

// --- Read ----------------------------------------------------------------------------------------

// `index` counts from 0; `amount` is that of the bytes so far. The answer is whether to
// acknowledge. Deliberate: with a start waiting the last byte too is acknowledged.
bool SpimTwimHandler::OnByteReceived(unsigned index, unsigned char byte, unsigned amount) {
  if (state_.mode == Mode::kTwi) {
    MemorySection::set(RXD, byte);
    set_EVENTS_READY(EVENTS_READY, kGenerated);
    return !state_.stop_requested;
  }
  mcu_->memory().setByte<false>(state_.rx_ptr + index, byte);
  MemorySection::set(RXD_AMOUNT, amount);
  if (amount + 1 == state_.transfer_length) set_EVENTS_LASTRX(EVENTS_LASTRX, kGenerated);
  if (index + 1 < state_.transfer_length) return true;
  return state_.suspend_requested || state_.start_tx_pending;
}

void SpimTwimHandler::OnAckOrNackSent(bool ack) {
  if (state_.mode == Mode::kTwi) {
    if (state_.stop_requested && !ack) SendStop();
    return;
  }
  if (i2c_master_.GetByteIndex() != state_.transfer_length) return;
  if (state_.suspend_requested) {
    SuspendConnection();
  } else if (state_.start_tx_pending) {
    set_TASKS_STARTTX(TASKS_STARTTX, kTrigger);
  } else if (state_.stop_requested) {
    SendStop();
  } else {
    throw OrvoError("Incorrect state in OnAckOrNAckSent, STOP should have been dispatched");
  }
}

void SpimTwimHandler::set_EVENTS_LASTRX(unsigned, unsigned value) {
  MemorySection::set(EVENTS_LASTRX, value);
  if (value == 0) return;
  const unsigned shorts = MemorySection::get(SHORTS);
  if ((shorts & kLastRxStartTx) != 0) this->set(TASKS_STARTTX, kTrigger);
  if ((shorts & kLastRxStop) != 0) this->set(TASKS_STOP, kTrigger);
  RaiseIfEnabled(InterruptBit(EVENTS_LASTRX));
}

// --- Both ----------------------------------------------------------------------------------------

// TWI's byte boundary. Here transfer_length runs one ahead of the bytes on the bus, so that SUSPEND
// and STARTTX wait.
void SpimTwimHandler::OnBeforeByte() {
  if (state_.mode != Mode::kTwi) return;
  ++state_.transfer_length;
  set_EVENTS_BB(EVENTS_BB, kGenerated);
}

void SpimTwimHandler::set_EVENTS_BB(unsigned, unsigned value) {
  MemorySection::set(EVENTS_BB, value);
  if (value == 0) return;
  const unsigned shorts = MemorySection::get(SHORTS);
  if ((shorts & kBbSuspend) != 0) this->set(TASKS_SUSPEND, kTrigger);
  if ((shorts & kBbStop) != 0) state_.stop_requested = true;
  RaiseIfEnabled(InterruptBit(EVENTS_BB));
}

// The master tells whether it was the address of a write that found nobody.
// Deliberate: that is reported as a refused byte, and a refused byte, or the address of a read, as
// a refused address.
void SpimTwimHandler::ReportError(bool address_of_write) {
  MemorySection::set(ERRORSRC, address_of_write ? kDataNack : kAddressNack);
  Generate(EVENTS_ERROR);
}

// Drivers read the register after each transfer and write back what they read.
void SpimTwimHandler::set_ERRORSRC(unsigned, unsigned value) {
  MemorySection::set(ERRORSRC, MemorySection::get(ERRORSRC) & ~value);
}

void SpimTwimHandler::SendStop() {
  state_.stop_requested = false;
  i2c_master_.Stop();
  state_.transfer_length = 0;
  Generate(EVENTS_STOPPED);
}

void SpimTwimHandler::set_TASKS_SUSPEND(unsigned, unsigned value) {
  if (value != kTrigger || !IsTwiMaster()) return;
  if (HasReachedTransferLength()) {
    SuspendConnection();
  } else {
    state_.suspend_requested = true;
  }
}

void SpimTwimHandler::SuspendConnection() {
  state_.suspend_requested = false;
  i2c_master_.Suspend();
  Generate(EVENTS_SUSPENDED);
}

void SpimTwimHandler::set_TASKS_RESUME(unsigned, unsigned value) {
  if (value != kTrigger) return;
  MemorySection::set(TASKS_RESUME, value);
  i2c_master_.Resume();
}

}  // namespace orvo
