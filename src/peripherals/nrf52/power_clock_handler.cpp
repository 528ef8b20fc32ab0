#include "peripherals/nrf52/power_clock_handler.h"

#include <iterator>

#include "runner/errors.h"

namespace orvo {

namespace {

constexpr unsigned kRunning = 1u << 16;         // HFCLKSTAT.STATE, LFCLKSTAT.STATE
constexpr unsigned kSourceXtal = 1u << 0;       // HFCLKSTAT.SRC
constexpr unsigned kLfSourceMask = 3;           // LFCLKSTAT.SRC
constexpr unsigned kResetBySoftware = 1u << 2;  // RESETREAS.SREQ
constexpr unsigned kCtivUnitsPerSecond = 4;     // CTIV counts quarters of a second

}  // namespace

// Deliberate: a task is taken for any value, 0 too; only TASKS_CAL wants 1.

// --- High-frequency clock ------------------------------------------------------------------------

void PowerClockHandler::set_TASKS_HFCLKSTART(unsigned, unsigned) {
  MemorySection::set(HFCLKSTAT, get_hf_status() | kRunning);
  MemorySection::set(HFCLKRUN, 1);
  Generate(EVENTS_HFCLKSTARTED);
}

void PowerClockHandler::set_TASKS_HFCLKSTOP(unsigned, unsigned) {
  MemorySection::set(HFCLKRUN, 0);
  MemorySection::set(HFCLKSTAT, get_hf_status() & ~kRunning);
}

// --- Low-frequency clock -------------------------------------------------------------------------
// LFCLKSRC counts at the start only: writing it doesn't affect a clock that runs.

void PowerClockHandler::set_TASKS_LFCLKSTART(unsigned, unsigned) {
  const unsigned source = MemorySection::get(LFCLKSRC);
  MemorySection::set(LFCLKSTAT, (source & kLfSourceMask) | kRunning);
  MemorySection::set(LFCLKSRCCOPY, source);
  MemorySection::set(LFCLKRUN, 1);
  Generate(EVENTS_LFCLKSTARTED);
}

void PowerClockHandler::set_TASKS_LFCLKSTOP(unsigned, unsigned) {
  MemorySection::set(LFCLKSTAT, get_lf_status() & ~kRunning);
  MemorySection::set(LFCLKRUN, 0);
}

// --- Calibration ---------------------------------------------------------------------------------

void PowerClockHandler::set_TASKS_CAL(unsigned, unsigned value) {
  if (value != kTrigger) return;
  if ((get_hf_status() & kRunning) == 0) {
    throw OrvoError("Illegal attempt to CAL the LFCLK while HFCLK is not running");
  }
  Generate(EVENTS_DONE);
}

void PowerClockHandler::set_TASKS_CTSTART(unsigned, unsigned) {
  calibration_timer_running_ = true;
  Clock& clock = mcu_->clock();
  const unsigned long ticks_per_unit = clock.GetFrequency() / kCtivUnitsPerSecond;
  // A stopped timer is still attached until its old interval ends.
  clock.DetachFromTick(this);
  clock.AttachToTick(clock.TickCount() + ticks_per_unit * MemorySection::get(CTIV), this, false);
}

void PowerClockHandler::set_TASKS_CTSTOP(unsigned, unsigned) { calibration_timer_running_ = false; }

unsigned long PowerClockHandler::OnTick(unsigned long) {
  if (!calibration_timer_running_) return 0;
  set_EVENTS_CTTO(EVENTS_CTTO, kGenerated);
  RaiseIfEnabled(InterruptBit(EVENTS_CTTO));
  calibration_timer_running_ = false;
  return 0;
}

// --- Power and interrupts ------------------------------------------------------------------------

void PowerClockHandler::set_TASKS_LOWPWR(unsigned, unsigned) {}

void PowerClockHandler::set_INTENSET(unsigned offset, unsigned value) {
  // Deliberate: from bit 2 on the bits stand one place below those that the events raise with
  // (DONE is 3, CTTO is 4), and a CTTO that waits for its own bit is not caught up on.
  static constexpr unsigned kPendingEvents[] = {EVENTS_HFCLKSTARTED, EVENTS_LFCLKSTARTED,
                                                EVENTS_DONE, EVENTS_CTTO};
  Nrf52Handler::set_INTENSET(offset, value);
  for (unsigned bit = 0; bit < std::size(kPendingEvents); ++bit) {
    if (IsEnabled(1u << bit) && MemorySection::get(kPendingEvents[bit]) != 0) {
      RaiseInterrupt();
      return;
    }
  }
}

// Deliberate: the crystal runs after every reset, without a start, and a software reset clears
// GPREGRET too.
void PowerClockHandler::Reset(ResetType type) {
  PeripheralMemory::Reset(type);
  MemorySection::set(HFCLKSTAT, kRunning | kSourceXtal);
  mcu_->clock().DetachFromTick(this);
  if (type == kSoftwareReset) MemorySection::set(RESETREAS, kResetBySoftware);
}

}  // namespace orvo
