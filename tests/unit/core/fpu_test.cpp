// Arithmetic with its exception flags, the host's and ours, and the helpers that no instruction of
// this core uses yet.
#include "core/fpu.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "core/exact_flags.h"
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

// Any bits, often ones at an edge of the number range.
class RandomOperands {
 public:
  float Next() {
    constexpr unsigned kCorners[] = {0,          0x80000000, 0x3f800000, 0x7f800000, 0xff800000,
                                     0x7fc00001, 0x7f800001, 0x00000001, 0x00800000, 0x7f7fffff,
                                     0x4f000000, 0xcf000000, 0xcf000001, 0x3f800001};
    const unsigned word = static_cast<unsigned>(random_());
    return Uint32ToFloat32(
        static_cast<int>(random_() % 3 == 0 ? kCorners[word % std::size(kCorners)] : word));
  }
  // Near another number, or a whole one: sums and products of these are often exact.
  float NextTo(float other) {
    const unsigned word = static_cast<unsigned>(random_());
    switch (word % 4) {
      case 0:
        return Uint32ToFloat32(static_cast<int>(Float32ToUint32(other) ^ (word >> 16 & 15)));
      case 1:
        return std::ldexp(static_cast<float>(word >> 24), static_cast<int>(word >> 4 & 31));
      default:
        return Next();
    }
  }

 private:
  std::mt19937 random_{3};
};

TEST(HostFloat, AgreesWithTheStandardLibraryOnResultsAndFlags) {
  RandomOperands operands;
  for (int n = 0; n < 20'000; ++n) {
    const float a = operands.Next(), b = operands.Next();
    ASSERT_EQ(AllOperations<HostFloat>(a, b), AllOperations<PortableFloat>(a, b))
        << std::hex << Float32ToUint32(a) << " " << Float32ToUint32(b);
  }
}

// What an operation leaves in FPSCR that held `known`.
template <class Operation>
Outcome Cumulative(unsigned known, Operation operation) {
  registers_->fpscr() = known;
  const float result = operation();
  return {Float32ToUint32(result), registers_->fpscr()};
}

template <class Operation>
Outcome OnTheHost(unsigned known, Operation operation) {
  HostFloat::Forget(0);
  const float result = operation();
  return {Float32ToUint32(result), HostFloat::Raised() | known};
}

TEST(ExactFlags, AreThoseOfTheHostWithoutAskingIt) {
  CoreBench bench;
  RandomOperands operands;
  int exact = 0;
  for (int n = 0; n < 200'000; ++n) {
    const float a = operands.Next(), b = operands.NextTo(a);
    SCOPED_TRACE(testing::Message() << std::hex << Float32ToUint32(a) << " " << Float32ToUint32(b));
    for (const unsigned known : {0u, fpscr::kIxc}) {
      const auto expect_equal = [known](auto ours, auto hosts) {
        ASSERT_EQ(Cumulative(known, ours), OnTheHost(known, hosts));
      };
      expect_equal([=] { return FpuAdd(a, b); }, [=] { return HostFloat::Add(a, b); });
      expect_equal([=] { return FpuSubtract(a, b); }, [=] { return HostFloat::Subtract(a, b); });
      expect_equal([=] { return FpuMultiply(a, b); }, [=] { return HostFloat::Multiply(a, b); });
      expect_equal([=] { return FpuDivide(a, b); }, [=] { return HostFloat::Divide(a, b); });
      expect_equal([=] { return FpuSquareRoot(a); }, [=] { return HostFloat::SquareRoot(a); });
    }
    if (HasFatalFailure()) return;
    const long integer = n % 2 == 0 ? Float32ToInt32(a) : static_cast<long>(Float32ToUint32(a));
    const Outcome converted = Cumulative(0, [=] { return FpuFromInteger(integer); });
    const bool lost = static_cast<double>(Uint32ToFloat32(static_cast<int>(converted.bits))) !=
                      static_cast<double>(integer);
    ASSERT_EQ(converted.flags, lost ? fpscr::kIxc : 0u) << integer;
    exact += Cumulative(0, [=] { return FpuAdd(a, b); }).flags == 0;
  }
  EXPECT_GT(exact, 20'000);
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
