// SPI with its double buffer, and SPIM with EasyDMA. Source: nRF52832 Product Specification, SPI
// and SPIM. An exchange is over when the store into TXD or TASKS_START is.
#include <algorithm>
#include <string>
#include <vector>

#include "mcu/mcu.h"
#include "peripherals/nrf52/spim_twim_handler.h"
#include "runner/errors.h"

namespace orvo {

namespace {

constexpr unsigned kPinMask = 31;       // PSEL
constexpr unsigned kMaxCount = 0xffff;  // MAXCNT of the nRF52840; the nRF52832 has 8 bits
constexpr unsigned kBitsPerByte = 8;
constexpr int kDoubleBuffered = 2;  // bytes in flight
constexpr int kResetFrequencyHz = 250'000;
// END, ENDRX and ENDTX. Deliberate: STOPPED and STARTED, which no transfer generates, let one
// interrupt too.
constexpr unsigned kTransferInterrupts = 0x80152;

struct FrequencyRow {
  unsigned register_value;
  int hertz;
};
constexpr FrequencyRow kFrequencies[] = {
    {0x02000000, 125'000},   {0x04000000, 250'000},   {0x08000000, 500'000},
    {0x10000000, 1'000'000}, {0x20000000, 2'000'000}, {0x40000000, 4'000'000},
    {0x80000000, 8'000'000},
};

}  // namespace

// Deliberate: pins count by their low five bits, also those that are disconnected.
void SpimTwimHandler::SetSpiPins() {
  spi_master_.SetMisoPin(MemorySection::get(PSEL_MISO) & kPinMask);
  spi_master_.SetSclkPin(MemorySection::get(PSEL_SCL) & kPinMask);
  spi_master_.SetMosiPin(MemorySection::get(PSEL_SDA) & kPinMask);
}

// CONFIG: CPOL << 2 | CPHA << 1 | ORDER. Deliberate: the word isn't stored.
void SpimTwimHandler::set_CONFIG(unsigned, unsigned value) {
  spi_master_.SetSpiMode(1 << (value >> 1 & 3));
  spi_master_.SetBitOrder(static_cast<BitOrder>(value & 1));
}

// Deliberate: a value that the table doesn't have leaves the bus as it was.
void SpimTwimHandler::set_FREQUENCY(unsigned, unsigned value) {
  MemorySection::set(FREQUENCY, value);
  for (const FrequencyRow& row : kFrequencies) {
    if (row.register_value == value) spi_master_.SetFrequency(row.hertz);
  }
}

// --- SPIM ----------------------------------------------------------------------------------------

// Deliberate: any value starts, and both AMOUNT registers take the larger count.
void SpimTwimHandler::set_TASKS_START(unsigned, unsigned value) {
  if (state_.mode != Mode::kSpim) return;
  MemorySection::set(TASKS_START, value);
  const unsigned tx_address = MemorySection::get(TXD_PTR);
  const unsigned rx_address = MemorySection::get(RXD_PTR);
  const unsigned tx_count = MemorySection::get(TXD_MAXCNT);
  const unsigned rx_count = MemorySection::get(RXD_MAXCNT);
  const unsigned count = std::max(tx_count, rx_count);
  if (count > kMaxCount) {
    throw OrvoError("SpimTwimHandler: MAXCNT of " + std::to_string(count) + " in " + name() +
                    ", at most " + std::to_string(kMaxCount));
  }

  std::vector<unsigned char> bytes(count, static_cast<unsigned char>(MemorySection::get(ORC)));
  for (unsigned n = 0; n < tx_count; ++n) {
    bytes[n] = mcu_->memory().getByte<false>(tx_address + n);
  }
  const std::vector<unsigned char> answer = spi_master_.SendData(bytes);
  // Of a slave that isn't selected the answer may be that of a shorter transfer.
  for (unsigned n = 0; n < rx_count && n < answer.size(); ++n) {
    mcu_->memory().setByte<false>(rx_address + n, answer[n]);
  }

  MemorySection::set(TXD_AMOUNT, count);
  MemorySection::set(EVENTS_ENDTX, kGenerated);
  MemorySection::set(EVENTS_END, kGenerated);
  MemorySection::set(RXD_AMOUNT, count);
  MemorySection::set(EVENTS_ENDRX, kGenerated);
  RaiseIfEnabled(kTransferInterrupts);
}

// --- SPI -----------------------------------------------------------------------------------------

// The first byte's answer stands in RXD, the second's behind it. READY follows a byte after its
// time on the bus; the second waits for a read of RXD.
// Deliberate: a third byte before that read pushes the first answer out.
void SpimTwimHandler::ExchangeByte(unsigned char byte) {
  std::vector<unsigned char> bytes{byte};
  const std::vector<unsigned char> answer = spi_master_.SendData(bytes);
  const unsigned char received = answer.empty() ? 0 : answer.front();
  switch (state_.spi_bytes_in_flight) {
    case 0:
      MemorySection::set(RXD, received);
      state_.spi_bytes_in_flight = 1;
      if (state_.ready_armed) return;
      state_.ready_armed = true;
      mcu_->clock().AttachToTick(mcu_->clock().TickCount() + ReadyDelayTicks(), this, false);
      return;
    case 1:
      state_.spi_bytes_in_flight = kDoubleBuffered;
      state_.spi_pending_rx = received;
      return;
    default:
      MemorySection::set(RXD, state_.spi_pending_rx);
      state_.spi_pending_rx = received;
  }
}

unsigned long SpimTwimHandler::ReadyDelayTicks() const {
  int frequency_hz = spi_master_.GetFrequency();
  if (frequency_hz == 0) frequency_hz = kResetFrequencyHz;  // FREQUENCY was never written
  return mcu_->clock().GetFrequency() * kBitsPerByte / frequency_hz;
}

unsigned long SpimTwimHandler::OnTick(unsigned long) {
  state_.ready_armed = false;
  set_EVENTS_READY(EVENTS_READY, kGenerated);
  return 0;
}

// Deliberate: READY comes with each read, also when no byte follows.
unsigned SpimTwimHandler::get_RXD(unsigned) {
  const unsigned value = MemorySection::get(RXD);
  if (state_.mode != Mode::kSpi || state_.spi_bytes_in_flight == 0) return value;
  MemorySection::set(RXD, state_.spi_pending_rx);
  --state_.spi_bytes_in_flight;
  set_EVENTS_READY(EVENTS_READY, kGenerated);
  return value;
}

}  // namespace orvo
