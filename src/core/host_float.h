// Single-precision operations of the host that say which exceptions they raised. The host's flags
// are sticky and belong to the thread; all host code raises them, so an instruction forgets the
// old ones before it computes.
//
// The operations are one host instruction each with its operands in a fixed order: of two NaNs the
// first operand's is the result, which a compiler is otherwise free to turn around. Neither are
// they moved across the reading of the flags.
#pragma once

#include <cfenv>
#include <cmath>

namespace orvo {

namespace fpscr {
inline constexpr unsigned kIoc = 1u << 0;  // invalid operation
inline constexpr unsigned kDzc = 1u << 1;  // division by zero
inline constexpr unsigned kOfc = 1u << 2;  // overflow
inline constexpr unsigned kUfc = 1u << 3;  // underflow
inline constexpr unsigned kIxc = 1u << 4;  // inexact
inline constexpr unsigned kV = 1u << 28;
inline constexpr unsigned kC = 1u << 29;
inline constexpr unsigned kZ = 1u << 30;
inline constexpr unsigned kN = 1u << 31;
inline constexpr unsigned kNzcv = kN | kZ | kC | kV;
}  // namespace fpscr

// Any host, by the standard library. The volatile operands tie each operation to its place between
// the calls.
struct PortableFloat {
  // The flags raised since they were last forgotten, as bits of FPSCR.
  static unsigned Raised() {
    const int raised = std::fetestexcept(FE_ALL_EXCEPT);
    return ((raised & FE_INVALID) != 0 ? fpscr::kIoc : 0u) |
           ((raised & FE_DIVBYZERO) != 0 ? fpscr::kDzc : 0u) |
           ((raised & FE_OVERFLOW) != 0 ? fpscr::kOfc : 0u) |
           ((raised & FE_UNDERFLOW) != 0 ? fpscr::kUfc : 0u) |
           ((raised & FE_INEXACT) != 0 ? fpscr::kIxc : 0u);
  }
  // Clears the flags if there are others than the known ones, which don't matter any more.
  static void Forget(unsigned known) {
    if ((Raised() & ~known) != 0) std::feclearexcept(FE_ALL_EXCEPT);
  }

  static float Add(float a, float b) {
    const volatile float x = a, y = b, result = x + y;
    return result;
  }
  static float Subtract(float a, float b) {
    const volatile float x = a, y = b, result = x - y;
    return result;
  }
  static float Multiply(float a, float b) {
    const volatile float x = a, y = b, result = x * y;
    return result;
  }
  static float Divide(float a, float b) {
    const volatile float x = a, y = b, result = x / y;
    return result;
  }
  static float SquareRoot(float a) {
    const volatile float x = a, result = std::sqrt(x);
    return result;
  }
};

#if defined(__x86_64__)
// SSE by hand: its flags stand in MXCSR (Intel SDM volume 1, 10.2.3), which takes a few cycles to
// read where the library calls take some hundred. It is written only when it holds a flag that
// FPSCR lacks, which a loop of floating point seldom meets.
struct SseFloat {
  static unsigned Raised() { return InFpscr(ReadMxcsr()); }
  static void Forget(unsigned known) {
    unsigned mxcsr = ReadMxcsr();
    if ((InFpscr(mxcsr) & ~known) == 0) return;
    mxcsr &= ~kMxcsrFlags;
    asm volatile("ldmxcsr %0" : : "m"(mxcsr));
  }

  static float Add(float a, float b) {
    asm volatile("addss %1, %0" : "+x"(a) : "x"(b));
    return a;
  }
  static float Subtract(float a, float b) {
    asm volatile("subss %1, %0" : "+x"(a) : "x"(b));
    return a;
  }
  static float Multiply(float a, float b) {
    asm volatile("mulss %1, %0" : "+x"(a) : "x"(b));
    return a;
  }
  static float Divide(float a, float b) {
    asm volatile("divss %1, %0" : "+x"(a) : "x"(b));
    return a;
  }
  static float SquareRoot(float a) {
    asm volatile("sqrtss %0, %0" : "+x"(a));
    return a;
  }

 private:
  static constexpr unsigned kMxcsrFlags = 0x3f;

  static unsigned ReadMxcsr() {
    unsigned mxcsr;
    asm volatile("stmxcsr %0" : "=m"(mxcsr));
    return mxcsr;
  }
  // MXCSR:  5 PE   4 UE   3 OE   2 ZE   1 DE   0 IE; the denormal flag DE stays out
  // FPSCR:  4 IXC  3 UFC  2 OFC  1 DZC         0 IOC
  static unsigned InFpscr(unsigned mxcsr) { return (mxcsr & 1u) | ((mxcsr >> 1) & 0x1eu); }
};
using HostFloat = SseFloat;
#else
using HostFloat = PortableFloat;
#endif

}  // namespace orvo
