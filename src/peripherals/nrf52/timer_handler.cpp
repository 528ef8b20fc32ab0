#include "peripherals/nrf52/timer_handler.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iostream>

namespace orvo {

namespace {

constexpr unsigned kSourceHz = 16'000'000;
constexpr unsigned kPrescalerMask = 31;

enum Mode : unsigned { kTimer = 0, kCounter = 1, kLowPowerCounter = 2 };

constexpr unsigned ClearShort(unsigned channel) { return 1u << channel; }       // SHORTS
constexpr unsigned StopShort(unsigned channel) { return 1u << (channel + 8); }  // SHORTS

constexpr unsigned CounterMask(unsigned bit_mode) {
  switch (bit_mode) {
    case 0:
      return 0xffff;
    case 1:
      return 0xff;
    case 2:
      return 0xffffff;
    default:
      return 0xffffffff;
  }
}

}  // namespace

// --- Tasks ---------------------------------------------------------------------------------------
// Deliberate: start, stop and count are taken for any value, the others for the value 1 only.

// The counter goes on from where it stands.
void TimerHandler::set_TASKS_START(unsigned, unsigned) {
  if (running_) return;
  running_ = true;
  Clock& clock = mcu_->clock();
  last_tick_ = clock.TickCount();
  ticks_per_count_ = MemorySection::get(MODE) == kTimer ? TicksPerCount() : 0;
  // Deliberate: after a stop and a start within one count the old schedule still holds.
  if (ticks_per_count_ == 0 || tick_armed_) return;
  tick_armed_ = true;
  clock.AttachToTick(last_tick_ + ticks_per_count_, this, false);
}

unsigned long TimerHandler::TicksPerCount() {
  const unsigned rate_hz = kSourceHz >> (MemorySection::get(PRESCALER) & kPrescalerMask);
  return rate_hz == 0 ? 0 : std::max(mcu_->clock().GetFrequency() / rate_hz, 1ul);
}

void TimerHandler::set_TASKS_STOP(unsigned, unsigned) { running_ = false; }

void TimerHandler::set_TASKS_COUNT(unsigned, unsigned) {
  const unsigned mode = MemorySection::get(MODE);
  if (running_ && (mode == kCounter || mode == kLowPowerCounter)) Count();
}

void TimerHandler::set_TASKS_CLEAR(unsigned, unsigned value) {
  if (value == kTrigger) counter_ = 0;
}

void TimerHandler::set_TASKS_SHUTDOWN(unsigned, unsigned value) {
  if (value != kTrigger) return;
  running_ = false;
  counter_ = 0;
}

// Deliberate: the time since the last count, or since the start, counts also while the timer is
// stopped, and BITMODE doesn't limit the sum.
void TimerHandler::set_TASKS_CAPTURE(unsigned, unsigned channel, unsigned value) {
  if (value != kTrigger) return;
  unsigned long count = counter_;
  if (MemorySection::get(MODE) == kTimer && ticks_per_count_ != 0) {
    count += (mcu_->clock().TickCount() - last_tick_) / ticks_per_count_;
  }
  MemorySection::set(CC + 4 * channel, static_cast<unsigned>(count));
}

void TimerHandler::set_INTENSET(unsigned offset, unsigned value) {
  static constexpr unsigned kEvents[kChannels] = {EVENTS_COMPARE,      EVENTS_COMPARE + 4,
                                                  EVENTS_COMPARE + 8,  EVENTS_COMPARE + 12,
                                                  EVENTS_COMPARE + 16, EVENTS_COMPARE + 20};
  Nrf52Handler::set_INTENSET(offset, value);
  RaiseIfPending(kEvents);
}

// --- Counting ------------------------------------------------------------------------------------

unsigned long TimerHandler::OnTick(unsigned long tick) {
  if (running_ && ticks_per_count_ != 0) {
    last_tick_ = tick;
    Count();
    if (running_) return tick + ticks_per_count_;
  }
  tick_armed_ = false;
  return 0;
}

// BITMODE counts at once. MODE and PRESCALER settle the pace at a start; MODE also counts at each
// COUNT and CAPTURE.
void TimerHandler::Count() {
  counter_ = (counter_ + 1) & CounterMask(MemorySection::get(BITMODE));
  compareAndSetEvents();
}

void TimerHandler::compareAndSetEvents() {
  // A short's clear doesn't hide the match of the channels behind it.
  const unsigned count = counter_;
  // Deliberate: a CC of 0 never matches, not even when the counter wraps to 0.
  if (count == 0) return;
  std::array<unsigned, kChannels> compare;
  std::memcpy(compare.data(), bytes() + CC, sizeof compare);
  unsigned matched = 0;  // as in INTENSET
  for (unsigned channel = 0; channel < kChannels; ++channel) {
    if (compare[channel] != count) continue;
    // What firmware printed until now is to be seen.
    std::cout.flush();
    const unsigned event = EVENTS_COMPARE + 4 * channel;
    MemorySection::set(event, kGenerated);
    matched |= InterruptBit(event);
    const unsigned shorts = MemorySection::get(SHORTS);
    if ((shorts & ClearShort(channel)) != 0) counter_ = 0;
    if ((shorts & StopShort(channel)) != 0) running_ = false;
  }
  RaiseIfEnabled(matched);
}

void TimerHandler::Reset(ResetType type) {
  running_ = false;
  tick_armed_ = false;
  counter_ = 0;
  last_tick_ = 0;
  ticks_per_count_ = 0;
  mcu_->clock().DetachFromTick(this);
  PeripheralMemory::Reset(type);
}

}  // namespace orvo
