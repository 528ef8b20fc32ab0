// What a store into a port's OUTSET or OUTCLR costs: where no level changes; where one pin's does,
// with 0, 1 and 10 observers of its wire beside the chip's own; and with the waveforms written.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "analysis/vcd_writer.h"
#include "peripherals/nrf52/gpio_handler.h"
#include "unit/nrf52/chip_bench.h"

namespace orvo {
namespace {

constexpr unsigned kPort = 0x50000000;

struct Counter : Observer<WireLogicLevelEvent> {
  void Update(std::vector<WireLogicLevelEvent>* events) override { count += events->size(); }
  unsigned long count = 0;
};

struct Chip : Bench832 {
  explicit Chip(size_t observers = 0) : counters(observers) {
    Set(kPort + Nrf52GPIO::PIN_CNF + 4 * 5, 1);
    for (Counter& counter : counters) wires.ConnectToWireLogicState(&counter, 5, 5);
  }
  void Toggle() {
    Set(kPort + Nrf52GPIO::OUTSET, 1u << 5);
    Set(kPort + Nrf52GPIO::OUTCLR, 1u << 5);
  }
  std::vector<Counter> counters;
};

void StoreWithoutChange(benchmark::State& state) {
  Chip chip;
  for (auto _ : state) chip.Set(kPort + Nrf52GPIO::OUTCLR, 1u << 5);
}
BENCHMARK(StoreWithoutChange);

// Two stores each. The argument is the number of observers.
void TogglePin(benchmark::State& state) {
  Chip chip(static_cast<size_t>(state.range(0)));
  for (auto _ : state) chip.Toggle();
}
BENCHMARK(TogglePin)->Arg(0)->Arg(1)->Arg(10);

void TogglePinIntoWaveforms(benchmark::State& state) {
  Chip chip;
  VcdWriter vcd("/dev/null", chip.mcu);
  for (auto _ : state) {
    chip.Toggle();
    chip.Advance(1);
  }
}
BENCHMARK(TogglePinIntoWaveforms);

}  // namespace
}  // namespace orvo
