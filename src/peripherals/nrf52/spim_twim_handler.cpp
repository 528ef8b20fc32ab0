// What the personalities of the block share: which of them is on, and the interrupt.
#include "peripherals/nrf52/spim_twim_handler.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "mcu/mcu.h"
#include "runner/errors.h"

namespace orvo {

namespace {

using S = Nrf52SPIM_TWIM;

constexpr unsigned kModeMask = 15;  // ENABLE

// The events that INTENSET catches up on when they are enabled late. Deliberate: READY, TXDSENT,
// BB, WRITE and READ are not among them.
constexpr unsigned kPendingEventOffsets[] = {
    S::EVENTS_STOPPED, S::EVENTS_ENDRX,     S::EVENTS_END,       S::EVENTS_ENDTX,
    S::EVENTS_ERROR,   S::EVENTS_SUSPENDED, S::EVENTS_RXSTARTED, S::EVENTS_TXSTARTED,
    S::EVENTS_LASTRX,  S::EVENTS_LASTTX};

}  // namespace

const SpimTwimHandler::Direction SpimTwimHandler::kTransmit = {
    TXD_PTR, TXD_MAXCNT, TXD_AMOUNT, EVENTS_TXSTARTED, EVENTS_LASTTX, EVENTS_READ};
const SpimTwimHandler::Direction SpimTwimHandler::kReceive = {
    RXD_PTR, RXD_MAXCNT, RXD_AMOUNT, EVENTS_RXSTARTED, EVENTS_LASTRX, EVENTS_WRITE};

SpimTwimHandler::SpimTwimHandler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
                                 const InterruptMap& interrupts,
                                 const nlohmann::json& configuration)
    : Nrf52Handler(mcu, std::move(name), start, size_bytes, interrupts, configuration),
      twi_enable_(!configuration.is_object() || configuration.value("twiEnable", true)),
      spi_master_(mcu->GetWireManager()),
      i2c_master_(mcu, *mcu->GetWireManager()),
      i2c_slave_(mcu, *mcu->GetWireManager()) {
  RegisterI2cMasterCallbacks();
  RegisterI2cSlaveCallbacks();
  i2c_slave_.Disable();
}

SpimTwimHandler::~SpimTwimHandler() { mcu_->clock().DetachFromTick(this); }

void SpimTwimHandler::Reset(ResetType type) {
  mcu_->clock().DetachFromTick(this);
  state_ = {};
  i2c_master_.Reset();
  i2c_slave_.Disable();
  i2c_slave_.DisconnectSdaWire();
  i2c_slave_.ClearAddresses();
  PeripheralMemory::Reset(type);
}

// Deliberate: the word isn't stored, and reads as after a reset.
void SpimTwimHandler::set_ENABLE(unsigned, unsigned value) {
  state_.mode = static_cast<Mode>(value & kModeMask);
  switch (state_.mode) {
    case Mode::kSpi:
    case Mode::kSpim:
      SetSpiPins();
      i2c_slave_.Disable();
      break;
    case Mode::kSpis:
      throw OrvoError("SPIS Peripheral is currently unsupported");
    case Mode::kTwis:
      i2c_slave_.Enable();
      break;
    // Deliberate: a slave that was enabled stays on the bus.
    case Mode::kNone:
    case Mode::kTwi:
    case Mode::kTwim:
      break;
    default:
      state_.mode = Mode::kNone;
      i2c_slave_.Disable();
  }
}

void SpimTwimHandler::set_INTEN(unsigned, unsigned value) { StoreInterruptEnable(value); }

void SpimTwimHandler::set_INTENSET(unsigned offset, unsigned value) {
  Nrf52Handler::set_INTENSET(offset, value);
  RaiseIfPending(kPendingEventOffsets);
}

// Deliberate: any value stops, and SPI and SPIM, whose transfers are over, and TWIS only say so.
void SpimTwimHandler::set_TASKS_STOP(unsigned, unsigned value) {
  MemorySection::set(TASKS_STOP, value);
  switch (state_.mode) {
    case Mode::kTwi:
      SendStop();
      break;
    case Mode::kTwim:
      if (HasReachedTransferLength()) {
        SendStop();
      } else {
        state_.stop_requested = true;
      }
      break;
    default:
      MemorySection::set(EVENTS_STOPPED, kGenerated);
  }
}

void SpimTwimHandler::PrepareBuffer(const Direction& direction) {
  (direction.pointer == TXD_PTR ? state_.tx_ptr : state_.rx_ptr) =
      MemorySection::get(direction.pointer);
  state_.transfer_length = MemorySection::get(direction.max_count);
}

// SPI: READY. TWI: RXDREADY.
void SpimTwimHandler::set_EVENTS_READY(unsigned, unsigned value) {
  MemorySection::set(EVENTS_READY, value);
  if (value == kGenerated) RaiseIfEnabled(InterruptBit(EVENTS_READY));
}

void SpimTwimHandler::set_TXD(unsigned, unsigned value) {
  MemorySection::set(TXD, value);
  if (state_.mode == Mode::kSpi) {
    ExchangeByte(static_cast<unsigned char>(value));
  } else if (state_.mode == Mode::kTwi) {
    state_.txd_provided = true;
    i2c_master_.Resume();
  }
}

}  // namespace orvo
