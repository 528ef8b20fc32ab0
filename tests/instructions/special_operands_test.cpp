// Stack pointer, link register and pc as operands of data-processing instructions.

#include <gtest/gtest.h>

#include "support/core_bench.h"

namespace orvo {
namespace {

class SpecialOperands : public testing::Test {
 protected:
  CoreBench bench;
  Registers& registers = bench.registers();
};

TEST_F(SpecialOperands, StackPointerIsReadAndWrittenInItsBank) {
  registers.word(kMsp) = 0x20001000;
  registers.word(kPsp) = 0x20002000;
  bench.r(1) = 0x10;
  bench.Run({0x4668});  // mov r0, sp
  EXPECT_EQ(bench.r(0), 0x20001000u);
  registers.control() = control::kProcessStack;
  bench.Run({0x4668});
  EXPECT_EQ(bench.r(0), 0x20002000u);
  bench.Run({0xb082});  // sub sp, #8
  EXPECT_EQ(registers.word(kPsp), 0x20001ff8u);
  bench.Run({0xeb0d, 0x0d81});  // add.w sp, sp, r1, lsl #2
  EXPECT_EQ(registers.word(kPsp), 0x20002038u);
  EXPECT_EQ(registers.word(kMsp), 0x20001000u);
  EXPECT_EQ(registers.word(kSp), 0u);  // the id's own word is never used
}

TEST_F(SpecialOperands, StackPointerIsASourceAndAComparand) {
  registers.word(kMsp) = 0x20001000;
  bench.r(1) = 3;
  bench.Run({0xa801});  // add r0, sp, #4
  EXPECT_EQ(bench.r(0), 0x20001004u);
  bench.Run({0xeb0d, 0x0081});  // add.w r0, sp, r1, lsl #2
  EXPECT_EQ(bench.r(0), 0x2000100cu);
  bench.r(0) = 0x20001000;
  bench.Run({0x4585});  // cmp sp, r0
  EXPECT_EQ(bench.flags(), "-ZC-");
}

TEST_F(SpecialOperands, LowestStackPointerIsKept) {
  registers.init(CoreBench::kCodeAddress, 0x20001000);
  registers.TrackStackDepth(true);
  bench.Run({0xb082, 0xb082, 0xb002});  // sub sp, #8, twice; add sp, #8
  EXPECT_EQ(registers.sp_min(), 0x20000ff0u);
}

TEST_F(SpecialOperands, LinkRegisterIsPlain) {
  registers.lr() = 0x100;
  bench.r(1) = 4;
  bench.Run({0xf04e, 0x0e01});  // orr.w lr, lr, #1
  EXPECT_EQ(registers.lr(), 0x101u);
  bench.Run({0xeb0e, 0x0041});  // add.w r0, lr, r1, lsl #1
  EXPECT_EQ(bench.r(0), 0x109u);
}

struct PcCase {
  const char* name;
  Code code;
  unsigned address;
  unsigned r0;  // after it, 0 before
};

class PcAsSource : public SpecialOperands, public testing::WithParamInterface<PcCase> {};

TEST_P(PcAsSource, IsSeenAheadOfTheInstruction) {
  const PcCase& row = GetParam();
  bench.Run(row.code, row.address);
  EXPECT_EQ(bench.r(0), row.r0);
}

// clang-format off
const PcCase kPcSources[] = {
    {"mov_aligned",   {0x4678},         0x1000, 0x1004},
    {"mov_between",   {0x4678},         0x1002, 0x1004},
    // Only add and sub of the plain register see it unaligned.
    {"add_aligned",   {0x4478},         0x1000, 0x1004},
    {"add_between",   {0x4478},         0x1002, 0x1006},
    {"wide_add",      {0xf10f, 0x0004}, 0x1002, 0x100a},
    {"addw",          {0xf20f, 0x0004}, 0x1002, 0x1008},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Table, PcAsSource, testing::ValuesIn(kPcSources),
                         [](const auto& row) { return row.param.name; });

// There is no branch here: pc takes the value and moves on by the size.
TEST_F(SpecialOperands, PcAsDestinationContinuesBehindTheValue) {
  registers.lr() = 0x2001;
  bench.Run({0x46f7});  // mov pc, lr
  EXPECT_EQ(bench.pc(), 0x2003u);
  bench.r(0) = 0x100;
  bench.Run({0x4487}, 0x1000);  // add pc, r0
  EXPECT_EQ(bench.pc(), 0x1106u);
}

}  // namespace
}  // namespace orvo
