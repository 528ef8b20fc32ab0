// What both engines show of the core after an instruction.
#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <string>

namespace orvo {

struct MachineState {
  std::array<unsigned, 15> r{};  // R0 to R12, SP, LR
  unsigned pc = 0;
  unsigned apsr = 0;  // N, Z, C, V, Q and GE[3:0]
  std::array<unsigned, 32> s{};
  unsigned fpscr = 0;  // N, Z, C, V and the cumulative flags IOC, DZC, OFC, UFC, IXC
};

inline constexpr unsigned kApsrBits = 0xf80f0000;
inline constexpr unsigned kFpscrBits = 0xf000001f;

// Two not-a-numbers count as equal: the host's arithmetic decides which one comes out.
inline bool SameFloat(unsigned a, unsigned b) {
  return a == b || (std::isnan(std::bit_cast<float>(a)) && std::isnan(std::bit_cast<float>(b)));
}

// What differs, a word each; empty when nothing does.
inline std::string Differences(const MachineState& oracle, const MachineState& ours) {
  std::string text;
  const auto note = [&](const std::string& name, unsigned a, unsigned b) {
    char line[64];
    std::snprintf(line, sizeof(line), " %s: oracle %08x ours %08x", name.c_str(), a, b);
    text += line;
  };
  for (unsigned n = 0; n < 15; ++n) {
    if (oracle.r[n] != ours.r[n]) note("r" + std::to_string(n), oracle.r[n], ours.r[n]);
  }
  if (oracle.pc != ours.pc) note("pc", oracle.pc, ours.pc);
  if (oracle.apsr != ours.apsr) note("apsr", oracle.apsr, ours.apsr);
  for (unsigned n = 0; n < 32; ++n) {
    if (!SameFloat(oracle.s[n], ours.s[n])) note("s" + std::to_string(n), oracle.s[n], ours.s[n]);
  }
  if (oracle.fpscr != ours.fpscr) note("fpscr", oracle.fpscr, ours.fpscr);
  return text;
}

}  // namespace orvo
