// The IT state of xPSR (ARMv7-M ARM, A7.3.3).
#pragma once

#include "core/globals.h"
#include "core/registers.h"

namespace orvo {

inline unsigned GetItReg() { return registers_->it(); }

inline void SetItReg(unsigned it) { registers_->it() = static_cast<unsigned char>(it); }

// IT[7:5].
inline unsigned GetItCondBase() { return GetItReg() >> 5; }

// IT[3:0] are 8.
inline bool LastInItBlock() { return (GetItReg() & 15u) == 8u; }

inline bool InItBlock() { return (GetItReg() & 15u) != 0; }

[[gnu::always_inline]] inline void ItAdvance() {
  const unsigned it = GetItReg();
  SetItReg((it & 7u) == 0 ? 0 : (it & 0xe0u) | ((it << 1) & 0x1fu));
}

}  // namespace orvo
