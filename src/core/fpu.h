// The floating point unit (ARMv7-M ARM, A2.5): single precision on the host's own arithmetic, with
// the cumulative exception flags of FPSCR exact after every instruction. The rounding mode is the
// host's, to nearest: FPSCR.RMode, FZ and DN are not consulted. S registers are words of the
// register file. CPACR is not tested, instructions execute with the coprocessor disabled too.
// FPCA is set in CONTROL; no floating point frame is stacked, so FPCCR and FPCAR stay as written.
#pragma once

#include <bit>

#include "core/globals.h"
#include "core/host_float.h"
#include "core/registers.h"

namespace orvo {

// The same bits in another type.
inline float Int32ToFloat32(int bits) { return std::bit_cast<float>(bits); }
inline float Uint32ToFloat32(int bits) { return std::bit_cast<float>(bits); }
inline unsigned Float32ToUint32(float value) { return std::bit_cast<unsigned>(value); }
inline int Float32ToInt32(float value) { return std::bit_cast<int>(value); }
inline double Int64ToFloat64(long bits) { return std::bit_cast<double>(bits); }
// A quiet NaN.
float GetNan();

// Half precision. To half: the mantissa is cut off, and infinities, NaNs and what is too small or
// too large for a half come out as whatever their bits give. From half: exponent 0 gives a zero.
unsigned short Float32ToFloat16(unsigned bits);
unsigned Float16ToFloat32(unsigned short half);

// Toward zero; NaN gives 0, what is too large 0x7fffffff, what is too small 0x80000000. As on the
// chip the three raise IOC, and a lost fraction IXC.
int Float32ToInt32Cast(float value);
// Deliberate: the limits of the signed conversion, so that 3e9 gives 0x7fffffff and -1 0xffffffff.
unsigned Float32ToUint32Cast(float value);

// Adds exception flags to FPSCR. Deliberate: a result of FLT_MAX or more raises IOC as well.
inline void updateCPSRExceptions(unsigned raised, float result) {
  constexpr unsigned kMagnitude = 0x7fffffff;
  constexpr unsigned kLargest = 0x7f7fffff;  // FLT_MAX; one more is infinity, beyond are the NaNs
  const bool huge = (Float32ToUint32(result) & kMagnitude) - kLargest <= 1;
  registers_->fpscr() |= raised | (huge ? fpscr::kIoc : 0u);
}

// Ends an arithmetic instruction, whose flags from the host are in FPSCR already: the context has
// floating point state from then on.
inline void EndFpuInstruction(float result) {
  updateCPSRExceptions(0, result);
  registers_->control() |= control::kFpContext;
}

// N, Z, C and V of FPSCR for a comparison. Deliberate: the difference decides first, so that equal
// infinities, whose difference is NaN, count as less than.
void updateCPSRForF32(float a, float b, float difference);
// The same for doubles. Unordered operands also print a message and raise HardFault.
void updateCPSRForF64(double a, double b, double difference);

// N, Z, C and V of FPSCR to xPSR.
inline void updateCPSRWithFPSCR() {
  registers_->flags().Set(registers_->fpscr());
}

}  // namespace orvo
