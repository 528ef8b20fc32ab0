// Moves, bitwise logic and its tests. Where C comes from is the point of most rows.

#include "instructions/instruction_case.h"

namespace orvo {
namespace {

// clang-format off
const InstructionCase kLogic[] = {
  {"and.w r0,r1,r2",         0xea010002, {0, 0xff00ff00, 0xf0f0f0f0}, "N-C-", {0xf000f000}, "N-C-"},
  {"ands r0,r1",             0x4008,     {0x80000001, 0x80000000},    "--C-", {0x80000000}, "N-C-"},
  {"ands r0,r1",             0x4008,     {1, 2},                      "N--V", {0},          "-Z-V"},
  {"and.w r0,r1,r2,lsl #1",  0xea010042, {0, ~0u, 0x80000001},        "----", {2},          "----"},
  // C of ands: from the shifter, or from the encoding of a rotated immediate.
  {"ands.w r0,r1,r2,lsl #1", 0xea110042, {0, ~0u, 0x80000001},        "----", {2},          "--C-"},
  {"ands r0,r1,#0x80000000", 0xf0114000, {0, ~0u},                    "----", {0x80000000}, "N-C-"},
  {"ands r0,r1,#0x100",      0xf4117080, {0, ~0u},                    "--C-", {0x100},      "----"},
  {"ands r0,r1,#0x800000",   0xf4110000, {0, 0},                      "--C-", {0},          "-Z--"},
  {"ands r0,r1,#0xff00ff00", 0xf01120ff, {0, ~0u},                    "----", {0xff00ff00}, "N---"},
  {"ands r0,r1,#0xff",       0xf01100ff, {0, ~0u},                    "--C-", {0xff},       "--C-"},
  {"ands r0,r0,#0x80000000", 0xf0104000, {1},                         "----", {0},          "-ZC-"},
  {"ands r0,r1,r2,asr #32",  0xea110022, {0, ~0u, 0x80000000},        "----", {~0u},        "N---"},
  {"ands r0,r1,r2,ror #4",   0xea111032, {0, ~0u, 8},                 "----", {0x80000000}, "N-C-"},
  // An operand written with rrx is lost; what C is set to comes from the amount, which is 0.
  {"ands r0,r1,r2,rrx",      0xea110032, {0, ~0u, 3},                 "--C-", {0},          "-Z--"},
  {"and r0,r1,r2,rrx",       0xea010032, {0, ~0u, 3},                 "--C-", {0x80000000}, "--C-"},
  {"orr.w r0,r1,r2",         0xea410002, {0, 0xf0, 0x0f},             "--C-", {0xff},       "--C-"},
  {"orrs r0,r1",             0x4308,     {0x80000000, 1},             "--C-", {0x80000001}, "N-C-"},
  {"orrs.w r0,r1,r2,lsr #1", 0xea510052, {0, 0, 3},                   "----", {1},          "--C-"},
  {"orrs r0,r1,#0x80000000", 0xf0514000, {0, 0},                      "----", {0x80000000}, "N---"},
  {"orrs r0,r1,#0x100",      0xf4517080, {0, 0},                      "--C-", {0x100},      "--C-"},
  {"orn r0,r1,r2",           0xea610002, {0, 0x0f, 0xff},             "----", {0xffffff0f}, "----"},
  {"orns r0,r1,#0x80000000", 0xf0714000, {0, 0},                      "----", {0x7fffffff}, "----"},
  {"orns r0,r1,r2,lsl #31",  0xea7170c2, {0, 0, 2},                   "----", {~0u},        "N-C-"},
  {"eor.w r0,r1,#0xff00ff",  0xf08110ff, {0, ~0u},                    "-Z--", {0xff00ff00}, "-Z--"},
  {"eors r0,r1",             0x4048,     {0xff, 0xff},                "--C-", {0},          "-ZC-"},
  {"eors r0,r1,#0x80000000", 0xf0914000, {0, 0},                      "----", {0x80000000}, "N---"},
  {"bic r0,r1,#0xff",        0xf02100ff, {0, 0xabcd},                 "N---", {0xab00},     "N---"},
  {"bics r0,r1",             0x4388,     {0xff, 0x0f},                "--C-", {0xf0},       "--C-"},
  {"bics r0,r1,#0x80000000", 0xf0314000, {0, ~0u},                    "----", {0x7fffffff}, "----"},
  {"bics.w r0,r1,r2,asr #1", 0xea310062, {0, 0xff, 3},                "----", {0xfe},       "--C-"},
};
// clang-format on

class Logic : public InstructionTest {};

TEST_P(Logic, GivesResultFlagsAndNextPc) { RunAndCompare(); }

INSTANTIATE_TEST_SUITE_P(Table, Logic, testing::ValuesIn(kLogic), CaseName);

// clang-format off
const InstructionCase kLogicTests[] = {
  {"tst r0,r1",          0x4208,     {0x80000001, 0x80000000}, "---V", {0x80000001}, "N--V"},
  {"tst r0,r1",          0x4208,     {1, 2},                   "N-C-", {1},          "-ZC-"},
  {"tst.w r0,r1,lsr #1", 0xea100f51, {1, 3},                   "----", {1},          "--C-"},
  {"tst r0,#0xff",       0xf0100fff, {0},                      "--C-", {0},          "-ZC-"},
  {"tst r0,#0x80000000", 0xf0104f00, {0},                      "----", {0},          "-ZC-"},
  {"tst r0,#0x40000000", 0xf0104f80, {0},                      "--C-", {0},          "-Z--"},
  // Not rotated, and yet C becomes bit 31 of the value.
  {"tst r0,#0xff00ff00", 0xf0102fff, {0xff},                   "----", {0xff},       "-ZC-"},
  {"tst r0,#0xff00ff",   0xf0101fff, {0xff},                   "--C-", {0xff},       "----"},
  {"teq r0,r1",          0xea900f01, {0, 0x80000000},          "---V", {0},          "N--V"},
  {"teq r0,r1",          0xea900f01, {7, 7},                   "----", {7},          "-Z--"},
  {"teq r0,r1,lsl #1",   0xea900f41, {0, 0x80000001},          "----", {0},          "--C-"},
  {"teq r0,#0x80000000", 0xf0904f00, {0},                      "----", {0},          "N-C-"},
  {"teq r0,#0xff00ff",   0xf0901fff, {0},                      "--C-", {0},          "----"},
  {"teq r0,#0xff",       0xf0900fff, {0xff},                   "--C-", {0xff},       "-ZC-"},
};
// clang-format on

class LogicTests : public InstructionTest {};

TEST_P(LogicTests, ChangesFlagsOnly) { RunAndCompare(); }

INSTANTIATE_TEST_SUITE_P(Table, LogicTests, testing::ValuesIn(kLogicTests), CaseName);

// clang-format off
const InstructionCase kMoves[] = {
  {"mov r0,r1",             0x4608,     {0, 0x80000000}, "-ZC-", {0x80000000}, "-ZC-"},
  {"movs r0,r1",            0x0008,     {0, 0x80000000}, "-ZCV", {0x80000000}, "N-CV"},
  {"movs r0,#0",            0x2000,     {5},             "N-C-", {0},          "-ZC-"},
  {"mov.w r0,#0xff00ff00",  0xf04f20ff, {0},             "-ZC-", {0xff00ff00}, "-ZC-"},
  // A rotated immediate would set C on the chip.
  {"movs.w r0,#0x80000000", 0xf05f4000, {0},             "----", {0x80000000}, "N---"},
  {"movs.w r0,#0x100",      0xf45f7080, {0},             "--C-", {0x100},      "--C-"},
  {"movw r0,#0xffff",       0xf64f70ff, {~0u},           "-ZC-", {0xffff},     "-ZC-"},
  {"movt r0,#0x1234",       0xf2c12034, {0xabcd5678},    "N---", {0x12345678}, "N---"},
  {"mvn r0,#0x80000000",    0xf06f4000, {0},             "----", {0x7fffffff}, "----"},
  {"mvns r0,#0x80000000",   0xf07f4000, {0},             "----", {0x7fffffff}, "--C-"},
  {"mvns r0,#0xff00ff",     0xf07f10ff, {0},             "--C-", {0xff00ff00}, "N---"},
  {"mvns r0,#0xff",         0xf07f00ff, {0},             "--C-", {0xffffff00}, "N-C-"},
  {"mvns r0,r1",            0x43c8,     {0, ~0u},        "----", {0},          "-Z--"},
  {"mvns.w r0,r1,lsl #1",   0xea7f0041, {0, 0x80000000}, "----", {~0u},        "N-C-"},
  {"mvn.w r0,r1,lsl #1",    0xea6f0041, {0, 0x80000000}, "----", {~0u},        "----"},
};
// clang-format on

class Moves : public InstructionTest {};

TEST_P(Moves, GivesResultFlagsAndNextPc) { RunAndCompare(); }

INSTANTIATE_TEST_SUITE_P(Table, Moves, testing::ValuesIn(kMoves), CaseName);

}  // namespace
}  // namespace orvo
