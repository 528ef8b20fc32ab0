// What executing and decoding cost: an instruction of each family, called as the run loop calls it,
// without ticks; and the first execution of an address, which decodes it.
#include <benchmark/benchmark.h>

#include "support/core_bench.h"

namespace orvo {
namespace {

constexpr unsigned kData = TestMcu::kRamStart + 0x100;

// One instruction, over and over. r1 points to data, r2 to r7 hold small numbers.
void Execute(benchmark::State& state, const Code& code) {
  CoreBench bench;
  bench.Load(code);
  bench.r(1) = kData;
  for (unsigned n = 2; n < 8; ++n) bench.r(n) = 100 / n;
  const unsigned sp = bench.registers().sp();
  bench.Step();
  for (auto _ : state) {
    bench.pc() = CoreBench::kCodeAddress;
    bench.registers().SetSP(sp);
    bench.Step();
  }
}
// clang-format off
BENCHMARK_CAPTURE(Execute, adds_registers,        Code{0x18d0});
BENCHMARK_CAPTURE(Execute, add_shifted_register,  Code{0xeb02, 0x0083});
BENCHMARK_CAPTURE(Execute, ands_registers,        Code{0xea12, 0x0003});
BENCHMARK_CAPTURE(Execute, lsls_immediate,        Code{0x00d0});
BENCHMARK_CAPTURE(Execute, mul,                   Code{0xfb02, 0xf003});
BENCHMARK_CAPTURE(Execute, umull,                 Code{0xfba2, 0x0403});
BENCHMARK_CAPTURE(Execute, udiv,                  Code{0xfbb2, 0xf0f3});
BENCHMARK_CAPTURE(Execute, ubfx,                  Code{0xf3c2, 0x00c8});
BENCHMARK_CAPTURE(Execute, cmp_registers,         Code{0x429a});
BENCHMARK_CAPTURE(Execute, ldr_offset,            Code{0x6848});
BENCHMARK_CAPTURE(Execute, str_offset,            Code{0x604a});
BENCHMARK_CAPTURE(Execute, ldrb_index,            Code{0x5d48});
BENCHMARK_CAPTURE(Execute, push_of_five,          Code{0xb5f0});
BENCHMARK_CAPTURE(Execute, ldmia_of_four,         Code{0xe891, 0x00f0});
BENCHMARK_CAPTURE(Execute, branch,                Code{0xe7fe});
BENCHMARK_CAPTURE(Execute, mrs_msp,               Code{0xf3ef, 0x8008});
BENCHMARK_CAPTURE(Execute, vadd,                  Code{0xee30, 0x0a81});
BENCHMARK_CAPTURE(Execute, vmul,                  Code{0xee20, 0x0a81});
BENCHMARK_CAPTURE(Execute, vfma,                  Code{0xeea0, 0x0a81});
BENCHMARK_CAPTURE(Execute, vcvt_to_signed,        Code{0xeebd, 0x0ae0});
BENCHMARK_CAPTURE(Execute, vcmp,                  Code{0xeef4, 0x0a41});
BENCHMARK_CAPTURE(Execute, vldr,                  Code{0xed91, 0x0a02});
// clang-format on

// An IT block of two: three instructions, of which one is skipped.
void ExecuteItBlock(benchmark::State& state) {
  CoreBench bench;
  bench.Load({0xbf0c, 0x4610, 0x4618});  // ite eq; moveq r0, r2; movne r0, r3
  bench.Run();
  for (auto _ : state) {
    bench.pc() = CoreBench::kCodeAddress;
    bench.Run();
  }
  state.SetItemsProcessed(3 * state.iterations());
}
BENCHMARK(ExecuteItBlock);

// The first execution of 64 addresses, the making of empty tables included.
void Decode(benchmark::State& state) {
  CoreBench bench;
  Code code;
  for (int i = 0; i < 16; ++i) code.insert(code.end(), {0x18d0, 0xea12, 0x0003, 0x00d0, 0x429a});
  for (auto _ : state) bench.Run(code);
  state.SetItemsProcessed(64 * state.iterations());
}
BENCHMARK(Decode);

}  // namespace
}  // namespace orvo
