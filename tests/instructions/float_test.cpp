// Floating point, from machine code to S registers, FPSCR and CONTROL.

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "runner/errors.h"
#include "support/core_bench.h"

namespace orvo {
namespace {

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

// Cumulative flags of FPSCR.
constexpr unsigned kIoc = 1, kDzc = 2, kOfc = 4, kUfc = 8, kIxc = 16;

Code Wide(unsigned encoding) {
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

std::ostream& operator<<(std::ostream& out, const FloatCase& c) { return out << c.name; }

class Float : public testing::TestWithParam<FloatCase> {};

TEST_P(Float, GivesResultAndExceptionFlags) {
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

constexpr unsigned kVadd = 0xee300a81, kVsub = 0xee300ac1, kVmul = 0xee200a81, kVdiv = 0xee800a81,
                   kVmla = 0xee000a81, kVmls = 0xee000ac1, kVnmla = 0xee100ac1,
                   kVnmls = 0xee100a81, kVnmul = 0xee200ac1, kVfma = 0xeea00a81,
                   kVfms = 0xeea00ac1, kVfnma = 0xee900ac1, kVfnms = 0xee900a81,
                   kVabs = 0xeeb00ae0, kVneg = 0xeeb10a60, kVsqrt = 0xeeb10ae0,
                   kToS32 = 0xeebd0ae0, kToU32 = 0xeebc0ae0, kFromS32 = 0xeeb80ae0,
                   kFromU32 = 0xeeb80a60, kToF16 = 0xeeb30a60, kVmov = 0xeeb00a60,
                   kVmovImmediate = 0xeeb70a08;

// clang-format off
const FloatCase kArithmetic[] = {
  {"add",              kVadd,  9, Bits(1.5f),  Bits(2.25f), Bits(3.75f),  0},
  {"add_inexact",      kVadd,  9, Bits(1.0f),  Bits(1e-9f), Bits(1.0f),   kIxc},
  {"add_overflow",     kVadd,  9, kMax,        kMax,        kInf,         kIoc | kOfc | kIxc},
  {"add_infinity",     kVadd,  9, kInf,        Bits(1.0f),  kInf,         kIoc},
  {"add_first_nan",    kVadd,  9, kQuietA,     kQuietB,     kQuietA,      0},
  {"add_second_nan",   kVadd,  9, Bits(1.0f),  kQuietB,     kQuietB,      0},
  {"add_signalling",   kVadd,  9, kSignalling, Bits(1.0f),  kQuietedSignalling, kIoc},
  // The largest finite result counts as invalid.
  {"add_max",          kVadd,  9, kMax,        0,           kMax,         kIoc},
  {"sub_minus_max",    kVsub,  9, 0,           kMax,        kMax | kNegative, kIoc},
  {"sub_below_max",    kVsub,  9, kMax - 1,    0,           kMax - 1,     0},
  {"sub",              kVsub,  9, Bits(1.0f),  Bits(3.0f),  Bits(-2.0f),  0},
  {"sub_first_nan",    kVsub,  9, kQuietB,     kQuietA,     kQuietB,      0},
  {"mul",              kVmul,  9, Bits(3.0f),  Bits(-2.0f), Bits(-6.0f),  0},
  {"mul_underflow",    kVmul,  9, kMinNormal,  Bits(0.3f),  0x00266666,   kUfc | kIxc},
  {"mul_to_zero",      kVmul,  9, 1,           Bits(0.25f), 0,            kUfc | kIxc},
  {"mul_exact_tiny",   kVmul,  9, kMinNormal,  Bits(0.5f),  0x00400000,   0},
  {"mul_first_nan",    kVmul,  9, kQuietA,     kQuietB,     kQuietA,      0},
  {"div",              kVdiv,  9, Bits(1.0f),  Bits(4.0f),  Bits(0.25f),  0},
  {"div_inexact",      kVdiv,  9, Bits(1.0f),  Bits(3.0f),  0x3eaaaaab,   kIxc},
  {"div_by_zero",      kVdiv,  9, Bits(1.0f),  kNegative,   kInf | kNegative, kIoc | kDzc},
  {"vmla",             kVmla,  Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(7.0f),  0},
  {"vmls",             kVmls,  Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(-5.0f), 0},
  {"vnmla",            kVnmla, Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(-7.0f), 0},
  {"vnmls",            kVnmls, Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(5.0f),  0},
  {"vnmul",            kVnmul, Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(-6.0f), 0},
  {"vnmul_zero",       kVnmul, 9,          0,          Bits(3.0f), kNegative,   0},
  {"vfma",             kVfma,  Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(7.0f),  0},
  {"vfms",             kVfms,  Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(-5.0f), 0},
  {"vfnma",            kVfnma, Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(-7.0f), 0},
  {"vfnms",            kVfnms, Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(5.0f),  0},
  // 0x3f800001 squared is 1 + 2^-22 + 2^-46: the last bit is rounded off before the addition.
  {"vmla_two_roundings", kVmla, Bits(-1.0f), 0x3f800001, 0x3f800001, 0x34800000, kIxc},
  {"vfma_two_roundings", kVfma, Bits(-1.0f), 0x3f800001, 0x3f800001, 0x34800000, kIxc},
  // The product's flags count although the sum is exact, and the old destination's NaN wins.
  {"vmla_nan_of_d",    kVmla,  kQuietA,    kQuietB,    Bits(1.0f), kQuietA,     0},
  {"vnmls_nan_of_product", kVnmls, kQuietA, kQuietB,   Bits(1.0f), kQuietB,     0},
  {"sqrt",             kVsqrt, 9, Bits(9.0f),  9, Bits(3.0f),     0},
  {"sqrt_inexact",     kVsqrt, 9, Bits(2.0f),  9, 0x3fb504f3,     kIxc},
  {"sqrt_minus_zero",  kVsqrt, 9, kNegative,   9, kNegative,      0},
  {"abs",              kVabs,  9, Bits(-2.0f), 9, Bits(2.0f),     0},
  {"abs_nan",          kVabs,  9, kSignalling | kNegative, 9, kSignalling, 0},
  // Only a negation leaves no floating point context behind.
  {"neg",              kVneg,  9, Bits(2.0f),  9, Bits(-2.0f),    0, 0},
  {"neg_nan",          kVneg,  9, kSignalling, 9, kSignalling | kNegative, 0, 0},
};

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

const auto kCaseName = [](const auto& info) { return info.param.name; };
INSTANTIATE_TEST_SUITE_P(Arithmetic, Float, testing::ValuesIn(kArithmetic), kCaseName);
INSTANTIATE_TEST_SUITE_P(Conversion, Float, testing::ValuesIn(kConversions), kCaseName);

// The host decides the sign and payload of a NaN that an operation makes.
TEST(FloatInvalid, MakesANanAndRaisesIoc) {
  struct Invalid {
    unsigned encoding, s0, s1, s2;
  };
  for (const Invalid& row :
       {Invalid{kVsub, 0, kInf, kInf}, Invalid{kVmul, 0, kInf, 0}, Invalid{kVdiv, 0, 0, 0},
        Invalid{kVsqrt, 0, Bits(-1.0f), 0}, Invalid{kVmla, kInf, kInf, Bits(-1.0f)}}) {
    CoreBench bench;
    bench.registers().s(0) = row.s0;
    bench.registers().s(1) = row.s1;
    bench.registers().s(2) = row.s2;
    bench.Run(Wide(row.encoding));
    EXPECT_TRUE(std::isnan(std::bit_cast<float>(bench.registers().s(0))));
    EXPECT_EQ(bench.registers().fpscr(), kIoc);
  }
}

TEST(FloatFlags, AccumulateUntilFirmwareClearsThem) {
  CoreBench bench;
  Registers& registers = bench.registers();
  registers.fpscr() = 0x80000000;
  registers.s(1) = Bits(1.0f);
  registers.s(2) = 0;
  bench.Run(Wide(kVdiv));
  EXPECT_EQ(registers.fpscr(), 0x80000000 | kIoc | kDzc);
  registers.s(2) = Bits(3.0f);
  bench.Run(Wide(kVdiv));
  EXPECT_EQ(registers.fpscr(), 0x80000000 | kIoc | kDzc | kIxc);
  registers.fpscr() = 0;
  registers.s(2) = Bits(2.0f);
  bench.Run(Wide(kVdiv));
  EXPECT_EQ(registers.fpscr(), 0u);
}

// Whatever else the host computes with floating point stays out of FPSCR.
TEST(FloatFlags, ComeFromTheInstructionAlone) {
  CoreBench bench;
  bench.registers().s(1) = Bits(1.0f);
  bench.registers().s(2) = Bits(2.0f);
  bench.Load(Wide(kVdiv));
  volatile double zero = 0, one = 1, three = 3;
  volatile double unused = one / zero + one / three + zero / zero;
  static_cast<void>(unused);
  bench.Run();
  EXPECT_EQ(bench.registers().fpscr(), 0u);
}

struct CompareCase {
  const char* name;
  unsigned s0;
  unsigned s1;
  unsigned fpscr;  // 0x90000002 before
};

std::ostream& operator<<(std::ostream& out, const CompareCase& c) { return out << c.name; }

class FloatCompare : public testing::TestWithParam<CompareCase> {};

TEST_P(FloatCompare, SetsFlagsOfFpscrOnly) {
  for (const unsigned encoding : {0xeeb40a60u, 0xeeb40ae0u}) {  // vcmp, vcmpe
    CoreBench bench;
    bench.registers().s(0) = GetParam().s0;
    bench.registers().s(1) = GetParam().s1;
    bench.registers().fpscr() = 0x90000000 | kDzc;
    bench.Run(Wide(encoding));
    EXPECT_EQ(bench.registers().fpscr(), GetParam().fpscr | kDzc);
    EXPECT_EQ(bench.registers().xpsr(), 0u);
    EXPECT_EQ(bench.registers().control(), kFpContext);
  }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, FloatCompare, testing::Values(
    CompareCase{"equal",            Bits(1.5f),       Bits(1.5f), 0x60000000},
    CompareCase{"zeros",            kNegative,        0,          0x60000000},
    CompareCase{"greater",          Bits(2.0f),       Bits(1.5f), 0x20000000},
    CompareCase{"less",             Bits(-2.0f),      Bits(1.5f), 0x80000000},
    CompareCase{"tiny_difference",  1,                2,          0x80000000},
    CompareCase{"greater_infinity", kInf,             Bits(1.0f), 0x20000000},
    // The difference of equal infinities is no number, so they don't count as equal.
    CompareCase{"equal_infinities", kInf,             kInf,       0x80000000},
    CompareCase{"negative_infinities", kInf | kNegative, kInf | kNegative, 0x80000000},
    CompareCase{"unordered",        kQuietA,          Bits(1.0f), 0x30000000 | kIoc},
    CompareCase{"unordered_second", Bits(1.0f),       kQuietA,    0x30000000 | kIoc}),
    kCaseName);
// clang-format on

TEST(FloatCompareWithZero, TakesTheImmediate) {
  CoreBench bench;
  bench.registers().s(0) = Bits(-1.0f);
  bench.Run({0xeeb5, 0x0a40});  // vcmp.f32 s0, #0.0
  EXPECT_EQ(bench.registers().fpscr(), 0x80000000u);
  bench.registers().s(0) = 0;
  bench.Run({0xeeb5, 0x0ac0});  // vcmpe.f32 s0, #0.0
  EXPECT_EQ(bench.registers().fpscr(), 0x60000000u);
}

TEST(FloatMoves, CopyWordsBetweenTheRegisterFiles) {
  CoreBench bench;
  Registers& registers = bench.registers();
  bench.r(1) = 0x11111111;
  bench.r(2) = 0x22222222;
  bench.Run({0xee00, 0x1a10});  // vmov s0, r1
  EXPECT_EQ(registers.s(0), 0x11111111u);
  EXPECT_EQ(registers.control(), kFpContext);
  bench.Run({0xec42, 0x1b12});  // vmov d2, r1, r2
  EXPECT_EQ(registers.s(4), 0x11111111u);
  EXPECT_EQ(registers.s(5), 0x22222222u);
  bench.Run({0xec51, 0x2b12});  // vmov r2, r1, d2
  EXPECT_EQ(bench.r(2), 0x11111111u);
  EXPECT_EQ(bench.r(1), 0x22222222u);
  bench.Run({0xee10, 0x3a10});  // vmov r3, s0
  EXPECT_EQ(bench.r(3), 0x11111111u);
}

TEST(FloatInBlock, FollowsTheCondition) {
  CoreBench bench;
  Registers& registers = bench.registers();
  registers.s(0) = 9;
  registers.s(1) = Bits(1.0f);
  registers.s(2) = Bits(3.0f);
  bench.SetFlags("-Z--");
  bench.Run({0xbf18, 0xee80, 0x0a81});  // it ne; vdivne.f32 s0, s1, s2
  EXPECT_EQ(registers.s(0), 9u);
  EXPECT_EQ(registers.fpscr(), 0u);
  EXPECT_EQ(registers.control(), 0u);
  bench.Run({0xbf0c, 0xee80, 0x0a81, 0xeeb1, 0x0a60});  // ite eq; vdiveq s0, s1, s2; vnegne s0, s1
  EXPECT_EQ(registers.s(0), 0x3eaaaaabu);
  EXPECT_EQ(registers.fpscr(), kIxc);
}

TEST(FloatMissing, FormsEndTheRun) {
  // vcvt.f32.s32 s0, s0, #32 (fixed point), vcvtb.f32.f16 s0, s1, vmov s0, s1, r1, r2
  for (const unsigned encoding : {0xeeba0ac0u, 0xeeb20a60u, 0xec421a10u}) {
    CoreBench bench;
    EXPECT_THROW(bench.Run(Wide(encoding)), UnimplementedInstructionError);
  }
}

// Against the compiler's own arithmetic, for all but NaNs.
TEST(FloatArithmetic, IsThatOfTheHost) {
  CoreBench bench;
  Registers& registers = bench.registers();
  std::mt19937 random(7);
  const auto value = [&] {
    const unsigned word = static_cast<unsigned>(random());
    return std::bit_cast<float>(random() % 2 == 0 ? word : (word & 0x80ffffff) + 0x3f000000);
  };
  for (const unsigned encoding : {kVadd, kVsub, kVmul, kVdiv, kVmla, kVmls, kVnmla, kVnmls}) {
    bench.Load(Wide(encoding));
    for (int n = 0; n < 2000; ++n) {
      const float d = value(), a = value(), b = value();
      const float product = a * b;
      registers.s(0) = Bits(d);
      registers.s(1) = Bits(a);
      registers.s(2) = Bits(b);
      registers.pc() = CoreBench::kCodeAddress;
      bench.Step();
      const float expected = encoding == kVadd    ? a + b
                             : encoding == kVsub  ? a - b
                             : encoding == kVmul  ? product
                             : encoding == kVdiv  ? a / b
                             : encoding == kVmla  ? d + product
                             : encoding == kVmls  ? d - product
                             : encoding == kVnmla ? -d - product
                                                  : product - d;
      if (std::isnan(expected)) continue;
      ASSERT_EQ(registers.s(0), Bits(expected)) << std::hex << encoding << ": " << a << " " << b;
    }
  }
}

}  // namespace
}  // namespace orvo
