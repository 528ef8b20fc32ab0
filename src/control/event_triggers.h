// Events at which a client wants the run to pause: a test that waits for a byte of a UART or for
// the level of a pin then goes on at the event's own tick, and not a while of host time behind it.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>

namespace orvo {

// All operations: any thread.
class EventTriggers {
 public:
  // A pattern is an object; an event matches that has all of its keys, with equal values. Returns
  // the pattern's number.
  int Add(nlohmann::json pattern);
  // Does nothing for a number that isn't there.
  void Remove(int number);
  void Clear();
  // Cheap while there is no pattern.
  bool Match(const nlohmann::json& event) const;

 private:
  mutable std::mutex mutex_;
  std::map<int, nlohmann::json> patterns_;
  std::atomic<bool> armed_{false};
  int next_number_ = 0;
};

}  // namespace orvo
