// Which encodings may be compared with another engine, and how.
#pragma once

#include "samples.h"

namespace orvo {

// How much a comparison with another engine may expect of an encoding.
enum class Comparable {
  kNo,     // UNPREDICTABLE there, or its effect needs what the other engine doesn't have
  kAlone,  // may not stand in an IT block
  kAnywhere,
  kBranch,       // sets pc; may stand last in an IT block
  kBranchAlone,  // sets pc; may not stand in an IT block
};
inline bool IsBranch(Comparable comparable) { return comparable >= Comparable::kBranch; }

Comparable ComparabilityOf(const Sample& sample);

}  // namespace orvo
