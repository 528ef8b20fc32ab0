// What the command line asks for, and encodings of every key, found by a sweep of the encoding
// space through our own decoder.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/capstone_resolver.h"

namespace orvo {

struct Sample {
  std::vector<unsigned short> code;  // one or two halfwords
  std::string key;
  Disassembly disassembly;
};

struct RunOptions {
  unsigned long cases = 200'000;
  unsigned long seed = 20240229;
};
inline RunOptions run_options;

// All 16-bit encodings and a sample of the 32-bit ones that the seed draws, some of each key.
struct Samples {
  std::map<std::string, std::vector<Sample>> by_key;  // " of pc" behind the key of what sets pc
  std::vector<const Sample*> straight;                // all that doesn't set pc
  std::vector<const Sample*> undisputed;  // of these anywhere and without deliberate differences
  std::vector<const Sample*> branches;
  std::vector<const Sample*> block_ends;  // of these last in an IT block and without differences
};
// Collected at the first call.
const Samples& SamplesOfThisRun();

}  // namespace orvo
