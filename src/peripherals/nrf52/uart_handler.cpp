#include "peripherals/nrf52/uart_handler.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <utility>

#include "mcu/mcu.h"
#include "runner/errors.h"
#include "runner/text.h"

namespace orvo {

namespace {

constexpr char kInterruptName[] = "UARTE0_UART0";
constexpr unsigned kModeMask = 15;     // ENABLE
constexpr unsigned kPinMask = 63;      // PSEL_TXD, PSEL_RXD
constexpr unsigned kCountMask = 0xff;  // RXD_MAXCNT, TXD_MAXCNT
constexpr unsigned kBitsPerByte = 10;  // with start and stop bit
constexpr unsigned kBitsUntilRxto = 50;

constexpr unsigned kRxdrdy = InterruptBit(Nrf52UARTE::EVENTS_RXDRDY);
constexpr unsigned kEndRx = InterruptBit(Nrf52UARTE::EVENTS_ENDRX);
constexpr unsigned kTxdrdy = InterruptBit(Nrf52UARTE::EVENTS_TXDRDY);
constexpr unsigned kEndTx = InterruptBit(Nrf52UARTE::EVENTS_ENDTX);
constexpr unsigned kRxto = InterruptBit(Nrf52UARTE::EVENTS_RXTO);
constexpr unsigned kRxStarted = InterruptBit(Nrf52UARTE::EVENTS_RXSTARTED);
constexpr unsigned kTxStarted = InterruptBit(Nrf52UARTE::EVENTS_TXSTARTED);

// The events that INTENSET catches up on when they are enabled late. Deliberate: ENDRX, ENDTX,
// RXSTARTED and TXSTARTED are not among them.
constexpr unsigned kPendingEventOffsets[] = {Nrf52UARTE::EVENTS_CTS,    Nrf52UARTE::EVENTS_NCTS,
                                             Nrf52UARTE::EVENTS_RXDRDY, Nrf52UARTE::EVENTS_TXDRDY,
                                             Nrf52UARTE::EVENTS_ERROR,  Nrf52UARTE::EVENTS_RXTO};

struct BaudRow {
  unsigned register_value;
  unsigned bits_per_second;  // what the chip makes of it
};

// The values of BAUDRATE that the manual gives, and those that SDKs write.
// clang-format off
constexpr BaudRow kBaudTable[] = {
    {0x0004F000,   1205}, {0x0009D000,   2396}, {0x0013B000,   4808}, {0x00275000,   9598},
    {0x003B0000,  14414}, {0x003AF000,  14401}, {0x00EBF000,  57762}, {0x01D60000, 115108},
    {0x004EA000,  19208}, {0x0075C000,  28777}, {0x0075F000,  28829}, {0x009D5000,  38462},
    {0x009D0000,  38369}, {0x00EB0000,  57554}, {0x013A9000,  76923}, {0x0EBED000, 941176},
    {0x01D7E000, 115942}, {0x03AFB000, 231884}, {0x03B00000, 231884}, {0x04000000, 250000},
    {0x07400000, 457143}, {0x075F7000, 470588}, {0x0F000000, 941176}, {0x10000000, 1000000},
};
// clang-format on

// Bits per second, 0 for a value that isn't in the table.
unsigned BaudOf(unsigned register_value) {
  for (const BaudRow& row : kBaudTable) {
    if (row.register_value == register_value) return row.bits_per_second;
  }
  return 0;
}

}  // namespace

UartHandler::UartHandler(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes,
                         const InterruptMap& interrupts, const nlohmann::json& configuration)
    : Nrf52Handler(mcu, name, start, size_bytes, interrupts, configuration, kInterruptName),
      uart_(
          mcu, [this] { ByteReceived(); }, mcu->GetWireManager(), UartHandlerBase::kNoWire,
          UartHandlerBase::kNoWire, name) {}

UartHandler::~UartHandler() { DetachFromClock(); }

void UartHandler::DoCommand(const nlohmann::json& command) { uart_.WriteJsonMessage(command); }

// What has arrived and wasn't read stays: the FIFO, and the queue behind it. Events that waited for
// their tick are gone for good, and a reception that ran has to be started again.
void UartHandler::Reset(ResetType type) {
  DetachFromClock();
  rx_active_ = false;
  PeripheralMemory::Reset(type);
}

void UartHandler::DetachFromClock() {
  mcu_->clock().DetachFromTick(this);
  interrupt_armed_ = false;
  rxto_event_.Disarm();
  rxdrdy_event_.Disarm();
  rx_started_event_.Disarm();
  const std::lock_guard lock(rx_lock_);
  recv_callback_.Disarm();
}

void UartHandler::UartInnerClass::Arm(unsigned long tick) {
  if (armed_) return;
  uart_.mcu_->clock().AttachToTick(tick, this, false);
  armed_ = true;
}

void UartHandler::UartInnerClass::Disarm() {
  uart_.mcu_->clock().DetachFromTick(this);
  armed_ = false;
}

// --- Configuration -------------------------------------------------------------------------------

UartHandler::Mode UartHandler::GetUarteMode() {
  const unsigned mode = MemorySection::get(ENABLE) & kModeMask;
  switch (static_cast<Mode>(mode)) {
    case Mode::kDisabled:
    case Mode::kUart:
    case Mode::kUarte:
      return static_cast<Mode>(mode);
  }
  throw OrvoError("Invalid value for UART enable register: " + std::to_string(mode) +
                  " in UartHandler");
}

unsigned UartHandler::GetUartBaudrate() { return BaudOf(MemorySection::get(BAUDRATE)); }

unsigned long UartHandler::GetTicksPerBit() {
  const unsigned baud = GetUartBaudrate();
  return baud == 0 ? 0 : mcu_->clock().GetFrequency() / baud;
}

unsigned long UartHandler::GetTicksPerByte() { return kBitsPerByte * GetTicksPerBit(); }

void UartHandler::set_BAUDRATE(unsigned, unsigned value) {
  const unsigned baud = BaudOf(value);
  if (baud != 0) {
    uart_.SetBaudRate(baud);
  } else {
    std::cerr << "set_BAUDRATE: Invalid value for Uart buad rate: " << IntToHex(value) << std::endl;
  }
  MemorySection::set(BAUDRATE, value);
}

// Deliberate: the pin number is the wire number, whatever the board says, and the bit CONNECT is
// not looked at.
void UartHandler::set_PSEL_TXD(unsigned, unsigned value) {
  MemorySection::set(PSEL_TXD, value);
  uart_.setTXPin(value & kPinMask);
}

void UartHandler::set_PSEL_RXD(unsigned, unsigned value) {
  MemorySection::set(PSEL_RXD, value);
  uart_.setRXPin(value & kPinMask);
}

// --- Interrupts ----------------------------------------------------------------------------------

void UartHandler::RaiseInterruptAtNextTick() {
  if (interrupt_armed_) return;
  mcu_->clock().AttachToTick(mcu_->clock().TickCount(), this, false);
  interrupt_armed_ = true;
}

unsigned long UartHandler::OnTick(unsigned long) {
  interrupt_armed_ = false;
  RaiseInterrupt();
  return 0;
}

void UartHandler::set_INTEN(unsigned, unsigned value) { StoreInterruptEnable(value); }

void UartHandler::set_INTENSET(unsigned offset, unsigned value) {
  Nrf52Handler::set_INTENSET(offset, value);
  RaiseIfPending(kPendingEventOffsets);
}

void UartHandler::set_EVENTS_RXDRDY(unsigned, unsigned value) {
  MemorySection::set(EVENTS_RXDRDY, value);
  if (value == kGenerated && IsEnabled(kRxdrdy)) RaiseInterrupt();
}

// Deliberate: the firmware's write ends the reception, and a model's own store doesn't. Until the
// event is cleared TASKS_STARTRX is refused.
void UartHandler::set_EVENTS_ENDRX(unsigned, unsigned value) {
  MemorySection::set(EVENTS_ENDRX, value);
  rx_active_ = false;
}

// Deliberate: in this event and the next, clearing raises the interrupt too.
void UartHandler::set_EVENTS_RXTO(unsigned, unsigned value) {
  MemorySection::set(EVENTS_RXTO, value);
  if (IsEnabled(kRxto)) RaiseInterrupt();
}

void UartHandler::set_EVENTS_RXSTARTED(unsigned, unsigned value) {
  MemorySection::set(EVENTS_RXSTARTED, value);
  if (IsEnabled(kRxStarted)) RaiseInterrupt();
}

// --- Transmission --------------------------------------------------------------------------------

void UartHandler::set_TXD(unsigned, unsigned value) {
  uart_.UartSend(static_cast<unsigned char>(value), 1);
  MemorySection::set(EVENTS_TXDRDY, kGenerated);
  if (IsEnabled(kTxdrdy)) RaiseInterruptAtNextTick();
}

void UartHandler::set_TASKS_STARTTX(unsigned, unsigned) {
  MemorySection::set(EVENTS_TXSTARTED, kGenerated);
  bool interrupt = IsEnabled(kTxStarted);
  if (GetUarteMode() == Mode::kUarte) {
    const unsigned count = MemorySection::get(TXD_MAXCNT) & kCountMask;
    interrupt |= SendFromRam(MemorySection::get(TXD_PTR), count);
    MemorySection::set(TXD_AMOUNT, count);
    MemorySection::set(EVENTS_ENDTX, kGenerated);
    interrupt |= IsEnabled(kEndTx);
  }
  if (interrupt) RaiseInterrupt();
}

bool UartHandler::SendFromRam(unsigned address, unsigned count) {
  bool interrupt = false;
  uart_.HoldOutput();
  try {
    for (unsigned n = 0; n < count; ++n) {
      uart_.UartSend(mcu_->memory().getByte<false>(address + n), 1);
      MemorySection::set(EVENTS_TXDRDY, kGenerated);
      interrupt |= IsEnabled(kTxdrdy);
    }
  } catch (...) {
    uart_.ReleaseOutput();  // what was sent before is not lost
    throw;
  }
  uart_.ReleaseOutput();
  return interrupt;
}

void UartHandler::set_TASKS_STOPTX(unsigned, unsigned) {}

// --- Reception -----------------------------------------------------------------------------------

void UartHandler::set_TASKS_STARTRX(unsigned, unsigned) {
  if (rx_active_.exchange(true)) return;
  rx_amount_ = 0;
  MemorySection::set(RXD_AMOUNT, 0);
  rx_started_event_.Arm(mcu_->clock().TickCount());
  MoveDataFromUartBaseBuffer(true);
}

void UartHandler::set_TASKS_STOPRX(unsigned, unsigned) {
  rx_active_ = false;
  MemorySection::set(EVENTS_ENDRX, kGenerated);
  rxto_event_.Arm(mcu_->clock().TickCount() + kBitsUntilRxto * GetTicksPerBit());
}

void UartHandler::ByteReceived() {
  const std::lock_guard lock(rx_lock_);
  recv_callback_.Arm(mcu_->clock().TickCount());
}

void UartHandler::MoveDataFromUartBaseBuffer(bool force) {
  switch (GetUarteMode()) {
    case Mode::kUarte:
      MoveDataIfExistToRAM();
      break;
    case Mode::kUart:
      MoveDataToRXDBufferAndRaiseEvent(force || rxd_ring_.empty());
      break;
    case Mode::kDisabled:
      break;
  }
}

void UartHandler::MoveDataIfExistToRAM() {
  const unsigned address = MemorySection::get(RXD_PTR);
  const unsigned max = MemorySection::get(RXD_MAXCNT) & kCountMask;
  unsigned char byte = 0;
  while (rx_amount_ < max && !uart_.IsBufferEmpty() && uart_.GetByte(&byte)) {
    mcu_->memory().setByte<false>(address + rx_amount_, byte);
    ++rx_amount_;
    MemorySection::set(EVENTS_RXDRDY, kGenerated);
    MemorySection::set(RXD_AMOUNT, rx_amount_);
  }
  // Deliberate: a byte that arrives behind a full buffer ends the reception once more.
  if (rx_amount_ != max) return;
  MemorySection::set(RXD_AMOUNT, rx_amount_);
  MemorySection::set(EVENTS_ENDRX, kGenerated);
  if (IsEnabled(kEndRx)) RaiseInterruptAtNextTick();
}

void UartHandler::MoveDataToRXDBufferAndRaiseEvent(bool raise) {
  unsigned char byte = 0;
  while (!rxd_ring_.full() && !uart_.IsBufferEmpty() && uart_.GetByte(&byte)) rxd_ring_.Push(byte);
  if (raise && !rxd_ring_.empty()) RegisterRxdrdyEvent();
}

void UartHandler::RegisterRxdrdyEvent() {
  rxdrdy_event_.Arm(mcu_->clock().TickCount() + GetTicksPerByte());
}

unsigned UartHandler::get_RXD(unsigned) {
  if (rxd_ring_.empty()) {
    std::cerr << "Warning: Trying to read from an empty uart" << std::endl;
    return 0;
  }
  const unsigned byte = rxd_ring_.Pop();
  MoveDataToRXDBufferAndRaiseEvent(true);
  return byte;
}

void UartHandler::RxdRing::Push(unsigned char byte) {
  bytes_[(head_ + count_) % kSize] = byte;
  ++count_;
}

unsigned char UartHandler::RxdRing::Pop() {
  --count_;
  return bytes_[std::exchange(head_, (head_ + 1) % kSize)];
}

unsigned long UartHandler::RxStartedEvent::OnTick(unsigned long) {
  armed_ = false;
  uart_.set_EVENTS_RXSTARTED(EVENTS_RXSTARTED, kGenerated);
  return 0;
}

unsigned long UartHandler::RxdrdyEvent::OnTick(unsigned long) {
  uart_.set_EVENTS_RXDRDY(EVENTS_RXDRDY, kGenerated);
  armed_ = false;
  return 0;
}

unsigned long UartHandler::RxtoEvent::OnTick(unsigned long) {
  armed_ = false;
  // A reception that began meanwhile makes the time-out of the last one void.
  if (!uart_.rx_active_) uart_.set_EVENTS_RXTO(EVENTS_RXTO, kGenerated);
  return 0;
}

unsigned long UartHandler::RecvCallback::OnTick(unsigned long) {
  const std::lock_guard lock(uart_.rx_lock_);
  armed_ = false;
  uart_.MoveDataFromUartBaseBuffer(false);
  return 0;
}

}  // namespace orvo
