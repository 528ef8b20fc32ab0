// Shifts and rotations by immediates and registers.

#include "instructions/instruction_case.h"

namespace orvo {
namespace {

// clang-format off
const InstructionCase kShift[] = {
  {"lsls r0,r1,#1",  0x0048,     {0, 0x80000001},      "----", {2},          "--C-"},
  {"lsls r0,r1",     0x4088,     {0xff, 32},           "----", {0},          "-ZC-"},
  {"lsls r0,r1",     0x4088,     {0xff, 33},           "--C-", {0},          "-Z--"},
  {"lsls r0,r1",     0x4088,     {5, 0x100},           "--C-", {5},          "--C-"},
  {"lsl.w r0,r1,r2", 0xfa01f002, {0, 0xff, 28},        "-ZC-", {0xf0000000}, "-ZC-"},
  {"lsl.w r0,r1,r2", 0xfa01f002, {0, 0xff, 255},       "N---", {0},          "N---"},
  {"lsrs r0,r1,#32", 0x0808,     {0, 0x80000000},      "----", {0},          "-ZC-"},
  {"lsrs r0,r1",     0x40c8,     {0x81, 1},            "----", {0x40},       "--C-"},
  {"lsrs r0,r1",     0x40c8,     {~0u, 33},            "--C-", {0},          "-Z--"},
  {"lsr.w r0,r1,#4", 0xea4f1011, {0, 0x80000008},      "----", {0x08000000}, "----"},
  {"lsr.w r0,r1,r2", 0xfa21f002, {0, ~0u, 31},         "-Z--", {1},          "-Z--"},
  {"asrs r0,r1,#31", 0x17c8,     {0, 0xc0000000},      "----", {~0u},        "N-C-"},
  // From 32 on C keeps its value.
  {"asrs r0,r1,#32", 0x1008,     {0, 0x80000000},      "----", {~0u},        "N---"},
  {"asrs r0,r1",     0x4108,     {0x80000000, 32},     "----", {~0u},        "N---"},
  {"asrs r0,r1",     0x4108,     {0x7fffffff, 200},    "--C-", {0},          "-ZC-"},
  {"asrs r0,r1",     0x4108,     {0x80000000, 0x100},  "--C-", {0x80000000}, "N-C-"},
  {"asr.w r0,r1,r2", 0xfa41f002, {0, 0x80000000, 255}, "-Z--", {~0u},        "-Z--"},
  {"rors r0,r1",     0x41c8,     {1, 1},               "----", {0x80000000}, "N-C-"},
  {"rors r0,r1",     0x41c8,     {0x80000001, 32},     "----", {0x80000001}, "N-C-"},
  {"rors r0,r1",     0x41c8,     {1, 0},               "--C-", {1},          "--C-"},
  {"ror r0,r1,#4",   0xea4f1031, {0, 0x21},            "----", {0x10000002}, "----"},
  {"rrx r0,r1",      0xea4f0031, {0, 3},               "--C-", {0x80000001}, "--C-"},
  {"rrx r0,r1",      0xea4f0031, {0, 3},               "N---", {1},          "N---"},
  {"rrxs r0,r1",     0xea5f0031, {0, 3},               "----", {1},          "--C-"},
  // The low byte of the operand decides whether C follows at all.
  {"rrxs r0,r1",     0xea5f0031, {0, 0x80000100},      "--C-", {0xc0000080}, "N-C-"},
  // The amount is read again after the write: here it is the result, with a low byte of 0.
  {"lsls r0,r0",     0x4080,     {8},                  "--C-", {0x800},      "--C-"},
  {"rrxs r0,r0",     0xea5f0030, {1},                  "----", {0},          "-Z--"},
};
// clang-format on

class Shift : public InstructionTest {};

TEST_P(Shift, GivesResultFlagsAndNextPc) { RunAndCompare(); }

INSTANTIATE_TEST_SUITE_P(Table, Shift, testing::ValuesIn(kShift), CaseName);

}  // namespace
}  // namespace orvo
