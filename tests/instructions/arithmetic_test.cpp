// Addition, subtraction and comparison, from machine code to registers and flags.

#include "instructions/instruction_case.h"

namespace orvo {
namespace {

// clang-format off
const InstructionCase kArithmetic[] = {
  {"add.w r0,r1,r2",         0xeb010002, {0, ~0u, 1},                 "N--V", {0},          "N--V"},
  {"adds r0,r1,r2",          0x1888,     {0, ~0u, 1},                 "----", {0},          "-ZC-"},
  {"adds r0,r1,r2",          0x1888,     {0, 0x7fffffff, 1},          "--C-", {0x80000000}, "N--V"},
  {"adds r0,r1,r2",          0x1888,     {0, 0x80000000, 0x80000000}, "----", {0},          "-ZCV"},
  {"adds r0,#255",           0x30ff,     {1},                         "--C-", {0x100},      "----"},
  {"addw r0,r1,#0xfff",      0xf60170ff, {0, 1},                      "-ZC-", {0x1000},     "-ZC-"},
  {"add r0,r8",              0x4440,     {1},                         "N---", {0xa0000009}, "N---"},
  {"add.w r0,r1,r2,lsl #4",  0xeb011002, {0, 1, 0xf0000010},          "----", {0x101},      "----"},
  {"add.w r0,r1,r2,lsr #32", 0xeb010012, {0, 1, ~0u},                 "----", {1},          "----"},
  {"add.w r0,r1,r2,asr #31", 0xeb0170e2, {0, 1, 0x80000000},          "----", {0},          "----"},
  {"add.w r0,r1,r2,ror #4",  0xeb011032, {0, 1, 0x21},                "----", {0x10000003}, "----"},
  // The shifter does not reach C, the sum does.
  {"adds.w r0,r1,r2,lsl #1", 0xeb110042, {0, 0, 0x80000001},          "----", {2},          "----"},
  // An operand written with rrx is lost: only the old C is left of it.
  {"add.w r0,r1,r2,rrx",     0xeb010032, {0, 5, ~0u},                 "--C-", {0x80000005}, "--C-"},
  {"subs r0,r1,r2",          0x1a88,     {0, 5, 3},                   "----", {2},          "--C-"},
  {"subs r0,r1,r2",          0x1a88,     {0, 3, 5},                   "--C-", {0xfffffffe}, "N---"},
  {"subs r0,r1,r2",          0x1a88,     {0, 0x80000000, 1},          "----", {0x7fffffff}, "--CV"},
  {"subs r0,#7",             0x3807,     {7},                         "----", {0},          "-ZC-"},
  {"subw r0,r1,#0xfff",      0xf6a170ff, {0, 0x1000},                 "-Z--", {1},          "-Z--"},
  {"sub.w r0,r1,r2,asr #4",  0xeba11022, {0, 0, 0x80000000},          "----", {0x08000000}, "----"},
  {"rsbs r0,r1,#0",          0x4248,     {0, 1},                      "----", {~0u},        "N---"},
  {"rsbs r0,r1,#0",          0x4248,     {1, 0},                      "----", {0},          "-ZC-"},
  {"rsbs r0,r1,#0",          0x4248,     {0, 0x80000000},             "----", {0x80000000}, "N--V"},
  {"rsb r0,r1,r2,lsl #3",    0xebc100c2, {0, 1, 1},                   "-Z--", {7},          "-Z--"},
  {"adcs r0,r1",             0x4148,     {1, ~0u},                    "--C-", {1},          "--C-"},
  {"adcs r0,r1",             0x4148,     {0x7fffffff, 0},             "--C-", {0x80000000}, "N--V"},
  {"adcs.w r0,r1,r2,lsl #1", 0xeb510042, {0, 0, 0x80000000},          "--C-", {1},          "----"},
  {"adc r0,r1,#1",           0xf1410001, {0, 1},                      "--C-", {3},          "--C-"},
  {"sbcs r0,r1",             0x4188,     {5, 3},                      "----", {1},          "--C-"},
  {"sbcs r0,r1",             0x4188,     {5, 3},                      "--C-", {2},          "--C-"},
  {"sbcs r0,r1",             0x4188,     {0, 0},                      "----", {~0u},        "N---"},
  {"sbc.w r0,r1,r2",         0xeb610002, {0, 0, 0},                   "-Z--", {~0u},        "-Z--"},
  {"cmp r0,r1",              0x4288,     {1, 1},                      "----", {1},          "-ZC-"},
  {"cmp.w r0,#-1",           0xf1b03fff, {0},                         "--C-", {0},          "----"},
  {"cmp.w r0,r1,lsl #1",     0xebb00f41, {2, 0x80000001},             "N---", {2},          "-ZC-"},
  {"cmp r8,r9",              0x45c8,     {},                          "--C-", {},           "N---"},
  {"cmn r0,r1",              0x42c8,     {~0u, 1},                    "----", {~0u},        "-ZC-"},
  {"cmn.w r0,#1",            0xf1100f01, {0x7fffffff},                "----", {0x7fffffff}, "N--V"},
};
// clang-format on

class Arithmetic : public InstructionTest {};

TEST_P(Arithmetic, GivesResultFlagsAndNextPc) { RunAndCompare(); }

INSTANTIATE_TEST_SUITE_P(Table, Arithmetic, testing::ValuesIn(kArithmetic), CaseName);

// adr and its wide form count from the aligned pc.
TEST(Adr, CountsFromPcRoundedDownToAWord) {
  CoreBench bench;
  bench.Run({0xa001}, 0x1000);  // adr r0, #4
  EXPECT_EQ(bench.r(0), 0x1008u);
  bench.Run({0xa001}, 0x1002);
  EXPECT_EQ(bench.r(0), 0x1008u);
  bench.Run({0xf2af, 0x0004}, 0x1002);  // adr.w r0, #-4, as subw r0, pc, #4
  EXPECT_EQ(bench.r(0), 0x1000u);
}

}  // namespace
}  // namespace orvo
