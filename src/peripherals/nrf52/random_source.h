// Where the RNG and the TEMP block have their values from: the host's rand(), or with a seed a
// stream that is the same in every run.
#pragma once

#include <optional>
#include <random>

namespace orvo {

class RandomSource {
 public:
  // From now on the values depend on these two numbers only.
  void Seed(unsigned seed, unsigned stream);
  // What a start of the RNG does without a seed: rand() goes on from the host's time.
  void StartAnew();
  // 0 to 255.
  unsigned NextByte();

 private:
  std::optional<std::mt19937> seeded_;  // the standard defines its values, on every host
};

}  // namespace orvo
