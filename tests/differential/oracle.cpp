#include "oracle.h"

#include <unicorn/unicorn.h>

#include <algorithm>
#include <stdexcept>
#include <string>

namespace orvo {
namespace {

constexpr unsigned kFlashStart = 0;
constexpr unsigned kWritesPerFlush = 1000;
// Coprocessors 10 and 11, the floating point unit, with full access.
constexpr unsigned kCpacrFpu = 0xfu << 20;

constexpr unsigned kThumb = 1u << 24;  // of xPSR
constexpr unsigned char kVmov[] = {0xb0, 0xee, 0x40, 0x0a};  // vmov.f32 s0, s0

void Check(uc_err error, const char* what) {
  if (error != UC_ERR_OK) throw std::runtime_error(std::string(what) + ": " + uc_strerror(error));
}

// The registers of a MachineState in its order. Flags have one name for writing and another one
// for reading.
constexpr int kRegisterCount = 15 + 2 + 32;

struct RegisterNames {
  int ids[kRegisterCount];
  explicit RegisterNames(int flags) {
    for (int n = 0; n < 13; ++n) ids[n] = UC_ARM_REG_R0 + n;
    ids[13] = UC_ARM_REG_SP;
    ids[14] = UC_ARM_REG_LR;
    ids[15] = flags;
    ids[16] = UC_ARM_REG_FPSCR;
    for (int n = 0; n < 32; ++n) ids[17 + n] = UC_ARM_REG_S0 + n;
  }
};

RegisterNames to_write(UC_ARM_REG_APSR_NZCVQG);
RegisterNames to_read(UC_ARM_REG_APSR);

}  // namespace

Oracle::Oracle(const unsigned char* flash, size_t flash_bytes, unsigned ram_start, size_t ram_bytes)
    : flash_(flash, flash + flash_bytes), ram_(ram_bytes) {
  Check(uc_open(UC_ARCH_ARM, static_cast<uc_mode>(UC_MODE_THUMB | UC_MODE_MCLASS), &engine_),
        "uc_open");
  Check(uc_ctl_set_cpu_model(engine_, UC_CPU_ARM_CORTEX_M4), "cpu model");
  Check(uc_mem_map_ptr(engine_, kFlashStart, flash_bytes, UC_PROT_READ | UC_PROT_EXEC, flash_.data()), "flash");
  Check(uc_mem_map_ptr(engine_, ram_start, ram_bytes, UC_PROT_READ | UC_PROT_WRITE, ram_.data()),
        "ram");
  unsigned cpacr = kCpacrFpu;
  Check(uc_reg_write(engine_, UC_ARM_REG_C1_C0_2, &cpacr), "CPACR");
  // The first floating point instruction opens a context and resets FPSCR: let it be this one.
  const std::vector<unsigned char> covered(flash_.begin(), flash_.begin() + sizeof(kVmov));
  WriteCode(kFlashStart, kVmov, sizeof(kVmov));
  Check(uc_emu_start(engine_, kFlashStart | 1, kFlashStart + sizeof(kVmov), 0, 0), "vmov");
  WriteCode(kFlashStart, covered.data(), covered.size());
}

Oracle::~Oracle() { uc_close(engine_); }

void Oracle::WriteCode(unsigned address, const unsigned char* bytes, size_t count) {
  std::copy_n(bytes, count, flash_.begin() + address);
  Check(uc_ctl_remove_cache(engine_, address, address + count), "remove cache");
  // Removed translations keep their room until all are thrown away, and without room the library
  // crashes.
  if (++writes_ % kWritesPerFlush == 0) Check(uc_ctl_flush_tlb(engine_), "flush");
}

void Oracle::WriteState(const MachineState& state) {
  unsigned words[kRegisterCount];
  void* pointers[kRegisterCount];
  std::copy(state.r.begin(), state.r.end(), words);
  words[15] = state.apsr;
  words[16] = state.fpscr;
  std::copy(state.s.begin(), state.s.end(), words + 17);
  for (int n = 0; n < kRegisterCount; ++n) pointers[n] = &words[n];
  // Closes an IT block that a run left in the middle.
  Check(uc_reg_write(engine_, UC_ARM_REG_XPSR, &kThumb), "write xPSR");
  Check(uc_reg_write_batch(engine_, to_write.ids, pointers, kRegisterCount), "write registers");
}

MachineState Oracle::ReadState() {
  MachineState state;
  unsigned words[kRegisterCount] = {};
  void* pointers[kRegisterCount];
  for (int n = 0; n < kRegisterCount; ++n) pointers[n] = &words[n];
  Check(uc_reg_read_batch(engine_, to_read.ids, pointers, kRegisterCount), "read registers");
  std::copy_n(words, 15, state.r.begin());
  state.apsr = words[15] & kApsrBits;
  state.fpscr = words[16] & kFpscrBits;
  std::copy_n(words + 17, 32, state.s.begin());
  Check(uc_reg_read(engine_, UC_ARM_REG_PC, &state.pc), "read pc");
  state.pc &= ~1u;
  return state;
}

Oracle::Outcome Oracle::Run(unsigned pc, unsigned end) {
  const bool reached_end = uc_emu_start(engine_, pc | 1, end, 0, 0) == UC_ERR_OK;
  return {ReadState(), reached_end};
}

}  // namespace orvo
