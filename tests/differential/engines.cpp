#include "engines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/decoder.h"
#include "deliberate_differences.h"

namespace orvo {
namespace {

constexpr unsigned kFirstCode = 0x9000;
constexpr unsigned kLastCode = 0xa000;
constexpr unsigned kMismatchesShown = 12;

// Fused forms and conversions out of range round in another place than there.
bool CumulativeFlagsCompare(const Sample& sample) {
  return sample.key.rfind("vf", 0) != 0 && sample.key.rfind("vcvt", 0) != 0;
}

}  // namespace

Engines::Engines(const std::function<unsigned()>& fill)
    : oracle_(Filled(fill), TestMcu::kFlashSizeBytes, TestMcu::kRamStart, TestMcu::kRamSizeBytes),
      code_address_(kFirstCode),
      code_end_(kFirstCode) {}

const unsigned char* Engines::Filled(const std::function<unsigned()>& fill) {
  for (unsigned n = 0; n < TestMcu::kFlashSizeBytes; n += 2) {
    const unsigned half = fill();
    OurFlash()[n] = static_cast<unsigned char>(half);
    OurFlash()[n + 1] = static_cast<unsigned char>(half >> 8);
  }
  return OurFlash();
}

void Engines::Load(const Code& code, bool on_odd_halfword, bool chained) {
  for (; !covered_.empty(); covered_.pop_back())
    WriteFlash(covered_.back().first, covered_.back().second.data(), covered_.back().second.size());
  code_address_ = (code_address_ & ~2u) + 64;
  if (code_address_ >= kLastCode) code_address_ = kFirstCode;
  code_address_ |= on_odd_halfword ? 2 : 0;
  code_end_ = code_address_ + 2 * static_cast<unsigned>(code.size());
  covered_.emplace_back(code_address_,
                        std::vector(OurFlash() + code_address_, OurFlash() + code_end_));
  AllowChaining(chained);
  bench_.mcu().stop_pc = code_end_;
  bench_.Load(code, code_address_);
  oracle_.WriteCode(code_address_, OurFlash() + code_address_, code_end_ - code_address_);
}

bool Engines::Write(unsigned address, const std::vector<unsigned char>& bytes) {
  const unsigned end = address + static_cast<unsigned>(bytes.size());
  if (address >= TestMcu::kRamStart && end <= TestMcu::kRamStart + TestMcu::kRamSizeBytes) {
    const unsigned offset = address - TestMcu::kRamStart;
    std::copy(bytes.begin(), bytes.end(), OurRam() + offset);
    std::copy(bytes.begin(), bytes.end(), oracle_.ram().begin() + offset);
    return true;
  }
  if (end < address || end > TestMcu::kFlashSizeBytes ||
      (address < code_end_ && end > code_address_))
    return false;
  covered_.emplace_back(address, std::vector(OurFlash() + address, OurFlash() + end));
  WriteFlash(address, bytes.data(), bytes.size());
  return true;
}

void Engines::WriteFlash(unsigned address, const unsigned char* bytes, size_t count) {
  std::copy_n(bytes, count, OurFlash() + address);
  oracle_.WriteCode(address, bytes, count);
}

void Engines::WriteOurs(const MachineState& state) {
  Registers& registers = bench_.registers();
  for (unsigned n = 0; n < 13; ++n) registers.r(n) = state.r[n];
  registers.word(kMsp) = state.r[13];
  registers.lr() = state.r[14];
  registers.set_xpsr(state.apsr);
  registers.fpscr() = state.fpscr;
  for (unsigned n = 0; n < 32; ++n) registers.s(n) = state.s[n];
  registers.control() = 0;
  registers.pc() = code_address_;
}
MachineState Engines::ReadOurs() {
  Registers& registers = bench_.registers();
  MachineState state;
  for (unsigned n = 0; n < 13; ++n) state.r[n] = registers.r(n);
  state.r[13] = registers.sp();
  state.r[14] = registers.lr();
  state.pc = registers.pc() & ~1u;
  state.apsr = registers.xpsr() & kApsrBits;
  state.fpscr = registers.fpscr() & kFpscrBits;
  for (unsigned n = 0; n < 32; ++n) state.s[n] = registers.s(n);
  return state;
}

void Engines::Run(MachineState before, size_t steps, Stop stop, const Sample* single,
                  const std::string& what) {
  before.pc = code_address_;
  oracle_.WriteState(before);
  const bool straight = stop == Stop::kBehindTheCode;
  auto [expected, reached_end] =
      oracle_.Run(code_address_, straight ? code_end_ : Oracle::kNowhere);
  if (straight ? !reached_end : IsInCode(expected.pc)) {
    ++refused_;
    std::copy_n(OurRam(), TestMcu::kRamSizeBytes, oracle_.ram().begin());
    return;
  }
  if (single != nullptr) ApplyDeliberateDifferences(*single, before, expected);
  WriteOurs(before);
  for (size_t n = 0; n < steps && IsInCode(bench_.pc()); ++n) bench_.Step();
  const MachineState ours = ReadOurs();
  ++cases_;
  if (single != nullptr && !CumulativeFlagsCompare(*single))
    expected.fpscr = (expected.fpscr & ~0x1fu) | (ours.fpscr & 0x1f);
  std::string difference = Differences(expected, ours);
  if (std::memcmp(OurRam(), oracle_.ram().data(), TestMcu::kRamSizeBytes) != 0) {
    difference += " memory";
    std::copy_n(OurRam(), TestMcu::kRamSizeBytes, oracle_.ram().begin());
  }
  if (!difference.empty()) Report(before, what, difference);
}

void Engines::Report(const MachineState& before, const std::string& what,
                     const std::string& difference) {
  if (mismatches_[what]++ > 0 || mismatches_.size() > kMismatchesShown) return;
  std::string state;
  char word[32];
  for (unsigned n = 0; n < 15; ++n) {
    std::snprintf(word, sizeof(word), " r%u=%08x", n, before.r[n]);
    state += word;
  }
  std::snprintf(word, sizeof(word), " apsr=%08x fpscr=%08x", before.apsr, before.fpscr);
  ADD_FAILURE() << what << "\n " << difference << "\n  before:" << state << word;
}

std::string Text(const Sample& sample) {
  std::string text = sample.disassembly.parts.mnemonic + " " + sample.disassembly.operand_text;
  for (const unsigned short half : sample.code) {
    char hex[8];
    std::snprintf(hex, sizeof(hex), " %04x", half);
    text += hex;
  }
  return text;
}

}  // namespace orvo
