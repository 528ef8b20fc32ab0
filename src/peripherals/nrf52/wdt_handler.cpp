#include "peripherals/nrf52/wdt_handler.h"

#include "runner/errors.h"
#include "time/virtual_time.h"

namespace orvo {

namespace {

// One 32768 Hz cycle in ticks of a 64 MHz main clock, which the watchdog assumes: 1953.125.
constexpr double kTicksPerLfCycle = 64'000'000.0 / 32'768.0;
constexpr double kTicksBeforeReset = 2 * kTicksPerLfCycle;

constexpr unsigned kReload = 0x6E524635;   // RR
constexpr unsigned kRrenMask = 0xff;       // RREN, REQSTATUS
constexpr unsigned kRunInSleep = 1u << 0;  // CONFIG.SLEEP

}  // namespace

// Deliberate: the cycles are counted in 32 bits, so that the CRV of reset ends at the next tick.
void WDTHandler::AddToTick() {
  const unsigned cycles = MemorySection::get(CRV) + 1;
  Clock& clock = mcu_->clock();
  clock.AttachToTick(clock.TickCount() + TruncateToTicks(cycles * kTicksPerLfCycle), this, false);
  running_ = true;
  MemorySection::set(RUNSTATUS, 1);
}

// Deliberate: any value but 0 starts.
void WDTHandler::set_TASKS_START(unsigned, unsigned value) {
  if (value != 0 && !running_) AddToTick();
}

// Deliberate: one enabled register reloads alone, REQSTATUS doesn't show it, and a watchdog that
// was not started starts.
void WDTHandler::set_RR(unsigned offset, unsigned channel, unsigned value) {
  if (value != kReload) return;
  MemorySection::set(offset, value);
  if ((MemorySection::get(RREN) >> channel & 1u) == 0) return;
  mcu_->clock().DetachFromTick(this);
  AddToTick();
}

// Deliberate: the interrupt comes once until the chip is reset. A reload in the two cycles behind
// it begins a new period, which ends without one.
unsigned long WDTHandler::OnTick(unsigned long tick) {
  MemorySection::set(EVENTS_TIMEOUT, kGenerated);
  if (IsEnabled(InterruptBit(EVENTS_TIMEOUT)) && !timeout_interrupt_sent_) {
    timeout_interrupt_sent_ = true;
    RaiseInterrupt();
    return TruncateToTicks(static_cast<double>(tick) + kTicksBeforeReset);
  }
  mcu_->interrupts().RaiseInterrupt(kReset, true);
  running_ = false;
  MemorySection::set(EVENTS_TIMEOUT, 0);
  return 0;
}

// --- Registers -----------------------------------------------------------------------------------
// CRV, RREN and CONFIG are locked while the watchdog runs.

void WDTHandler::set_CRV(unsigned, unsigned value) {
  if (!running_) MemorySection::set(CRV, value);
}

void WDTHandler::set_RREN(unsigned, unsigned value) {
  if (running_) return;
  MemorySection::set(RREN, value & kRrenMask);
  MemorySection::set(REQSTATUS, value & kRrenMask);
}

void WDTHandler::set_CONFIG(unsigned, unsigned value) {
  if (running_) return;
  MemorySection::set(CONFIG, value);
  if ((value & kRunInSleep) == 0) {
    throw OrvoError("WDTHandler::set_CONFIG unsupported Pause configuration");
  }
}

void WDTHandler::set_INTENSET(unsigned offset, unsigned value) {
  static constexpr unsigned kEvents[] = {EVENTS_TIMEOUT};
  Nrf52Handler::set_INTENSET(offset, value);
  RaiseIfPending(kEvents);
}

void WDTHandler::Reset(ResetType type) {
  mcu_->clock().DetachFromTick(this);
  running_ = false;
  timeout_interrupt_sent_ = false;
  PeripheralMemory::Reset(type);
}

}  // namespace orvo
