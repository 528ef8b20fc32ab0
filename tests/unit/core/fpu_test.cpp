// Host arithmetic with its exception flags, and the helpers that no instruction of this core uses
// yet.
#include "core/fpu.h"

#include <gtest/gtest.h>

#include <random>

#include "support/core_bench.h"

namespace orvo {
namespace {

// What an operation gave: NaNs are all alike, for the host may choose among those of the operands.
struct Outcome {
  unsigned bits;
  unsigned flags;

  bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << std::hex << "0x" << outcome.bits << ", flags 0x" << outcome.flags;
}

template <class Host, class Operation>
Outcome Run(Operation operation) {
  constexpr unsigned kAnyNan = 0x7fc00000;
  Host::Forget(0);
  const float result = operation();
  return {std::isnan(result) ? kAnyNan : Float32ToUint32(result), Host::Raised()};
}

template <class Host>
std::vector<Outcome> AllOperations(float a, float b) {
  return {Run<Host>([&] { return Host::Add(a, b); }),
          Run<Host>([&] { return Host::Subtract(a, b); }),
          Run<Host>([&] { return Host::Multiply(a, b); }),
          Run<Host>([&] { return Host::Divide(a, b); }),
          Run<Host>([&] { return Host::SquareRoot(a); })};
}

TEST(HostFloat, AgreesWithTheStandardLibraryOnResultsAndFlags) {
  constexpr unsigned kCorners[] = {0,          0x80000000, 0x3f800000, 0x7f800000, 0xff800000,
                                   0x7fc00001, 0x7f800001, 0x00000001, 0x00800000, 0x7f7fffff,
                                   0x4f000000, 0xcf000000, 0xcf000001, 0x3f800001};
  std::mt19937 random(3);
  const auto value = [&] {
    const unsigned word = static_cast<unsigned>(random());
    return Uint32ToFloat32(
        static_cast<int>(random() % 3 == 0 ? kCorners[word % std::size(kCorners)] : word));
  };
  for (int n = 0; n < 20'000; ++n) {
    const float a = value(), b = value();
    ASSERT_EQ(AllOperations<HostFloat>(a, b), AllOperations<PortableFloat>(a, b))
        << std::hex << Float32ToUint32(a) << " " << Float32ToUint32(b);
  }
}

TEST(HostFloat, ForgetsOnlyWhatIsNotKnownYet) {
  HostFloat::Forget(0);
  HostFloat::Divide(1, 3);
  HostFloat::Forget(fpscr::kIxc);
  EXPECT_EQ(HostFloat::Raised(), fpscr::kIxc);
  HostFloat::Forget(fpscr::kIoc);
  EXPECT_EQ(HostFloat::Raised(), 0u);
}

TEST(HalfPrecision, GoesToSingleWithZeroForExponentZero) {
  EXPECT_EQ(Float16ToFloat32(0x3c00), 0x3f800000u);
  EXPECT_EQ(Float16ToFloat32(0xbe01), 0xbfc02000u);
  EXPECT_EQ(Float16ToFloat32(0x83ff), 0x80000000u);
  EXPECT_EQ(Float16ToFloat32(0x7c00), 0x47800000u);  // no infinity: 65536
  for (unsigned half = 0x0400; half < 0x7c00; ++half) {
    ASSERT_EQ(Float32ToFloat16(Float16ToFloat32(static_cast<unsigned short>(half))), half);
  }
}

TEST(DoubleComparison, RaisesHardFaultForUnorderedOperands) {
  CoreBench bench;
  updateCPSRForF64(1.0, 1.0, 0.0);
  EXPECT_EQ(bench.registers().fpscr(), fpscr::kZ | fpscr::kC);
  updateCPSRForF64(1.0, 2.0, -1.0);
  EXPECT_EQ(bench.registers().fpscr(), fpscr::kN);
  EXPECT_TRUE(*bench.interrupts().pending_empty());
  testing::internal::CaptureStderr();
  const double nan = GetNan();
  updateCPSRForF64(1.0, nan, 1.0 - nan);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Hard Fault: Invalid operation. Can't use 'vcmp' between nan value\n");
  EXPECT_EQ(bench.registers().fpscr(), fpscr::kC | fpscr::kV | fpscr::kIoc);
  EXPECT_TRUE(bench.interrupts().IsPending(kHardFault));
}

}  // namespace
}  // namespace orvo
