// Single-precision arithmetic, from machine code to S registers, FPSCR and CONTROL.

#include <cmath>

#include "instructions/float_case.h"
#include "runner/errors.h"

namespace orvo {
namespace {

constexpr unsigned kVadd = 0xee300a81, kVsub = 0xee300ac1, kVmul = 0xee200a81, kVdiv = 0xee800a81,
                   kVmla = 0xee000a81, kVmls = 0xee000ac1, kVnmls = 0xee100a81, kVfma = 0xeea00a81,
                   kVfms = 0xeea00ac1, kVfnma = 0xee900ac1, kVfnms = 0xee900a81, kVabs = 0xeeb00ae0,
                   kVneg = 0xeeb10a60, kVsqrt = 0xeeb10ae0;

// clang-format off
const FloatCase kArithmetic[] = {
  // The largest finite result counts as invalid.
  {"add_max",          kVadd,  9, kMax,        0,           kMax,         kIoc},
  {"sub_minus_max",    kVsub,  9, 0,           kMax,        kMax | kNegative, kIoc},
  {"sub_below_max",    kVsub,  9, kMax - 1,    0,           kMax - 1,     0},
  {"mul_exact_tiny",   kVmul,  9, kMinNormal,  Bits(0.5f),  0x00400000,   0},
  {"div_by_zero",      kVdiv,  9, Bits(1.0f),  kNegative,   kInf | kNegative, kIoc | kDzc},
  {"vfms",             kVfms,  Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(-5.0f), 0},
  {"vfnma",            kVfnma, Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(-7.0f), 0},
  {"vfnms",            kVfnms, Bits(1.0f), Bits(2.0f), Bits(3.0f), Bits(5.0f),  0},
  // 0x3f800001 squared is 1 + 2^-22 + 2^-46: the last bit is rounded off before the addition.
  {"vmla_two_roundings", kVmla, Bits(-1.0f), 0x3f800001, 0x3f800001, 0x34800000, kIxc},
  {"vfma_two_roundings", kVfma, Bits(-1.0f), 0x3f800001, 0x3f800001, 0x34800000, kIxc},
  // The product's flags count although the sum is exact, and the old destination's NaN wins.
  {"vmla_nan_of_d",    kVmla,  kQuietA,    kQuietB,    Bits(1.0f), kQuietA,     0},
  {"vnmls_nan_of_product", kVnmls, kQuietA, kQuietB,   Bits(1.0f), kQuietB,     0},
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

TEST(FloatMissing, FormsEndTheRun) {
  // vcvt.f32.s32 s0, s0, #32 (fixed point), vcvtb.f32.f16 s0, s1, vmov s0, s1, r1, r2
  for (const unsigned encoding : {0xeeba0ac0u, 0xeeb20a60u, 0xec421a10u}) {
    CoreBench bench;
    EXPECT_THROW(bench.Run(Wide(encoding)), UnimplementedInstructionError);
  }
}

}  // namespace
}  // namespace orvo
