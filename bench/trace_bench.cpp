// What the traces cost: a line of the register trace, made and written as a run writes it.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <vector>

#include "analysis/register_trace.h"
#include "core/registers.h"

namespace orvo {
namespace {

// The registers of a loop: pc, a counter and an S register change from line to line. In the other
// case all S registers do.
void RegisterTraceLine(benchmark::State& state) {
  const auto changing_floats = static_cast<unsigned>(state.range(0));
  char path[] = "/tmp/orvo-trace-XXXXXX";
  ::close(::mkstemp(path));
  std::vector<char> buffer(65536);  // ArgsManager::trace_buffer
  std::ofstream file;
  file.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
  file.open(path, std::ios::trunc);
  Registers registers;
  registers.init(0x400, 0x20010000);
  RegisterTrace trace(0, nullptr);
  unsigned n = 0;
  for (auto _ : state) {
    registers.pc() = 0x400 + n % 64 * 2;
    registers.r(0) = ++n;
    for (unsigned s = 0; s < changing_floats; ++s) registers.s(s) = 0x3f800000 + n * 1000 + s;
    trace.Print(registers, file);
    if (n % 100'000 == 0) file.seekp(0);  // the page cache, not the disk
  }
  ::unlink(path);
}
BENCHMARK(RegisterTraceLine)->ArgName("changing_floats")->Arg(0)->Arg(1)->Arg(32);

}  // namespace
}  // namespace orvo
