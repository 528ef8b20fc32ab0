#include "peripherals/nrf52/rng_handler.h"

namespace orvo {

namespace {

constexpr unsigned long kTicksPerValue = 12'800;  // 200 us of a 64 MHz clock
constexpr unsigned kValrdyStop = 1u << 0;         // SHORTS

}  // namespace

// Deliberate: every value seeds, and only 1 starts. Without a seed of the board that is the second
// of the host: firmware that starts anew for each byte gets the same byte for a second.
void RNGHandler::set_TASKS_START(unsigned, unsigned value) {
  random_.StartAnew();
  if (running_ || value != kTrigger) return;
  running_ = true;
  Clock& clock = mcu_->clock();
  // After a stop it is still attached, until the value that was under way is due.
  clock.DetachFromTick(this);
  clock.AttachToTick(clock.TickCount() + kTicksPerValue, this, false);
}

void RNGHandler::set_TASKS_STOP(unsigned, unsigned value) {
  if (value == kTrigger) running_ = false;
}

unsigned long RNGHandler::OnTick(unsigned long tick) {
  if (!running_) return 0;
  MemorySection::set(VALUE, random_.NextByte());
  Generate(EVENTS_VALRDY);
  if ((MemorySection::get(SHORTS) & kValrdyStop) == 0) return tick + kTicksPerValue;
  running_ = false;
  return 0;
}

void RNGHandler::set_INTENSET(unsigned offset, unsigned value) {
  static constexpr unsigned kEvents[] = {EVENTS_VALRDY};
  Nrf52Handler::set_INTENSET(offset, value);
  RaiseIfPending(kEvents);
}

void RNGHandler::Reset(ResetType type) {
  mcu_->clock().DetachFromTick(this);
  running_ = false;
  PeripheralMemory::Reset(type);
}

}  // namespace orvo
