// A small chip with firmware of a few instructions, run by the run loop.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "runner/args_manager.h"
#include "runner/orvo_signals.h"
#include "runner/program.h"
#include "support/small_image.h"
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
  static constexpr unsigned kCode = SmallImage::kCode;
  static constexpr unsigned kHardFaultHandler = SmallImage::kHandler;
  static constexpr unsigned kStackPointer = SmallImage::kStackPointer;
  static_assert(kStackPointer == TestMcu::kRamStart + TestMcu::kRamSizeBytes);

  // Adds 1 to r0 for ever, in two instructions, the first one at kLoop.
  static inline const Code kCounter = {0x2000, 0x3001, 0xe7fd};
  static constexpr unsigned kLoop = kCode + 2;

  WorkingDirectory directory;
  ArgsManager& args = ArgsManager::Get();
  TestMcu mcu;
  std::unique_ptr<Program> program;

  ProgramBench() { args.mcu = "test"; }

  static std::string Word(unsigned value) { return SmallImage::Word(value); }
  static std::string Image(const Code& code, unsigned stack_pointer = kStackPointer,
                           unsigned entry = kCode + 1) {
    return SmallImage::Of(code, stack_pointer, entry);
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
