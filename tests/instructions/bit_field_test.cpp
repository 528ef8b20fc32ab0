// Bit fields, extension, packing, reversal and saturation.

#include "instructions/instruction_case.h"

namespace orvo {
namespace {

// clang-format off
const InstructionCase kBitField[] = {
  {"ubfx r0,r1,#4,#8",  0xf3c11007, {0, 0xabcdef12}, "N-C-", {0xf1},       "N-C-"},
  {"ubfx r0,r1,#0,#32", 0xf3c1001f, {0, 0xabcdef12}, "----", {0xabcdef12}, "----"},
  {"ubfx r0,r1,#31,#1", 0xf3c170c0, {0, 0x80000000}, "----", {1},          "----"},
  // The bit above the field decides, and what is put above it has gaps.
  {"sbfx r0,r1,#0,#8",  0xf3410007, {0, 0x280},      "----", {0x80},       "----"},
  {"sbfx r0,r1,#0,#8",  0xf3410007, {0, 0x100},      "----", {0xffffff00}, "----"},
  {"sbfx r0,r1,#4,#9",  0xf3411008, {0, 0x3000},     "----", {0xfffff700}, "----"},
  {"sbfx r0,r1,#3,#1",  0xf34100c0, {0, 0x10},       "----", {0xfffffff7}, "----"},
  {"sbfx r0,r1,#31,#1", 0xf34170c0, {0, 0x80000000}, "----", {1},          "----"},
  {"sbfx r0,r1,#0,#31", 0xf341001e, {0, 0x80000001}, "----", {0x90000001}, "----"},
  {"sbfx r0,r1,#0,#32", 0xf341001f, {0, 0x80000001}, "----", {0x80000001}, "----"},
  {"bfc r0,#4,#8",      0xf36f100b, {~0u},           "-Z--", {0xfffff00f}, "-Z--"},
  {"bfc r0,#0,#32",     0xf36f001f, {~0u},           "----", {0},          "----"},
  {"bfi r0,r1,#4,#8",   0xf361100b, {~0u, 0x12a5},   "----", {0xfffffa5f}, "----"},
  {"bfi r0,r1,#31,#1",  0xf36170df, {1, 3},          "----", {0x80000001}, "----"},
  {"bfi r0,r1,#0,#32",  0xf361001f, {~0u, 0x1234},   "----", {0x1234},     "----"},
  {"bfi r0,r0,#8,#8",   0xf360200f, {0x12345678},    "----", {0x12347878}, "----"},
};
// clang-format on

class BitField : public InstructionTest {};

TEST_P(BitField, GivesResultFlagsAndNextPc) { RunAndCompare(); }

INSTANTIATE_TEST_SUITE_P(Table, BitField, testing::ValuesIn(kBitField), CaseName);

// clang-format off
const InstructionCase kExtension[] = {
  {"uxtb r0,r1",            0xb2c8,     {0, 0x1ff},                  "N-C-", {0xff},       "N-C-"},
  {"uxtb.w r0,r1,ror #8",   0xfa5ff091, {0, 0x1234},                 "----", {0x12},       "----"},
  {"uxth r0,r1",            0xb288,     {0, 0xabcd1234},             "----", {0x1234},     "----"},
  {"uxth.w r0,r1,ror #24",  0xfa1ff0b1, {0, 0x12345678},             "----", {0x7812},     "----"},
  {"sxtb r0,r1",            0xb248,     {0, 0x80},                   "----", {0xffffff80}, "----"},
  {"sxth r0,r1",            0xb208,     {0, 0x18000},                "----", {0xffff8000}, "----"},
  {"sxth.w r0,r1,ror #16",  0xfa0ff0a1, {0, 0x80001234},             "----", {0xffff8000}, "----"},
  {"uxtab r0,r1,r2",        0xfa51f082, {0, 0x100, 0x1ff},           "----", {0x1ff},      "----"},
  {"uxtab r0,r1,r2,ror #8", 0xfa51f092, {0, 1, 0xff00},              "----", {0x100},      "----"},
  {"uxtah r0,r1,r2",        0xfa11f082, {0, 0x10000, 0xabcd1234},    "----", {0x11234},    "----"},
  // The mask is on the first source, and zero-extends.
  {"sxtab r0,r1,r2",        0xfa41f082, {0, 0x180, ~0u},             "----", {0x7f},       "----"},
  {"sxtab r0,r1,r2,ror #8", 0xfa41f092, {0, 0x1ff, 0x1200},          "----", {0x111},      "----"},
  {"sxtah r0,r1,r2",        0xfa01f082, {0, 0x12345678, 0x18000},    "----", {0x1d678},    "----"},
  // Reads its destination.
  {"sxtb16 r0,r1",          0xfa2ff081, {0x00ff0080, 0x10002},       "----", {0xffffff80}, "----"},
  {"sxtb16 r0,r1,ror #8",   0xfa2ff091, {0x12811234, 0x10002},       "----", {0xff810034}, "----"},
  {"clz r0,r1",             0xfab1f081, {0, 1},                      "----", {31},         "----"},
  {"clz r0,r1",             0xfab1f081, {0, 0},                      "----", {32},         "----"},
  {"clz r0,r1",             0xfab1f081, {7, ~0u},                    "----", {0},          "----"},
  {"rbit r0,r1",            0xfa91f0a1, {0, 0x12345678},             "----", {0x1e6a2c48}, "----"},
  {"rev r0,r1",             0xba08,     {0, 0x12345678},             "----", {0x78563412}, "----"},
  {"rev16 r0,r1",           0xba48,     {0, 0x12345678},             "----", {0x34127856}, "----"},
  {"revsh r0,r1",           0xbac8,     {0, 0x7f},                   "----", {0x7f00},     "----"},
  {"revsh r0,r1",           0xbac8,     {0, 0x80},                   "----", {0xffff8000}, "----"},
  // The chip would give 1.
  {"revsh r0,r1",           0xbac8,     {0, 0x100},                  "----", {0xffff0001}, "----"},
  {"revsh r0,r1",           0xbac8,     {0, 0x12345678},             "----", {0xffff7856}, "----"},
  {"pkhbt r0,r1,r2,lsl #8", 0xeac12002, {0, 0x2222, 0x334455},       "----", {0x33442222}, "----"},
  {"pkhtb r0,r1,r2,asr #4", 0xeac11022, {0, 0x11110000, 0x80000010}, "----", {0x11110001}, "----"},
  {"usat r0,#8,r1",         0xf3810008, {0, 100},                    "----", {100},        "----"},
  {"usat r0,#8,r1",         0xf3810008, {0, 300},                    "----", {255},        "----Q"},
  {"usat r0,#8,r1",         0xf3810008, {7, 0xfffffffb},             "----", {0},          "----Q"},
  {"usat r0,#4,r1,lsl #2",  0xf3810084, {0, 5},                      "----", {15},         "----Q"},
  {"usat r0,#4,r1,asr #4",  0xf3a11004, {0, 0xf0},                   "----", {15},         "----"},
  {"usat r0,#0,r1",         0xf3810000, {7, 1},                      "----", {0},          "----Q"},
};
// clang-format on

class Extension : public InstructionTest {};

TEST_P(Extension, GivesResultFlagsAndNextPc) { RunAndCompare(); }

INSTANTIATE_TEST_SUITE_P(Table, Extension, testing::ValuesIn(kExtension), CaseName);

}  // namespace
}  // namespace orvo
