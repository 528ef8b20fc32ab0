// Names of table rows that are told apart by their assembly.
#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <string>

namespace orvo {

// "adds_r0_r1_r2_" and the row's number.
template <class Case>
std::string RowName(const testing::TestParamInfo<Case>& info) {
  std::string name;
  for (const char letter : std::string(info.param.assembly) + "_" + std::to_string(info.index)) {
    const bool usable = std::isalnum(static_cast<unsigned char>(letter)) != 0;
    if (usable || (!name.empty() && name.back() != '_')) name += usable ? letter : '_';
  }
  return name;
}

}  // namespace orvo
