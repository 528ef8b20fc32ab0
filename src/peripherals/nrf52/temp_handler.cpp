#include "peripherals/nrf52/temp_handler.h"

namespace orvo {

// Deliberate: any value starts, 0 too, and without an enabled interrupt the event doesn't happen.
void TEMPHandler::set_TASKS_START(unsigned, unsigned) {
  if (MemorySection::get(INTENSET) == 0) return;
  MemorySection::set(EVENTS_DATARDY, kGenerated);
  RaiseInterrupt();
}

void TEMPHandler::set_TASKS_STOP(unsigned, unsigned) {}

// Deliberate: firmware can't clear the event.
void TEMPHandler::set_EVENTS_DATARDY(unsigned, unsigned) {
  MemorySection::set(EVENTS_DATARDY, kGenerated);
}

void TEMPHandler::set_INTENSET(unsigned offset, unsigned value) {
  static constexpr unsigned kEvents[] = {EVENTS_DATARDY};
  Nrf52Handler::set_INTENSET(offset, value);
  RaiseIfPending(kEvents);
}

unsigned TEMPHandler::get_TEMP(unsigned) { return random_.NextByte(); }

}  // namespace orvo
