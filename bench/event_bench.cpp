// What a store into a block costs on its way to the PPI: nothing but a test where no channel has an
// event; and what an event costs from its store to its task.
#include <benchmark/benchmark.h>

#include "unit/nrf52/chip_bench.h"

namespace orvo {
namespace {

constexpr unsigned kQuietBlock = 0x40012000;  // QDEC: no channel names it
constexpr unsigned kBlock = 0x40013000;       // LPCOMP
constexpr unsigned kEvent = 0x100;
constexpr unsigned kPpi = 0x4001F000;

struct Chip : Bench832 {
  Chip() {
    Set(kPpi + 0x510, kBlock + kEvent);  // CH[0].EEP
    Set(kPpi + 0x514, 0x20000000);       // CH[0].TEP: a word of RAM
    Set(kPpi + 0x504, 1);                // CHENSET
  }
  MemorySection& Block(unsigned address) { return *mcu.memory().LookUpSection(address); }
};

// The yardstick: a store that tells nobody.
void StoreSilently(benchmark::State& state) {
  Chip chip;
  MemorySection& block = chip.Block(kQuietBlock);
  for (auto _ : state) block.MemorySection::AssignValue(kEvent, 1);
}
BENCHMARK(StoreSilently);

// As a model stores: where nobody observes; where a channel has an event, of 0, the bulk of all.
void Store(benchmark::State& state, unsigned address, unsigned value) {
  Chip chip;
  MemorySection& block = chip.Block(address);
  for (auto _ : state) block.MemorySection::set(kEvent, value);
}
BENCHMARK_CAPTURE(Store, unobserved, kQuietBlock, 1u);
BENCHMARK_CAPTURE(Store, observed_zero, kBlock, 0u);

void EventToTask(benchmark::State& state) {
  Chip chip;
  MemorySection& block = chip.Block(kBlock);
  for (auto _ : state) {
    block.MemorySection::set(kEvent, 1);
    chip.mcu.clock().Tickrement(6);
  }
}
BENCHMARK(EventToTask);

}  // namespace
}  // namespace orvo
