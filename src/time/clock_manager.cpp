#include "time/clock_manager.h"

#include "runner/errors.h"

namespace orvo {

ClockManager::ClockManager() { AddClock(std::make_unique<SourceClock>(kCoreClock)); }

ClockManager::~ClockManager() = default;

void ClockManager::AddClock(std::unique_ptr<Clock> clock) { clocks_.push_back(std::move(clock)); }

Clock* ClockManager::GetClockByName(const std::string& name) const {
  for (const auto& clock : clocks_) {
    if (clock->name() == name) return clock.get();
  }
  throw OrvoError("Unexpected clock name value: " + name);
}

}  // namespace orvo
