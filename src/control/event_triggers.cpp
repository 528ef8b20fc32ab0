#include "control/event_triggers.h"

#include <algorithm>
#include <utility>

namespace orvo {

namespace {

bool Contains(const nlohmann::json& event, const nlohmann::json& pattern) {
  const auto& keys = pattern.items();
  return std::all_of(keys.begin(), keys.end(), [&event](const auto& wanted) {
    const auto found = event.find(wanted.key());
    return found != event.end() && *found == wanted.value();
  });
}

}  // namespace

int EventTriggers::Add(nlohmann::json pattern) {
  const std::lock_guard lock(mutex_);
  patterns_.emplace(next_number_, std::move(pattern));
  armed_ = true;
  return next_number_++;
}

void EventTriggers::Remove(int number) {
  const std::lock_guard lock(mutex_);
  patterns_.erase(number);
  armed_ = !patterns_.empty();
}

void EventTriggers::Clear() {
  const std::lock_guard lock(mutex_);
  patterns_.clear();
  armed_ = false;
}

bool EventTriggers::Match(const nlohmann::json& event) const {
  if (!armed_) return false;
  const std::lock_guard lock(mutex_);
  return std::any_of(patterns_.begin(), patterns_.end(),
                     [&event](const auto& entry) { return Contains(event, entry.second); });
}

}  // namespace orvo
