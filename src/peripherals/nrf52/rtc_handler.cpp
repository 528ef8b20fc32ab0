#include "peripherals/nrf52/rtc_handler.h"

#include <spdlog/spdlog.h>

#include <algorithm>

#include "peripherals/nrf52/power_clock_handler.h"

namespace orvo {

namespace {

constexpr unsigned kLfClockHz = 32'768;
constexpr unsigned kLfClockRuns = 1u << 16;  // LFCLKSTAT.STATE
constexpr unsigned kChannels = 4;
constexpr unsigned kPrescalerMask = 0xfff;
constexpr unsigned kCounterMask = 0xffffff;  // CC

}  // namespace

// --- Tasks ---------------------------------------------------------------------------------------

void RTCHandler::set_TASKS_START(unsigned, unsigned value) {
  if (value != kTrigger || running_) return;
  running_ = true;
  Clock& clock = mcu_->clock();
  const unsigned prescaler = MemorySection::get(PRESCALER) & kPrescalerMask;
  // Deliberate: rate and ticks both round down, to 1953 ticks of 64 MHz at 32768 Hz.
  const unsigned rate_hz = kLfClockHz / (prescaler + 1);
  ticks_per_count_ = std::max(clock.GetFrequency() / rate_hz, 1ul);
  // Deliberate: after a stop and a start within one count the old schedule still holds.
  if (!tick_unarmed_) return;
  tick_unarmed_ = false;
  clock.AttachToTick(clock.TickCount() + ticks_per_count_, this, false);
}

void RTCHandler::set_TASKS_STOP(unsigned, unsigned value) {
  if (value == kTrigger) running_ = false;
}

void RTCHandler::set_TASKS_CLEAR(unsigned, unsigned value) {
  if (value == kTrigger) MemorySection::set(COUNTER, 0);
}

// --- Registers -----------------------------------------------------------------------------------

void RTCHandler::set_PRESCALER(unsigned, unsigned value) {
  log().info("PRESCALER={}", value);
  if (running_) {
    log().warn("setting PRESCALER in RTC while running is disallowed");
    return;
  }
  MemorySection::set(PRESCALER, value & kPrescalerMask);
}

void RTCHandler::set_CC(unsigned offset, unsigned, unsigned value) {
  MemorySection::set(offset, value & kCounterMask);
}

void RTCHandler::setEventen(unsigned value) {
  MemorySection::set(EVTEN, value);
  MemorySection::set(EVTENSET, value);
  MemorySection::set(EVTENCLR, value);
}

void RTCHandler::set_EVTEN(unsigned, unsigned value) { setEventen(value); }

void RTCHandler::set_EVTENSET(unsigned, unsigned value) {
  setEventen(MemorySection::get(EVTEN) | value);
}

void RTCHandler::set_EVTENCLR(unsigned, unsigned value) {
  setEventen(MemorySection::get(EVTEN) & ~value);
}

void RTCHandler::set_INTENSET(unsigned offset, unsigned value) {
  static constexpr unsigned kEvents[] = {EVENTS_TICK,        EVENTS_OVRFLW,
                                         EVENTS_COMPARE,     EVENTS_COMPARE + 4,
                                         EVENTS_COMPARE + 8, EVENTS_COMPARE + 12};
  Nrf52Handler::set_INTENSET(offset, value);
  RaiseIfPending(kEvents);
}

// --- Counting ------------------------------------------------------------------------------------

unsigned long RTCHandler::OnTick(unsigned long tick) {
  if (!running_) {
    tick_unarmed_ = true;
    return 0;
  }
  if (power_clock_ == nullptr) {
    power_clock_ = mcu_->memory().GetSectionByName<PowerClockHandler>("POWER_CLOCK");
  }
  // A stopped low-frequency clock stops the counter, and the schedule goes on.
  if ((power_clock_->get_lf_status() & kLfClockRuns) != 0) {
    MemorySection::set(COUNTER, MemorySection::get(COUNTER) + 1);
    setInterruptsAndEvents();
  }
  return tick + ticks_per_count_;
}

void RTCHandler::setInterruptsAndEvents() {
  const unsigned evten = MemorySection::get(EVTEN);
  const unsigned intenset = MemorySection::get(INTENSET);
  unsigned counter = MemorySection::get(COUNTER);
  bool interrupt = false;
  const auto handle = [&](unsigned event_offset) {
    const unsigned bit = InterruptBit(event_offset);
    interrupt |= HandleEvent(evten, bit, intenset, bit, event_offset);
  };

  handle(EVENTS_TICK);
  // Deliberate: the period is 0xffffff counts, and COUNTER never shows 0xffffff.
  if (counter > kCounterMask - 1) {
    counter %= kCounterMask;
    MemorySection::set(COUNTER, counter);
    handle(EVENTS_OVRFLW);
  }
  for (unsigned channel = 0; channel < kChannels; ++channel) {
    if (MemorySection::get(CC + 4 * channel) == counter) handle(EVENTS_COMPARE + 4 * channel);
  }
  if (interrupt) RaiseInterrupt();
}

// Deliberate: an event that is enabled neither here nor there leaves its register at 0, and one
// enabled for its interrupt alone doesn't reach the PPI.
bool RTCHandler::HandleEvent(unsigned evten, unsigned evten_bit, unsigned intenset,
                             unsigned intenset_bit, unsigned event_offset) {
  const bool interrupt = (intenset & intenset_bit) != 0;
  if ((evten & evten_bit) != 0) {
    MemorySection::set(event_offset, kGenerated);
  } else if (interrupt) {
    AssignValue(event_offset, kGenerated);
  }
  return interrupt;
}

void RTCHandler::Reset(ResetType type) {
  PeripheralMemory::Reset(type);
  mcu_->clock().DetachFromTick(this);
  ticks_per_count_ = 0;
  tick_unarmed_ = true;
  running_ = false;
}

}  // namespace orvo
