// Cumulative floating point flags without asking the host: reading its status register costs more
// than all the rest of an instruction. An ordinary result says by itself that the operation raised
// nothing but perhaps "inexact"; whether it did is computed, and only while FPSCR doesn't have IXC
// yet. Everything else, from infinities to what comes near the ends of the range, goes through the
// host's flags (core/host_float.h).
#pragma once

#include <cmath>

#include "core/fpu.h"

namespace orvo {

// A number far enough from the ends of the range that neither overflow nor underflow came into
// question, before or after rounding. NaN and infinity, which all other exceptions give, are none.
inline bool IsOrdinary(float result) {
  constexpr unsigned kLeast = 2u << 23, kEnd = 254u << 23;  // exponents 2 to 253
  return (Float32ToUint32(result) & 0x7fffffff) - kLeast < kEnd - kLeast;
}

// Exact by the error term of the addition, which a float can always hold. T. J. Dekker, 1971.
inline bool IsExactSum(float a, float b, float sum) {
  const float b_of_sum = sum - a;
  return (a - (sum - b_of_sum)) + (b - b_of_sum) == 0;
}
// A double holds the product of two floats.
inline bool IsExactProduct(float a, float b, float product) {
  return static_cast<double>(a) * b == product;
}

inline void RaiseInexactUnless(bool exact) {
  if (!exact) registers_->fpscr() |= fpscr::kIxc;
}
inline bool InexactIsKnown() { return (registers_->fpscr() & fpscr::kIxc) != 0; }

// The operation again, with the flags that the host raises.
template <class Operation>
[[gnu::noinline, gnu::cold]] float WithHostFlags(Operation operation) {
  HostFloat::Forget(registers_->fpscr());
  const float result = operation();
  registers_->fpscr() |= HostFloat::Raised();
  return result;
}

inline float FpuAdd(float a, float b) {
  const float sum = a + b;
  // A sum of zero is always exact.
  if (!IsOrdinary(sum) && sum != 0)
    return WithHostFlags([=] { return HostFloat::Add(a, b); });
  if (!InexactIsKnown()) RaiseInexactUnless(IsExactSum(a, b, sum));
  return sum;
}

inline float FpuSubtract(float a, float b) {
  const float difference = a - b;
  if (!IsOrdinary(difference) && difference != 0)
    return WithHostFlags([=] { return HostFloat::Subtract(a, b); });
  if (!InexactIsKnown()) RaiseInexactUnless(IsExactSum(a, -b, difference));
  return difference;
}

inline float FpuMultiply(float a, float b) {
  const float product = a * b;
  // A product of zero is exact if a factor is.
  if (!IsOrdinary(product) && !(product == 0 && (a == 0 || b == 0)))
    return WithHostFlags([=] { return HostFloat::Multiply(a, b); });
  if (!InexactIsKnown()) RaiseInexactUnless(IsExactProduct(a, b, product));
  return product;
}

inline float FpuDivide(float a, float b) {
  const float quotient = a / b;
  if (!IsOrdinary(quotient)) return WithHostFlags([=] { return HostFloat::Divide(a, b); });
  if (!InexactIsKnown()) RaiseInexactUnless(IsExactProduct(quotient, b, a));
  return quotient;
}

inline float FpuSquareRoot(float a) {
  const float root = std::sqrt(a);
  if (!IsOrdinary(root)) return WithHostFlags([=] { return HostFloat::SquareRoot(a); });
  if (!InexactIsKnown()) RaiseInexactUnless(IsExactProduct(root, root, a));
  return root;
}

// From 32 bits, signed or not: nothing but "inexact" can happen.
inline float FpuFromInteger(long value) {
  const float result = static_cast<float>(value);
  RaiseInexactUnless(static_cast<long>(result) == value);
  return result;
}

}  // namespace orvo
