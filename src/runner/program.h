// One run: the loaded firmware and the loop that executes it, one instruction per tick of the main
// clock. The loop is compiled in sixteen variants, so that the plain one pays for no tracing, stop
// point or debugger.
#pragma once

#include <array>
#include <atomic>
#include <ctime>
#include <iosfwd>
#include <memory>
#include <string>
#include <utility>

#include "analysis/function_tracer.h"
#include "analysis/register_trace.h"
#include "mcu/mcu.h"
#include "runner/image.h"
#include "runner/orvo_signals.h"
#include "time/tick_listener.h"

namespace orvo {

class DebuggingLocks;
class GdbServer;
class MemoryExclusiveness;

// What main returns. The termination channel carries it, possibly from another thread.
inline std::atomic<int> exit_code{0};
// The open image while it is loaded, and its path as given.
inline std::unique_ptr<Image> image_;
inline std::string image_file_;

class Program : public TickListener {
 public:
  // Sets the process-wide variables, loads the image, builds the decode tables and resets the
  // chip. Throws UserError for an image that can't be run. One at a time.
  Program(Mcu& mcu, const std::string& argv0, const std::string& image_path);
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program() override;

  // Tests the start address and runs until the end of the run. Throws UserError for firmware that
  // doesn't fit the chip.
  void Run();
  // Asks for the end of the run. Any thread, not a signal handler.
  void Stop();
  // Prints the report; not called again.
  unsigned long OnTick(unsigned long tick) override;

  // The report at the end of a run.
  void PrintRunInfo();
  void CreateCoverageReport();
  void PrintSpMax();

 private:
  using Loop = void (Program::*)();

  void ParseElfFileIfNeeded(const std::string& argv0);
  void SetProcessWideVariables();
  void LoadBinaryFile();
  void LoadWord(MemorySection& flash, unsigned address, unsigned value);
  [[noreturn]] void ImageDoesNotFit(const MemorySection& flash, unsigned address);

  void CheckStartAddress() const;
  void WarnAboutStackPointer() const;
  void StartDebugger();

  void RunProgramWithFlags();
  template <bool PcPos, bool Regs, bool Gdb, bool Functions>
  void RunProgram();
  template <size_t... variant>
  static constexpr std::array<Loop, sizeof...(variant)> Variants(std::index_sequence<variant...>);

  // Whether the run has come to its stop point; writes the dump of -o then.
  bool DumpedDataAndCanExit(unsigned pc);
  void PrintRegsTrace();
  void WarnAboutIncompleteTrace();
  [[gnu::noinline, gnu::cold]] void FetchOutsideProgram();
  // Stands at a breakpoint until the debugger lets the loop go on.
  void RunGdb();

  // Ends what the process-wide variables stand for, after a failed construction too.
  struct ProcessWideVariables {
    ~ProcessWideVariables();
  };

  ProcessWideVariables process_wide_;
  const bool* pending_empty_;
  FunctionTracer function_tracer_;
  RegisterTrace register_trace_;
  std::atomic<DebuggingLocks*> debugger_{nullptr};
  std::ostream* trace_stream_;
  std::atomic<bool> stop_{false};
  std::clock_t cpu_clock_at_start_ = 0;
  long wall_clock_at_start_ns_ = 0;

  Mcu& chip_;
  std::unique_ptr<MemoryExclusiveness> exclusive_monitor_;
  unsigned stop_point_hits_ = 0;
  bool lockup_warned_ = false;
  std::unique_ptr<GdbServer> gdb_server_;  // null without -g
  Connection<int> stop_connection_;        // goes first
};

}  // namespace orvo
