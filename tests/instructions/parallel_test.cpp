// Saturating and parallel arithmetic, and the GE flags between uadd8 and sel.

#include "instructions/instruction_case.h"

namespace orvo {
namespace {

// clang-format off
const InstructionCase kParallel[] = {
  {"qadd r0,r1,r2",    0xfa82f081, {0, 5, 0xfffffff9},          "N-C-",  {0xfffffffe}, "N-C-"},
  {"qadd r0,r1,r2",    0xfa82f081, {0, 0x7fffffff, 1},          "----",  {0x7fffffff}, "----Q"},
  {"qadd r0,r1,r2",    0xfa82f081, {0, 0x80000000, ~0u},        "----",  {0x80000000}, "----Q"},
  {"qadd r0,r1,r2",    0xfa82f081, {0, 1, 1},                   "----Q", {2},          "----Q"},
  {"qadd16 r0,r1,r2",  0xfa91f012, {0, 0x7fff8000, 0x1ffff},    "----",  {0x7fff8000}, "----"},
  {"qadd8 r0,r1,r2",   0xfa81f012, {0, 0x7f800102, 0x01ff0304}, "----",  {0x7f800406}, "----"},
  {"qsub r0,r1,r2",    0xfa82f0a1, {0, 5, 7},                   "----",  {0xfffffffe}, "----"},
  {"qsub r0,r1,r2",    0xfa82f0a1, {0, 0x80000000, 1},          "----",  {0x80000000}, "----Q"},
  // The most negative value stays negative when it is negated.
  {"qsub r0,r1,r2",    0xfa82f0a1, {0, 0, 0x80000000},          "----",  {0x80000000}, "----"},
  {"qsub r0,r1,r2",    0xfa82f0a1, {0, ~0u, 0x80000000},        "----",  {0x80000000}, "----Q"},
  {"qsub16 r0,r1,r2",  0xfad1f012, {0, 0x80000005, 0x10007},    "----",  {0x8000fffe}, "----"},
  {"qsub16 r0,r1,r2",  0xfad1f012, {0, 0, 0x80000001},          "----",  {0x8000ffff}, "----"},
  {"qsub8 r0,r1,r2",   0xfac1f012, {0, 0x80, 0x80010001},       "----",  {0x80ff0080}, "----"},
  {"qasx r0,r1,r2",    0xfaa1f012, {0, 0x50007, 0x30002},       "----",  {0x00070004}, "----"},
  {"qasx r0,r1,r2",    0xfaa1f012, {0, 0x7fff8000, 0x10002},    "----",  {0x7fff8000}, "----"},
  {"qsax r0,r1,r2",    0xfae1f012, {0, 0x50007, 0x30002},       "----",  {0x0003000a}, "----"},
  {"qsax r0,r1,r2",    0xfae1f012, {0, 0x80007fff, 0x30002},    "----",  {0x80007fff}, "----"},
  // No negation before the sum here.
  {"qasx r0,r1,r2",    0xfaa1f012, {0, 0, 0x80000000},          "----",  {0x7fff},     "----"},
  {"qsax r0,r1,r2",    0xfae1f012, {0, 0, 0x8000},              "----",  {0x7fff0000}, "----"},
  {"qdadd r0,r1,r2",   0xfa82f091, {0, 1, 2},                   "----",  {5},          "----"},
  {"qdadd r0,r1,r2",   0xfa82f091, {0, 0x80000000, 0x40000000}, "----",  {~0u},        "----Q"},
  {"qdadd r0,r1,r2",   0xfa82f091, {0, 0x7fffffff, 1},          "----",  {0x7fffffff}, "----Q"},
  {"shsub16 r0,r1,r2", 0xfad1f022, {0, 0x50003, 0x10004},       "----",  {0x2ffff},    "----"},
  {"shsub16 r0,r1,r2", 0xfad1f022, {0, 0x80007fff, 0x7fff8000}, "----",  {0x80007fff}, "----"},
  {"shasx r0,r1,r2",   0xfaa1f022, {0, 0x50007, 0x30002},       "----",  {0x30002},    "----"},
  {"shasx r0,r1,r2",   0xfaa1f022, {0, 0x7fff8000, 0x7fff7fff}, "----",  {0x7fff8000}, "----"},
  {"shsax r0,r1,r2",   0xfae1f022, {0, 0x50007, 0x30002},       "----",  {0x00010005}, "----"},
  {"uadd8 r0,r1,r2",   0xfa81f042, {0, 0xff01807f, 0x01018001}, "N-C-",  {0x20080},    "N-C-"},
};
// clang-format on

class Parallel : public InstructionTest {};

TEST_P(Parallel, GivesResultFlagsAndNextPc) { RunAndCompare(); }

INSTANTIATE_TEST_SUITE_P(Table, Parallel, testing::ValuesIn(kParallel), CaseName);

TEST(Uadd8, SetsGeOfLanesThatCarry) {
  CoreBench bench;
  bench.r(1) = 0xff01807f;
  bench.r(2) = 0x01018001;
  bench.Run({0xfa81, 0xf042});  // uadd8 r0, r1, r2
  EXPECT_EQ(bench.ge(), 0b1010u);
  bench.r(1) = 0x00fe00ff;  // sums of 0xff and 0x100 in lanes 2 and 0
  bench.Run({0xfa81, 0xf042});
  EXPECT_EQ(bench.ge(), 0b0001u);
}

TEST(Sel, TakesLanesWithGeFromTheFirstSource) {
  CoreBench bench;
  bench.registers().set_xpsr(bench.registers().xpsr() | xpsr::Ge(3) | xpsr::Ge(0));
  bench.r(1) = 0x11223344;
  bench.r(2) = 0xaabbccdd;
  bench.Run({0xfaa1, 0xf082});  // sel r0, r1, r2
  EXPECT_EQ(bench.r(0), 0x11bbcc44u);
}

}  // namespace
}  // namespace orvo
