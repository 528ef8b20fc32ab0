// The clocks of a chip, by name. Owns them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "time/clock.h"

namespace orvo {

// The core clock, which every instruction advances by one tick.
inline constexpr char kCoreClock[] = "hlck";

class ClockManager {
 public:
  // Makes the SourceClock "hlck".
  ClockManager();
  virtual ~ClockManager();

  void AddClock(std::unique_ptr<Clock> clock);
  // Throws OrvoError for an unknown name.
  Clock* GetClockByName(const std::string& name) const;

 private:
  std::vector<std::unique_ptr<Clock>> clocks_;
};

}  // namespace orvo
