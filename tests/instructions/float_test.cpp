// Single-precision arithmetic, from machine code to S registers, FPSCR and CONTROL.

#include <cmath>
#include <random>

#include "instructions/float_case.h"
#include "runner/errors.h"

namespace orvo {
namespace {

constexpr unsigned kVadd = 0xee300a81, kVsub = 0xee300ac1, kVmul = 0xee200a81, kVdiv = 0xee800a81,
                   kVmla = 0xee000a81, kVmls = 0xee000ac1, kVnmla = 0xee100ac1, kVnmls = 0xee100a81,
                   kVnmul = 0xee200ac1, kVfma = 0xeea00a81, kVfms = 0xeea00ac1, kVfnma = 0xee900ac1,
                   kVfnms = 0xee900a81, kVabs = 0xeeb00ae0, kVneg = 0xeeb10a60, kVsqrt = 0xeeb10ae0;

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
  {"vnmla_to_plus_zero", kVnmla, Bits(1.0f), Bits(1.0f), Bits(-1.0f), 0,        0},
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
// clang-format on

class FloatArithmetic : public FloatTest {};
TEST_P(FloatArithmetic, GivesResultAndExceptionFlags) { RunAndCompare(); }
INSTANTIATE_TEST_SUITE_P(Table, FloatArithmetic, testing::ValuesIn(kArithmetic), kFloatCaseName);

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
TEST(FloatRandom, IsTheArithmeticOfTheHost) {
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
