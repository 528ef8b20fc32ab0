// A table row of one floating point instruction: its sources, its result and the cumulative flags.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <ostream>

#include "core/host_float.h"
#include "support/core_bench.h"

namespace orvo {

constexpr unsigned kFpContext = control::kFpContext;

constexpr unsigned Bits(float value) { return std::bit_cast<unsigned>(value); }

constexpr unsigned kInf = 0x7f800000;
constexpr unsigned kNegative = 0x80000000;
constexpr unsigned kMax = 0x7f7fffff;
constexpr unsigned kMinNormal = 0x00800000;
constexpr unsigned kQuietA = 0x7fc00aaa;
constexpr unsigned kQuietB = 0xffc00bbb;
constexpr unsigned kSignalling = 0x7f800ccc;
constexpr unsigned kQuietedSignalling = 0x7fc00ccc;

using fpscr::kDzc, fpscr::kIoc, fpscr::kIxc, fpscr::kOfc, fpscr::kUfc;

inline Code Wide(unsigned encoding) {
  return {static_cast<unsigned short>(encoding >> 16), static_cast<unsigned short>(encoding)};
}

struct FloatCase {
  const char* name;
  unsigned encoding;  // destination s0, sources s1 and s2
  unsigned s0;
  unsigned s1;
  unsigned s2;
  unsigned result;
  unsigned fpscr;  // 0 before
  unsigned control = kFpContext;
};

inline std::ostream& operator<<(std::ostream& out, const FloatCase& c) { return out << c.name; }

class FloatTest : public testing::TestWithParam<FloatCase> {
 protected:
  // Executes the row's instruction and compares S registers, flags, CONTROL and pc.
  void RunAndCompare() {
    const FloatCase& row = GetParam();
    CoreBench bench;
    Registers& registers = bench.registers();
    registers.s(0) = row.s0;
    registers.s(1) = row.s1;
    registers.s(2) = row.s2;
    bench.Run(Wide(row.encoding));
    EXPECT_EQ(registers.s(0), row.result) << std::hex << registers.s(0);
    EXPECT_EQ(registers.s(1), row.s1);
    EXPECT_EQ(registers.s(2), row.s2);
    EXPECT_EQ(registers.fpscr(), row.fpscr);
    EXPECT_EQ(registers.control(), row.control);
    EXPECT_EQ(registers.xpsr(), 0u);
    EXPECT_EQ(bench.pc(), CoreBench::kCodeAddress + 4);
  }
};

const auto kFloatCaseName = [](const auto& row) { return row.param.name; };

}  // namespace orvo
