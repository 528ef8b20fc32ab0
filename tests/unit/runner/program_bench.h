// A small chip with firmware of a few instructions, run by the run loop.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "runner/args_manager.h"
#include "runner/orvo_signals.h"
#include "runner/program.h"
#include "support/test_mcu.h"
#include "unit/config/working_directory.h"

namespace orvo {

// No option and no signal of an earlier test.
struct FreshSingletons {
  FreshSingletons() {
    ISingelton<ArgsManager>::ReleaseInstance();
    ISingelton<OrvoSignals>::ReleaseInstance();
    exit_code = 0;
  }
};

// Machine code as halfwords.
using Code = std::vector<unsigned short>;

// Calls a function at a tick.
class At : public TickListener {
 public:
  At(Mcu& mcu, unsigned long tick, std::function<void()> function)
      : clock_(mcu.clock()), function_(std::move(function)) {
    clock_.AttachToTick(tick, this, false);
  }
  ~At() override { clock_.DetachFromTick(this); }
  unsigned long OnTick(unsigned long) override {
    function_();
    return 0;
  }

 private:
  Clock& clock_;
  std::function<void()> function_;
};

struct ProgramBench : FreshSingletons {
  static constexpr unsigned kCode = 0x40;
  static constexpr unsigned kHardFaultHandler = 0x3c;  // b .
  static constexpr unsigned kStackPointer = TestMcu::kRamStart + TestMcu::kRamSizeBytes;

  // Adds 1 to r0 for ever, in two instructions, the first one at kLoop.
  static inline const Code kCounter = {0x2000, 0x3001, 0xe7fd};
  static constexpr unsigned kLoop = kCode + 2;

  WorkingDirectory directory;
  ArgsManager& args = ArgsManager::Get();
  TestMcu mcu;
  std::unique_ptr<Program> program;

  ProgramBench() { args.mcu = "test"; }

  static std::string Word(unsigned value) {
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
  }
  // An image whose vectors are the code, for a reset, and the handler for all else.
  static std::string Image(const Code& code, unsigned stack_pointer = kStackPointer,
                           unsigned entry = kCode + 1) {
    std::string bytes = Word(stack_pointer) + Word(entry);
    while (bytes.size() < kHardFaultHandler) bytes += Word(kHardFaultHandler + 1);
    bytes += Word(0xbf00e7fe);
    for (const unsigned short half : code) bytes += Word(half).substr(0, 2);
    return bytes;
  }

  void Load(const std::string& image) {
    directory.Write("a.bin", image);
    program = std::make_unique<Program>(mcu, "orvo", "a.bin");
  }
  void Execute(const Code& code) {
    Load(Image(code));
    program->Run();
  }
  // Lets the run end before the instruction at pc is executed for the n-th time.
  void StopAt(unsigned pc, unsigned times = 1) {
    args.pc_pos = pc;
    args.times = times;
  }

  unsigned r(unsigned n) { return mcu.registers().r(n); }
  unsigned pc() { return mcu.registers().pc(); }
  unsigned long ticks() { return mcu.clock().ticks(); }
};

}  // namespace orvo
