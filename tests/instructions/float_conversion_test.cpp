// Conversions, comparisons and moves of single-precision numbers, from machine code to registers,
// FPSCR and CONTROL.

#include "instructions/float_case.h"

namespace orvo {
namespace {

constexpr unsigned kToS32 = 0xeebd0ae0, kToU32 = 0xeebc0ae0, kFromS32 = 0xeeb80ae0,
                   kFromU32 = 0xeeb80a60, kToF16 = 0xeeb30a60, kVmov = 0xeeb00a60,
                   kVmovImmediate = 0xeeb70a08;

// clang-format off
const FloatCase kConversions[] = {
  {"s32",              kToS32, 9, Bits(-7.0f),         9, static_cast<unsigned>(-7), 0},
  {"s32_fraction",     kToS32, 9, Bits(-7.9f),         9, static_cast<unsigned>(-7), kIxc},
  {"s32_too_large",    kToS32, 9, Bits(2147483648.0f), 9, 0x7fffffff, kIoc},
  {"s32_least",        kToS32, 9, Bits(-2147483648.0f), 9, 0x80000000, 0},
  {"s32_too_small",    kToS32, 9, Bits(-3e9f),         9, 0x80000000, kIoc},
  {"s32_infinity",     kToS32, 9, kInf,                9, 0x7fffffff, kIoc},
  {"s32_nan",          kToS32, 9, kQuietB,             9, 0,          kIoc},
  {"u32",              kToU32, 9, Bits(2147483520.0f), 9, 0x7fffff80, 0},
  // The limits of the signed conversion.
  {"u32_of_3e9",       kToU32, 9, Bits(3e9f),          9, 0x7fffffff, kIoc},
  {"u32_of_minus_1",   kToU32, 9, Bits(-1.0f),         9, 0xffffffff, 0},
  {"u32_nan",          kToU32, 9, kQuietA,             9, 0,          kIoc},
  {"from_s32",         kFromS32, 9, static_cast<unsigned>(-5), 9, Bits(-5.0f), 0},
  {"from_s32_inexact", kFromS32, 9, 0x01000001,        9, 0x4b800000, kIxc},
  {"from_u32",         kFromU32, 9, 0xffffff00,        9, 0x4f7fffff, 0},
  {"from_u32_inexact", kFromU32, 9, 0xffffffff,        9, 0x4f800000, kIxc},
  {"f16",              kToF16, 0xabcd1234, Bits(-1.5f),  9, 0xabcdbe00, 0},
  {"f16_cut_off",      kToF16, 0xabcd1234, 0x3f803fff,   9, 0xabcd3c01, 0},
  // Infinity keeps only the low bits of its exponent and comes out as 1.
  {"f16_infinity",     kToF16, 0,          kInf,         9, 0x3c00,     0},
  {"move",             kVmov,  9, kSignalling,         9, kSignalling, 0},
  {"move_immediate",   kVmovImmediate, 9, 9,           9, Bits(1.5f), 0},
};
// clang-format on

class FloatConversion : public FloatTest {};
TEST_P(FloatConversion, GivesResultAndExceptionFlags) { RunAndCompare(); }
INSTANTIATE_TEST_SUITE_P(Table, FloatConversion, testing::ValuesIn(kConversions), kFloatCaseName);

TEST(FloatCompareWithZero, TakesTheImmediate) {
  CoreBench bench;
  bench.registers().s(0) = Bits(-1.0f);
  bench.Run({0xeeb5, 0x0a40});  // vcmp.f32 s0, #0.0
  EXPECT_EQ(bench.registers().fpscr(), 0x80000000u);
  bench.registers().s(0) = 0;
  bench.Run({0xeeb5, 0x0ac0});  // vcmpe.f32 s0, #0.0
  EXPECT_EQ(bench.registers().fpscr(), 0x60000000u);
}

}  // namespace
}  // namespace orvo
