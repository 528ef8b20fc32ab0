// Encodings of every key, found by a sweep of the encoding space through our own decoder.
#pragma once

#include <map>
#include <random>
#include <string>
#include <vector>

#include "core/capstone_resolver.h"

namespace orvo {

struct Sample {
  std::vector<unsigned short> code;  // one or two halfwords
  std::string key;
  Disassembly disassembly;
};

// By key, with " of pc" for what sets pc, at most `per_key` encodings of each: all 16-bit
// encodings, and a sample of the 32-bit ones drawn by the engine.
std::map<std::string, std::vector<Sample>> CollectSamples(std::mt19937_64& random, size_t per_key);

}  // namespace orvo
