// What an access costs by kind: RAM and flash, a section that is searched, a register, and what is
// nowhere.
#include <benchmark/benchmark.h>

#include <iostream>

#include "memory/memory.h"
#include "support/test_mcu.h"

namespace orvo {
namespace {

// Flash, RAM and the sections that every chip has, as far as accesses need them.
struct Sections {
  Sections() : memory(nullptr) {
    memory.AddSection(new PlainSection(nullptr, "Flash", 0x00000000, 0x80000));
    memory.AddSection(new PlainSection(nullptr, "Data RAM", 0x20000000, 0x10000));
    memory.AddSection(new MemorySection(nullptr, "SystemControlBlock", 0xE0001000, 57152));
    memory.AddSection(new MemorySection(nullptr, "ETM", 0xE0041000, 4096));
  }
  Memory memory;
};

void ReadWord(benchmark::State& state, unsigned address) {
  Sections sections;
  for (auto _ : state) {
    benchmark::DoNotOptimize(address);
    benchmark::DoNotOptimize(sections.memory.get<true>(address));
  }
}
BENCHMARK_CAPTURE(ReadWord, ram, 0x20000100u);
BENCHMARK_CAPTURE(ReadWord, ram_unaligned, 0x20000101u);
BENCHMARK_CAPTURE(ReadWord, flash, 0x100u);
BENCHMARK_CAPTURE(ReadWord, other_section, 0xE0041010u);

void WriteWord(benchmark::State& state, unsigned address) {
  Sections sections;
  unsigned value = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(address);
    sections.memory.set<true>(address, ++value);
  }
}
BENCHMARK_CAPTURE(WriteWord, ram, 0x20000100u);
BENCHMARK_CAPTURE(WriteWord, other_section, 0xE0041010u);

void ReadByte(benchmark::State& state, unsigned address) {
  Sections sections;
  for (auto _ : state) {
    benchmark::DoNotOptimize(address);
    benchmark::DoNotOptimize(sections.memory.getByte<true>(address));
  }
}
BENCHMARK_CAPTURE(ReadByte, ram, 0x20000101u);

// SysTick's reload value: a register of a handler, found by its address from the second time on.
void ReadRegister(benchmark::State& state) {
  TestMcu mcu;
  for (auto _ : state) benchmark::DoNotOptimize(mcu.memory().get<true>(0xE000E014));
}
BENCHMARK(ReadRegister);

// The same at its first access, which searches section and register: 60 of one table.
void ReadRegisterForTheFirstTime(benchmark::State& state) {
  constexpr unsigned kPriorities = 0xE000E400;
  constexpr unsigned kRegisters = 60;
  for (auto _ : state) {
    state.PauseTiming();
    {
      TestMcu mcu;
      state.ResumeTiming();
      for (unsigned n = 0; n < kRegisters; ++n) {
        benchmark::DoNotOptimize(mcu.memory().get<true>(kPriorities + 4 * n));
      }
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(kRegisters * state.iterations());
}
BENCHMARK(ReadRegisterForTheFirstTime);

// A warning, which is dropped here, and a fault.
void ReadNowhere(benchmark::State& state) {
  TestMcu mcu;
  std::streambuf* const error_output = std::cerr.rdbuf(nullptr);
  for (auto _ : state) benchmark::DoNotOptimize(mcu.memory().get<true>(0x30000000));
  std::cerr.rdbuf(error_output);
}
BENCHMARK(ReadNowhere);

}  // namespace
}  // namespace orvo
