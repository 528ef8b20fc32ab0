#include "core/trace_modes.h"

#include <cstdio>
#include <cstring>
#include <unordered_map>

#include "core/globals.h"
#include "core/registers.h"
#include "mcu/mcu.h"
#include "runner/args_manager.h"

namespace orvo {
namespace {

struct Traced {
  Disassembly disassembly;
  std::string key;
  Function function;
};

// By program offset; empty unless -c asks for a mode.
std::unordered_map<unsigned, Traced> pc_offset_2_arm_capstone_struct_;

const Traced& Current() {
  return pc_offset_2_arm_capstone_struct_.at(registers_->pc() & ~flash_address_);
}

bool Prints() { return ArgsManager::Get().start_tick <= mcu_->clock().ticks(); }

}  // namespace

Function TraceFunction(unsigned mode, unsigned offset, const Disassembly& disassembly,
                       const std::string& key, Function function) {
  pc_offset_2_arm_capstone_struct_.insert_or_assign(offset, Traced{disassembly, key, function});
  return mode == 1 ? &LineMode : &VerboseMode;
}

void ForgetTracedInstructions() { pc_offset_2_arm_capstone_struct_.clear(); }

void PrintInstruction(const Disassembly& disassembly, const std::string& key) {
  unsigned machine_code;
  std::memcpy(&machine_code, disassembly.bytes.data(), sizeof(machine_code));
  std::printf("0x0%lx:\t0x%x\t%s\t\t%s\n", static_cast<unsigned long>(disassembly.address),
              machine_code, key.c_str(), disassembly.operand_text.c_str());
  std::printf("\tCPSR: 0x%x \tTickCount: %llu\n", registers_->xpsr(),
              static_cast<unsigned long long>(mcu_->clock().ticks()));
}

void LineMode() {
  const Traced& traced = Current();
  if (Prints()) {
    std::printf("0x0%lx:\t%llu:\tISRn=%d\t\t%s\t\t%s\r\n",
                static_cast<unsigned long>(traced.disassembly.address),
                static_cast<unsigned long long>(mcu_->clock().ticks()),
                static_cast<int>(registers_->status() & xpsr::kExceptionNumber), traced.key.c_str(),
                traced.disassembly.operand_text.c_str());
  }
  traced.function();
}

void VerboseMode() {
  const Traced& traced = Current();
  if (!Prints()) return traced.function();
  PrintInstruction(traced.disassembly, traced.key);
  CapstoneResolver::print_insn_detail(traced.disassembly, *registers_);
  traced.function();
  CapstoneResolver::print_insn_detail(traced.disassembly, *registers_);
}

}  // namespace orvo
