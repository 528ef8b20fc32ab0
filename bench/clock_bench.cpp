// What a tick costs: an idle clock, and one with a listener that waits at a distance.
#include <benchmark/benchmark.h>

#include "time/clock.h"

namespace orvo {
namespace {

void TickOfAnIdleClock(benchmark::State& state) {
  SourceClock clock("hlck");
  for (auto _ : state) {
    clock.AdvanceOneTick();
    benchmark::DoNotOptimize(clock.ServiceIsDue());
  }
}
BENCHMARK(TickOfAnIdleClock);

class Periodic : public TickListener {
 public:
  explicit Periodic(unsigned long period_ticks) : period_ticks_(period_ticks) {}
  unsigned long OnTick(unsigned long tick) override { return tick + period_ticks_; }

 private:
  unsigned long period_ticks_;
};

// The argument is the listener's period in ticks.
void TickOfAClockWithAListener(benchmark::State& state) {
  SourceClock clock("hlck");
  Periodic listener(static_cast<unsigned long>(state.range(0)));
  clock.AttachToTick(1, &listener, false);
  for (auto _ : state) clock.AdvanceOneTick();
  clock.DetachFromTick(&listener);
}
BENCHMARK(TickOfAClockWithAListener)->Arg(1)->Arg(16)->Arg(1000);

}  // namespace
}  // namespace orvo
