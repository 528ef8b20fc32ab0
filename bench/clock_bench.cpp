// What a tick costs: an idle clock, one with listeners that wait at a distance, and one whose
// listeners come; and what attaching costs among those that wait.
#include <benchmark/benchmark.h>

#include <vector>

#include "time/clock.h"

namespace orvo {
namespace {

void TickOfAnIdleClock(benchmark::State& state) {
  SourceClock clock("hlck");
  for (auto _ : state) {
    benchmark::DoNotOptimize(clock.AdvanceOneTick());
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

// A clock on which `count` listeners wait, for `first_tick` and the ticks behind it, each with a
// period of `period_ticks`.
struct Crowd {
  Crowd(unsigned long count, unsigned long first_tick, unsigned long period_ticks)
      : listeners(count, Periodic(period_ticks)) {
    for (unsigned long n = 0; n < count; ++n) {
      clock.AttachToTick(first_tick + n, &listeners[n], false);
    }
  }
  std::vector<Periodic> listeners;
  SourceClock clock{"hlck"};
};
constexpr unsigned long kFarAway = 1ul << 60;

// The argument of these is the number of listeners. It must not show here:
void TickWhileListenersWait(benchmark::State& state) {
  Crowd crowd(static_cast<unsigned long>(state.range(0)), kFarAway, 1);
  for (auto _ : state) crowd.clock.AdvanceOneTick();
}
BENCHMARK(TickWhileListenersWait)->RangeMultiplier(10)->Range(1, 1000);

// Before all that wait, which is the rule, or in the midst of them; and away again.
void AttachAndDetach(benchmark::State& state, bool in_the_midst) {
  const auto count = static_cast<unsigned long>(state.range(0));
  Crowd crowd(count, kFarAway, 1);
  Periodic listener(1);
  const unsigned long tick = in_the_midst ? kFarAway + count / 2 : 100;
  for (auto _ : state) {
    crowd.clock.AttachToTick(tick, &listener, false);
    crowd.clock.DetachFromTick(&listener);
  }
}
BENCHMARK_CAPTURE(AttachAndDetach, next, false)->RangeMultiplier(10)->Range(1, 1000);
BENCHMARK_CAPTURE(AttachAndDetach, in_the_midst, true)->RangeMultiplier(10)->Range(1, 1000);

// One listener comes at each tick and waits again, behind all others: the worst place.
void FireAndWaitAgainBehindAll(benchmark::State& state) {
  const auto count = static_cast<unsigned long>(state.range(0));
  Crowd crowd(count, 1, count);
  for (auto _ : state) crowd.clock.AdvanceOneTick();
}
BENCHMARK(FireAndWaitAgainBehindAll)->RangeMultiplier(10)->Range(1, 1000);

// One listener comes at each tick while the others wait far away.
void FireAndWaitAgainBeforeAll(benchmark::State& state) {
  Crowd crowd(static_cast<unsigned long>(state.range(0)), kFarAway, 1);
  Periodic listener(1);
  crowd.clock.AttachToTick(1, &listener, false);
  for (auto _ : state) crowd.clock.AdvanceOneTick();
}
BENCHMARK(FireAndWaitAgainBeforeAll)->RangeMultiplier(10)->Range(1, 1000);

}  // namespace
}  // namespace orvo
