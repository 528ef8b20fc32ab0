// The IT state in xPSR (ARMv7-M ARM, A7.3.3): bits 26:25 hold IT[1:0], bits 15:10 hold IT[7:2].
#pragma once

#include "core/globals.h"
#include "core/registers.h"

namespace orvo {

inline constexpr unsigned kItLowBits = 3u << 25;    // IT[1:0]
inline constexpr unsigned kItHighBits = 0x3fu << 10;  // IT[7:2]

inline unsigned GetItReg() {
  const unsigned psr = registers_->xpsr();
  return ((psr >> 25) & 3u) | ((psr >> 8) & 0xfcu);
}

inline void SetItReg(unsigned it) {
  unsigned& psr = registers_->xpsr();
  psr = (psr & ~(kItLowBits | kItHighBits)) | ((it & 3u) << 25) | ((it & 0xfcu) << 8);
}

// IT[7:5].
inline unsigned GetItCondBase() { return (registers_->xpsr() >> 13) & 7u; }

// IT[3:0] are 8: bits 11:10 hold 0b10, bits 26:25 hold 0.
inline bool LastInItBlock() { return (GetItReg() & 15u) == 8u; }

// Whether IT[3:0] is not 0, without composing the byte.
inline bool InItBlock() { return (registers_->xpsr() & (kItLowBits | (3u << 10))) != 0; }

inline void ItAdvance() {
  const unsigned it = GetItReg();
  SetItReg((it & 7u) == 0 ? 0 : (it & 0xe0u) | ((it << 1) & 0x1fu));
}

}  // namespace orvo
