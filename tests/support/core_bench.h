// A core with a few instructions to execute: a small chip whose flash holds machine code, decoded
// and called as the run loop does it, without its exceptions and ticks.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "memory/memory_exclusiveness.h"
#include "support/small_image.h"
#include "support/test_mcu.h"

namespace orvo {

// Owns the process-wide variables of the simulation as long as it lives: one bench at a time.
class CoreBench {
 public:
  static constexpr unsigned kCodeAddress = 0x1000;

  CoreBench();
  ~CoreBench();
  CoreBench(const CoreBench&) = delete;
  CoreBench& operator=(const CoreBench&) = delete;

  // Puts the code into flash, starts the decode tables over and points pc at it.
  void Load(const Code& code, unsigned address = kCodeAddress);
  // Executes the instruction at pc.
  void Step();
  // Executes instructions until pc has left the loaded code, at most one for each halfword.
  void Run();
  // Load() and Run().
  void Run(const Code& code, unsigned address = kCodeAddress);

  unsigned& r(unsigned n) { return registers().r(n); }
  unsigned& pc() { return registers().pc(); }
  // "NZCV" with dashes for flags that are 0, and a Q behind it if that is set.
  std::string flags();
  void SetFlags(std::string_view flags);
  // GE[3:0] of the four byte lanes.
  unsigned ge() { return registers().xpsr() >> 16 & 15; }

  TestMcu& mcu() { return mcu_of_bench_; }
  Registers& registers() { return mcu_of_bench_.registers(); }
  Memory& memory() { return mcu_of_bench_.memory(); }
  Interrupts& interrupts() { return mcu_of_bench_.interrupts(); }

 private:
  TestMcu mcu_of_bench_;
  std::unique_ptr<MemoryExclusiveness> exclusive_monitor_;
  unsigned code_start_ = 0;
  unsigned code_end_ = 0;
};

}  // namespace orvo
