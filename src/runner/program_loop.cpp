// The run loop: the hot path of the whole system.
#include <iostream>

#include "control/debugging_locks.h"
#include "core/decoder.h"
#include "core/globals.h"
#include "runner/args_manager.h"
#include "runner/logger.h"
#include "runner/program.h"
#include "runner/text.h"

namespace orvo {
namespace {

constexpr unsigned kNoStopPoint = 0xffffffff;

bool Contains(const std::string& text, const char* word) {
  return text.find(word) != std::string::npos;
}

}  // namespace

template <bool PcPos, bool Regs, bool Gdb, bool Functions>
void Program::RunProgram() {
  SourceClock& clock = chip_.clock();
  Interrupts& interrupts = *interrupts_;
  const bool* const pending_empty = pending_empty_;
  unsigned& pc = registers_->pc();
  const Function* const functions = *pc_offset_2_arm_function_;
  my_insn_t* const instructions = *pc_offset_2_my_insn_struct_;
  my_insn_t** const current_instruction = current_instruction_;
  const unsigned pc_mask = ~flash_address_;
  const unsigned program_len = program_len_;
  const unsigned long start_tick = ArgsManager::Get().start_tick;
  const unsigned stop_pc = ArgsManager::Get().pc_pos;

  // What is due at tick 0 comes before the first instruction.
  clock.HandleSelfTickListeners();
  clock.service().HandleTickListeners(clock.ticks());
  try {
    for (;;) {
      if (!*pending_empty) {
        interrupts.ExecuteInterruptIfNeeded();
        // A missing handler has ended the run.
        if (stop_.load(std::memory_order_relaxed)) break;
      }
      // A test instead of a plain mask: a store here would make each instruction wait for it.
      if ((pc & 1u) != 0) pc &= ~1u;
      // The offset into the program is also what the end is tested with: the same as a comparison
      // of pc with base + length, but it stops a pc between 0 and a flash that is based above 0.
      // Deliberate: a pc exactly at the end executes, and one in RAM faults.
      unsigned offset = pc & pc_mask;
      if (offset <= program_len) {
        if constexpr (PcPos) {
          if (pc == stop_pc && DumpedDataAndCanExit(pc)) break;
        }
        if constexpr (Functions) function_tracer_.TraceEnterToNewFunction(pc, *trace_stream_);
        if constexpr (Regs) {
          if (start_tick < clock.ticks()) PrintRegsTrace();
        }
        if constexpr (Gdb) {
          RunGdb();
          // The debugger may have moved pc, out of the program too.
          pc &= ~1u;
          offset = pc & pc_mask;
        }
        if (Gdb && offset > program_len) {
          FetchOutsideProgram();
        } else {
          *current_instruction = instructions + offset;
          functions[offset]();
        }
      } else {
        FetchOutsideProgram();
      }
      if (clock.AdvanceOneTick() && stop_.load(std::memory_order_relaxed)) break;
    }
  } catch (const std::exception& error) {
    logger::error("Program") << " TC: " << clock.ticks() << " PC: 0x" << IntToHex(pc)
                             << error.what();
  }
  PrintRunInfo();
}

// A variant's number has a bit for each of its four parameters.
template <size_t... variant>
constexpr std::array<Program::Loop, sizeof...(variant)> Program::Variants(
    std::index_sequence<variant...>) {
  return {&Program::RunProgram<(variant & 8) != 0, (variant & 4) != 0, (variant & 2) != 0,
                               (variant & 1) != 0>...};
}

void Program::RunProgramWithFlags() {
  static constexpr auto kLoops = Variants(std::make_index_sequence<16>());
  const ArgsManager& args = ArgsManager::Get();
  const bool pc_pos = args.pc_pos != kNoStopPoint;
  const bool regs = Contains(args.trace, "regs");
  const bool functions = Contains(args.trace, "functions") && !args.objdump.empty();
  chip_.stop_pc = pc_pos ? args.pc_pos : kNoStopPoint;
  AllowChaining(!regs && !args.gdb && !functions);
  (this->*kLoops[pc_pos * 8 + regs * 4 + args.gdb * 2 + functions])();
}

// pc stays; the next iteration takes the fault.
void Program::FetchOutsideProgram() {
  // Still pending: the fault of the step before could not be taken. The chip would lock up
  // (ARMv7-M ARM, B1.5.15); here only an exception of a higher priority moves pc on.
  if (!lockup_warned_ &&
      (interrupts_->IsPending(kBusFault) || interrupts_->IsPending(kHardFault))) {
    lockup_warned_ = true;
    std::cerr << "Warning: pc 0x" << IntToHex(registers_->pc())
              << " lies outside of the program at tick " << chip_.clock().ticks()
              << ", and its fault can't be taken" << std::endl;
  }
  logger::debug("Program") << "raiseInterrupt BusFault";
  interrupts_->RaiseInterrupt(kBusFault, true);
}

void Program::RunGdb() {
  DebuggingLocks& debugger = *debugger_;
  if (!debugger.CheckBreakpoints(registers_->pc())) return;
  trace_stream_->flush();  // for who looks at the trace in the pause
  debugger.PauseMcuForBreakpoint();
  chip_.clock().HandleSelfTickListeners();
}

}  // namespace orvo
