// Between virtual time and ticks. Every conversion truncates.
#pragma once

namespace orvo {

// The integer part of a value that isn't negative; what 64 bits can't hold becomes all ones.
inline unsigned long TruncateToTicks(double ticks) {
  constexpr double kTwoTo64 = 18446744073709551616.0;
  return ticks < kTwoTo64 ? static_cast<unsigned long>(ticks) : ~0ul;
}

// Ticks of a clock in a span of time, in double precision.
inline unsigned long TicksFromNanoseconds(unsigned long ns, unsigned long frequency_hz) {
  return TruncateToTicks(static_cast<double>(frequency_hz) / 1e9 * static_cast<double>(ns));
}

}  // namespace orvo
