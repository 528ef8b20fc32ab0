// Data-processing instructions inside IT blocks: conditions, the IT state, and flags that a 16-bit
// instruction doesn't set there.

#include <gtest/gtest.h>

#include "core/it_state.h"
#include "runner/errors.h"
#include "support/core_bench.h"

namespace orvo {
namespace {

struct BlockCase {
  const char* name;
  Code code;
  const char* flags;
  std::vector<unsigned> before;
  std::vector<unsigned> after;
};

std::ostream& operator<<(std::ostream& out, const BlockCase& c) { return out << c.name; }

class ItBlock : public testing::TestWithParam<BlockCase> {
 protected:
  CoreBench bench;
};

// No row has an instruction that sets flags.
TEST_P(ItBlock, ExecutesWhatItsConditionsLet) {
  const BlockCase& row = GetParam();
  for (unsigned n = 0; n < row.before.size(); ++n) bench.r(n) = row.before[n];
  bench.SetFlags(row.flags);
  bench.Run(row.code);
  for (unsigned n = 0; n < row.after.size(); ++n) EXPECT_EQ(bench.r(n), row.after[n]) << "r" << n;
  EXPECT_EQ(bench.flags(), row.flags);
  EXPECT_EQ(GetItReg(), 0u);
  EXPECT_EQ(bench.pc(), CoreBench::kCodeAddress + 2 * row.code.size());
}

// clang-format off
const BlockCase kBlocks[] = {
    // ite eq; moveq r0, #1; movne r0, #2
    {"then",            {0xbf0c, 0x2001, 0x2002},         "-Z--", {0},       {1}},
    {"otherwise",       {0xbf0c, 0x2001, 0x2002},         "N---", {0},       {2}},
    // itett eq; addeq r0, r0, r1; subne r2, r2, r1; rsbeq r3, r1, #0; orreq.w r4, r1, #255
    {"mixed_sizes_eq",  {0xbf09, 0x1840, 0x1a52, 0x424b, 0xf041, 0x04ff}, "-ZC-",
                        {1, 2, 5, 7, 9}, {3, 2, 5, ~1u, 255}},
    {"mixed_sizes_ne",  {0xbf09, 0x1840, 0x1a52, 0x424b, 0xf041, 0x04ff}, "--C-",
                        {1, 2, 5, 7, 9}, {1, 2, 3, 7, 9}},
    // itttt eq; four times addeq r0, #1
    {"four",            {0xbf01, 0x3001, 0x3001, 0x3001, 0x3001}, "-Z--", {0}, {4}},
    {"none_of_four",    {0xbf01, 0x3001, 0x3001, 0x3001, 0x3001}, "N-CV", {0}, {0}},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Table, ItBlock, testing::ValuesIn(kBlocks),
                         [](const auto& row) { return row.param.name; });

TEST(ItBlockFlags, ComparisonAndWideFlagSettingFormsChangeTheConditionOfTheNext) {
  CoreBench bench;
  bench.SetFlags("-Z--");
  bench.r(0) = 1;
  bench.Run({0xbf04, 0x2800, 0x2007});  // itt eq; cmpeq r0, #0; moveq r0, #7
  EXPECT_EQ(bench.flags(), "--C-");
  EXPECT_EQ(bench.r(0), 1u);

  bench.SetFlags("-Z--");
  bench.r(1) = ~0u;
  bench.Run({0xbf08, 0xeb10, 0x0001});  // it eq; addseq.w r0, r0, r1
  EXPECT_EQ(bench.flags(), "-ZC-");
}

TEST(ItBlockPc, SixteenBitAddOfPcSeesItAligned) {
  CoreBench bench;
  bench.SetFlags("-Z--");
  bench.Run({0xbf08, 0x4478}, 0x1000);  // it eq; addeq r0, pc at 0x1002
  EXPECT_EQ(bench.r(0), 0x1004u);
}

TEST(ItBlockKeys, QdaddInABlockHasNoFunction) {
  CoreBench bench;
  EXPECT_THROW(bench.Run({0xbf08, 0xfa82, 0xf091}), UnimplementedInstructionError);
}

// The plain uxtab shares the conditional function, so that it moves on a state it doesn't own.
TEST(ItBlockKeys, OnlyPlainUxtabAdvancesAStateThatIsStillOpen) {
  CoreBench bench;
  SetItReg(0x04);
  bench.Run({0xfa51, 0xf082});  // uxtab r0, r1, r2
  EXPECT_EQ(GetItReg(), 0x08u);
  SetItReg(0x04);
  bench.Run({0xfa11, 0xf082});  // uxtah r0, r1, r2
  EXPECT_EQ(GetItReg(), 0x04u);
}

}  // namespace
}  // namespace orvo
