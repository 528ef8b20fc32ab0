// Around the run loop: the start checks, the stop point, the end and its report.
#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>

#include "analysis/elf_handler.h"
#include "control/gdb_server.h"
#include "core/globals.h"
#include "runner/args_manager.h"
#include "runner/errors.h"
#include "runner/logger.h"
#include "runner/program.h"
#include "runner/text.h"

namespace orvo {
namespace {

constexpr char kSoftDeviceLink[] = "https://orvo.dev/docs/softdevice";
constexpr long kClocksPerSecond = 1'000'000;  // POSIX: CLOCKS_PER_SEC
constexpr double kNanosecondsPerSecond = 1e9;

long WallClockNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace

void Program::Run() {
  logger::debug("Program") << "Run";
  CheckStartAddress();
  WarnAboutStackPointer();
  if (ArgsManager::Get().gdb) StartDebugger();
  // The run may have been ended before this object listened.
  if (OrvoSignals::Get().terminate.WasEmitted()) Stop();
  cpu_clock_at_start_ = std::clock();
  wall_clock_at_start_ns_ = WallClockNs();
  RunProgramWithFlags();
}

void Program::CheckStartAddress() const {
  const unsigned pc = registers_->pc();
  const unsigned base = chip_.GetFlashOffset();
  const bool in_window = pc >= base && pc <= base + program_len_;
  if (in_window && program_len_ >= (pc & ~base)) return;
  if (in_window || chip_.GetName().find("nrf52") != std::string::npos) {
    throw UserError(
        std::string("You're binary is incomplete. This might happen if you're using a soft-device "
                    "or bootloader. Checkout the following link to see how to get around this "
                    "with Nordic's softdevice: ") +
        kSoftDeviceLink);
  }
  throw UserError("Pc out of range, Are you trying to run a binary with wrong --platform " +
                  chip_.GetName() + " ?");
}

// A start-up code may load the stack pointer itself before it uses it, so this is no error.
void Program::WarnAboutStackPointer() const {
  const unsigned sp = registers_->sp();
  const MemorySection* section = memory_->LookUpSection(sp - 1);  // a full descending stack
  if (section != nullptr && section->IsPlainStorage() && section->bytes() != flash_memory_) return;
  std::cerr << "Warning: the initial stack pointer 0x" << IntToHex(sp) << " of " << image_file_
            << " lies outside of RAM" << std::endl;
}

void Program::StartDebugger() {
  gdb_server_ =
      std::make_unique<GdbServer>(ArgsManager::Get().gdb_port, &chip_, [this] { Stop(); });
  debugger_ = gdb_server_.get();
  const unsigned short port = gdb_server_->Run();
  std::cerr << "GDB server on port " << port << ": the run waits for its client" << std::endl;
}

void Program::Stop() {
  logger::debug("Program") << "stop";
  stop_ = true;
  chip_.clock().ReportEveryStep();  // the loop looks at stop_ when a step says so
  chip_.Stop();
  if (DebuggingLocks* debugger = debugger_) debugger->Stop();
}

unsigned long Program::OnTick(unsigned long) {
  PrintRunInfo();
  return 0;
}

bool Program::DumpedDataAndCanExit(unsigned pc) {
  const ArgsManager& args = ArgsManager::Get();
  if (pc != args.pc_pos) return false;
  if (++stop_point_hits_ != args.times) return false;
  std::ofstream file(args.output, std::ios::trunc);
  if (file) {
    chip_.serializeToFile(&file);
    file.close();
  }
  if (!file) std::cerr << "Warning: can't write the dump to " << args.output << std::endl;
  return true;
}

void Program::PrintRegsTrace() { register_trace_.Print(*registers_, *trace_stream_); }

void Program::PrintRunInfo() {
  // Deliberate: whole seconds, fractions are dropped.
  const double cpu_seconds = (std::clock() - cpu_clock_at_start_) / kClocksPerSecond;
  const double wall_seconds =
      static_cast<double>(WallClockNs() - wall_clock_at_start_ns_) / kNanosecondsPerSecond;
  const unsigned long ticks = chip_.clock().ticks();
  const double mips = static_cast<double>(ticks) / wall_seconds / 1e6;

  const auto log_wall_clock = [wall_seconds] {
    logger::debug("Program") << "Wall clock time passed: " << wall_seconds << " sec";
  };
  logger::debug("Program") << "Num of instructions: " << ticks;
  log_wall_clock();
  logger::debug("Program") << "MIPS: " << mips;
  if (ArgsManager::Get().mips) {
    log_wall_clock();
    std::cout << "MIPS: " << mips << std::endl;
  }
  logger::debug("Program") << "CPU time used: " << cpu_seconds << " sec";
  CreateCoverageReport();
  PrintSpMax();
  WarnAboutIncompleteTrace();
}

void Program::CreateCoverageReport() {
  if (!code_cover_report_) return;
  ElfHandler::CreateCoverageReport();
  OrvoSignals::Get().send_json_event.emit(
      {{"description", "code_coverage"}, {"value", ElfHandler::percent_total_}});
}

void Program::WarnAboutIncompleteTrace() {
  trace_stream_->flush();
  if (ArgsManager::Get().trace.find("regs") != std::string::npos) register_trace_.WarnAboutRest();
  if (!ArgsManager::Get().trace.empty() && !trace_stream_->good())
    std::cerr << "Warning: the trace is incomplete, its file took no more" << std::endl;
}

void Program::PrintSpMax() {
  const unsigned depth_bytes = registers_->sp_start() - registers_->sp_min();
  if (depth_bytes == 0) return;
  std::cout << "Stack max size : " << depth_bytes << " bytes" << std::endl;
  OrvoSignals::Get().send_json_event.emit({{"description", "sp_max"}, {"value", depth_bytes}});
}

}  // namespace orvo
