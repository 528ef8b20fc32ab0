// What the command line asks for.
#pragma once

namespace orvo {

struct RunOptions {
  unsigned long cases = 150'000;
  unsigned long seed = 20240229;
};
inline RunOptions run_options;

}  // namespace orvo
