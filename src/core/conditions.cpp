#include "core/conditions.h"

#include "runner/errors.h"

namespace orvo {
namespace {

bool Holds(unsigned cc, bool n, bool z, bool c, bool v) {
  switch (cc) {
    case 0:
    case 15: return true;
    case 1: return z;                // EQ
    case 2: return !z;               // NE
    case 3: return c;                // HS
    case 4: return !c;               // LO
    case 5: return n;                // MI
    case 6: return !n;               // PL
    case 7: return v;                // VS
    case 8: return !v;               // VC
    case 9: return c && !z;          // HI
    case 10: return !c || z;         // LS
    case 11: return n == v;          // GE
    case 12: return n != v;          // LT
    case 13: return n == v && !z;    // GT
    case 14: return n != v || z;     // LE
    default: throw OrvoError("Arm instructions: Unknown ARM cc: " + std::to_string(cc));
  }
}

}  // namespace

unsigned short ConditionMask(unsigned cc) {
  unsigned mask = 0;
  for (unsigned nzcv = 0; nzcv < 16; ++nzcv) {
    if (Holds(cc, nzcv & 8, nzcv & 4, nzcv & 2, nzcv & 1)) mask |= 1u << nzcv;
  }
  return static_cast<unsigned short>(mask);
}

}  // namespace orvo
