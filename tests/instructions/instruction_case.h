// A table row of one data-processing instruction: what stands in registers and flags before and
// after it.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "instructions/case_name.h"
#include "support/core_bench.h"

namespace orvo {

struct InstructionCase {
  const char* assembly;
  unsigned encoding;             // of 32 bits if its upper half isn't 0, first halfword on top
  std::vector<unsigned> before;  // r0, r1, ..; the others hold markers
  const char* flags;
  std::vector<unsigned> after;  // r0, r1, ..; the others don't change
  const char* flags_after;
};

inline std::ostream& operator<<(std::ostream& out, const InstructionCase& c) {
  out << c.assembly << " with" << std::hex;
  for (const unsigned value : c.before) out << " 0x" << value;
  return out << std::dec << " and " << c.flags;
}

inline std::string CaseName(const testing::TestParamInfo<InstructionCase>& info) {
  return RowName(info);
}

// What a register holds that a row doesn't mention.
constexpr unsigned Marker(unsigned n) { return 0xa0000000 + n; }

class InstructionTest : public testing::TestWithParam<InstructionCase> {
 protected:
  // Executes the row's instruction and compares all registers, the flags and pc.
  void RunAndCompare() {
    const InstructionCase& row = GetParam();
    std::vector<unsigned> expected(13);
    for (unsigned n = 0; n < expected.size(); ++n) {
      bench.r(n) = n < row.before.size() ? row.before[n] : Marker(n);
      expected[n] = n < row.after.size() ? row.after[n] : bench.r(n);
    }
    bench.registers().lr() = Marker(14);
    bench.SetFlags(row.flags);
    const unsigned sp = bench.registers().sp();
    Code code = {static_cast<unsigned short>(row.encoding)};
    if (row.encoding > 0xffff)
      code.insert(code.begin(), static_cast<unsigned short>(row.encoding >> 16));

    bench.Run(code);

    for (unsigned n = 0; n < expected.size(); ++n) {
      EXPECT_EQ(bench.r(n), expected[n]) << "r" << n << std::hex << ", 0x" << bench.r(n);
    }
    EXPECT_EQ(bench.registers().lr(), Marker(14));
    EXPECT_EQ(bench.registers().sp(), sp);
    EXPECT_EQ(bench.flags(), row.flags_after);
    EXPECT_EQ(bench.pc(), CoreBench::kCodeAddress + 2 * code.size());
  }

  CoreBench bench;
};

}  // namespace orvo
