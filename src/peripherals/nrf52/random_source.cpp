#include "peripherals/nrf52/random_source.h"

#include <cstdlib>
#include <ctime>

namespace orvo {

void RandomSource::Seed(unsigned seed, unsigned stream) {
  std::seed_seq sequence{seed, stream};
  seeded_.emplace(sequence);
}

// Deliberate: without a seed a run doesn't repeat. This is the one place where the host's time
// reaches the simulation.
void RandomSource::StartAnew() {
  if (!seeded_) std::srand(static_cast<unsigned>(std::time(nullptr)));
}

unsigned RandomSource::NextByte() {
  return seeded_ ? static_cast<unsigned>((*seeded_)() % 256)
                 : static_cast<unsigned>(std::rand() % 256);
}

}  // namespace orvo
