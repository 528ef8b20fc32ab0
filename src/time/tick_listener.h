// Whoever wants to be called at a tick of a clock.
#pragma once

namespace orvo {

class TickListener {
 public:
  virtual ~TickListener() = default;
  // Returns the absolute tick, of the same clock, of the next call; 0 for none.
  virtual unsigned long OnTick(unsigned long tick) = 0;
};

}  // namespace orvo
