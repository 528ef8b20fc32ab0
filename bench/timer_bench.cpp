// What a tick of the main clock costs while timers count, by one call per count. Times the ticks of
// a count it is the cost of a count.
#include <benchmark/benchmark.h>

#include "peripherals/nrf52/power_clock_handler.h"
#include "peripherals/nrf52/rtc_handler.h"
#include "peripherals/nrf52/timer_handler.h"
#include "unit/nrf52/chip_bench.h"

namespace orvo {
namespace {

constexpr unsigned kClock = 0x40000000;
constexpr unsigned kTimer = 0x40008000;  // TIMER0, the others behind it
constexpr unsigned kRtc = 0x4000B000;

struct Chip : Bench832 {
  void StartTimer(unsigned number, unsigned prescaler) {
    const unsigned block = kTimer + 0x1000 * number;
    Set(block + Nrf52TIMER::PRESCALER, prescaler);
    Set(block + Nrf52TIMER::BITMODE, 3);
    Set(block + Nrf52TIMER::TASKS_START, 1);
  }
  void StartRtc() {
    Set(kClock + Nrf52POWER_CLOCK::TASKS_LFCLKSTART, 1);
    Set(kRtc + Nrf52RTC::TASKS_START, 1);
  }
};

void Advance(benchmark::State& state, Chip& chip) {
  SourceClock& clock = chip.mcu.clock();
  for (auto _ : state) clock.AdvanceOneTick();
}

// The argument is the prescaler: 4 ticks per count at 0, 64 at 4.
void TickWithTimer(benchmark::State& state) {
  Chip chip;
  chip.StartTimer(0, static_cast<unsigned>(state.range(0)));
  Advance(state, chip);
}
BENCHMARK(TickWithTimer)->Arg(0)->Arg(4);

// Every 1953 ticks.
void TickWithRtc(benchmark::State& state) {
  Chip chip;
  chip.StartRtc();
  Advance(state, chip);
}
BENCHMARK(TickWithRtc);

// The argument is the number of timers, each at 16 MHz.
void TickWithTimersAndRtc(benchmark::State& state) {
  Chip chip;
  for (unsigned n = 0; n < static_cast<unsigned>(state.range(0)); ++n) chip.StartTimer(n, 0);
  chip.StartRtc();
  Advance(state, chip);
}
BENCHMARK(TickWithTimersAndRtc)->Arg(1)->Arg(3);

}  // namespace
}  // namespace orvo
