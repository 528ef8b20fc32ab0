#include "support/core_bench.h"

#include "core/decoder.h"
#include "core/globals.h"

namespace orvo {
namespace {

constexpr unsigned kStackPointer = TestMcu::kRamStart + TestMcu::kRamSizeBytes;

}  // namespace

CoreBench::CoreBench() : exclusive_monitor_(std::make_unique<MemoryExclusiveness>(&mcu_of_bench_)) {
  mcu_ = &mcu_of_bench_;
  registers_ = &registers();
  interrupts_ = &interrupts();
  memory_ = &memory();
  memory_exclusiveness_ = exclusive_monitor_.get();
  current_instruction_ = &mcu_of_bench_.current_instruction;
  flash_address_ = mcu_of_bench_.GetFlashOffset();
  flash_memory_ = memory().GetSectionByName("Flash")->bytes();
  pc_offset_2_arm_function_ = &mcu_of_bench_.pc_offset_2_arm_function;
  pc_offset_2_my_insn_struct_ = &mcu_of_bench_.pc_offset_2_my_insn_struct;
  InitMnemonic2ArmFunciton();
  registers().init(kCodeAddress, kStackPointer);
}

CoreBench::~CoreBench() {
  ReleaseDecodeTables();
  mcu_ = nullptr;
  registers_ = nullptr;
  interrupts_ = nullptr;
  memory_ = nullptr;
  memory_exclusiveness_ = nullptr;
  current_instruction_ = nullptr;
  flash_memory_ = nullptr;
  pc_offset_2_arm_function_ = nullptr;
  pc_offset_2_my_insn_struct_ = nullptr;
  program_len_ = 0;
}

void CoreBench::Load(const Code& code, unsigned address) {
  code_start_ = address;
  code_end_ = address + 2 * static_cast<unsigned>(code.size());
  for (size_t n = 0; n < code.size(); ++n) {
    const unsigned offset = address - flash_address_ + 2 * static_cast<unsigned>(n);
    flash_memory_[offset] = static_cast<unsigned char>(code[n]);
    flash_memory_[offset + 1] = static_cast<unsigned char>(code[n] >> 8);
  }
  program_len_ = code_end_ - flash_address_;
  InitPcOffset2ArmFunction();
  pc() = address;
}

void CoreBench::Step() {
  pc() &= ~1u;
  const unsigned offset = pc() & ~flash_address_;
  *current_instruction_ = *pc_offset_2_my_insn_struct_ + offset;
  (*pc_offset_2_arm_function_)[offset]();
}

void CoreBench::Run() {
  for (unsigned n = (code_end_ - code_start_) / 2; n > 0; --n) {
    if (pc() < code_start_ || pc() >= code_end_) return;
    Step();
  }
}

void CoreBench::Run(const Code& code, unsigned address) {
  Load(code, address);
  Run();
}

std::string CoreBench::flags() {
  const unsigned psr = registers().xpsr();
  std::string text = "NZCV";
  for (unsigned n = 0; n < 4; ++n) {
    if ((psr << n >> 31) == 0) text[n] = '-';
  }
  return (psr & xpsr::kQ) != 0 ? text + "Q" : text;
}

void CoreBench::SetFlags(std::string_view flags) {
  constexpr std::string_view kLetters = "NZCVQ";
  for (size_t n = 0; n < kLetters.size(); ++n) {
    const unsigned bit = xpsr::kN >> n;
    const bool on = n < flags.size() && flags[n] == kLetters[n];
    registers().set_xpsr(on ? registers().xpsr() | bit : registers().xpsr() & ~bit);
  }
}

}  // namespace orvo
