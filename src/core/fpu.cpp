#include "core/fpu.h"

#include <iostream>
#include <limits>

#include "time/interrupts.h"

namespace orvo {
namespace {

constexpr unsigned kEqual = fpscr::kZ | fpscr::kC;
constexpr unsigned kGreater = fpscr::kC;
constexpr unsigned kLess = fpscr::kN;
constexpr unsigned kUnordered = fpscr::kC | fpscr::kV;

template <class T>
unsigned Comparison(T a, T b, T difference) {
  if (difference == 0) return kEqual;
  if (a > b) return kGreater;
  if (a >= b || a < b) return kLess;
  return kUnordered;
}

void SetComparison(unsigned nzcv) {
  unsigned& status = registers_->fpscr();
  status = (status & ~fpscr::kNzcv) | nzcv | (nzcv == kUnordered ? fpscr::kIoc : 0u);
}

}  // namespace

float GetNan() { return std::numeric_limits<float>::quiet_NaN(); }

unsigned short Float32ToFloat16(unsigned bits) {
  constexpr unsigned kRebias = 0x38000000;  // 127 - 15 in the exponent's place
  const unsigned exponent = (((bits & 0x7f800000) - kRebias) >> 13) & 0x7c00;
  return static_cast<unsigned short>(exponent | ((bits >> 13) & 0x3ff) | ((bits >> 16) & 0x8000));
}

unsigned Float16ToFloat32(unsigned short half) {
  constexpr unsigned kRebias = 0x38000000;
  const unsigned sign = (half & 0x8000u) << 16;
  if ((half & 0x7c00u) == 0) return sign;
  return sign | (((half & 0x7fffu) << 13) + kRebias);
}

int Float32ToInt32Cast(float value) {
  constexpr float kLimit = 2147483648.0f;
  if (value >= -kLimit && value < kLimit) {
    const int truncated = static_cast<int>(value);
    if (static_cast<float>(truncated) != value) registers_->fpscr() |= fpscr::kIxc;
    return truncated;
  }
  registers_->fpscr() |= fpscr::kIoc;
  if (std::isnan(value)) return 0;
  return value > 0 ? std::numeric_limits<int>::max() : std::numeric_limits<int>::min();
}

unsigned Float32ToUint32Cast(float value) {
  return static_cast<unsigned>(Float32ToInt32Cast(value));
}

void updateCPSRForF32(float a, float b, float difference) {
  SetComparison(Comparison(a, b, difference));
}

void updateCPSRForF64(double a, double b, double difference) {
  const unsigned nzcv = Comparison(a, b, difference);
  SetComparison(nzcv);
  if (nzcv == kUnordered) {
    std::cerr << "Hard Fault: Invalid operation. Can't use 'vcmp' between nan value" << std::endl;
    interrupts_->RaiseInterrupt(kHardFault, true);
  }
}

}  // namespace orvo
