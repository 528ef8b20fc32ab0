// What an access costs by kind: RAM and flash, a plain section that is searched, and bytes.
#include <benchmark/benchmark.h>

#include "memory/memory.h"

namespace orvo {
namespace {

// Flash, RAM and the sections that every chip has, as far as accesses need them.
struct Sections {
  Sections() : memory(nullptr) {
    memory.AddSection(new MemorySection(nullptr, "Flash", 0x00000000, 0x80000));
    memory.AddSection(new MemorySection(nullptr, "Data RAM", 0x20000000, 0x10000));
    memory.AddSection(new MemorySection(nullptr, "SystemControlBlock", 0xE0001000, 57152));
    memory.AddSection(new MemorySection(nullptr, "ETM", 0xE0041000, 4096));
  }
  Memory memory;
};

// The argument is the address.
void WordRead(benchmark::State& state) {
  Sections sections;
  auto address = static_cast<unsigned>(state.range(0));
  for (auto _ : state) {
    benchmark::DoNotOptimize(address);
    benchmark::DoNotOptimize(sections.memory.get<true>(address));
  }
}
BENCHMARK(WordRead)->Arg(0x20000100)->Arg(0x100)->Arg(0xE0041010);

void WordWrite(benchmark::State& state) {
  Sections sections;
  auto address = static_cast<unsigned>(state.range(0));
  unsigned value = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(address);
    sections.memory.set<true>(address, ++value);
  }
}
BENCHMARK(WordWrite)->Arg(0x20000100)->Arg(0xE0041010);

void UnalignedByteRead(benchmark::State& state) {
  Sections sections;
  unsigned address = 0x20000101;
  for (auto _ : state) {
    benchmark::DoNotOptimize(address);
    benchmark::DoNotOptimize(sections.memory.getByte<true>(address));
  }
}
BENCHMARK(UnalignedByteRead);

}  // namespace
}  // namespace orvo
