// One-shot and repeating callbacks in virtual time, which plug-ins reach.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <unordered_map>

namespace orvo {

struct GoFunctionData {
  static constexpr unsigned long kOneShot = ~0ul;

  unsigned long interval_ns = kOneShot;
  std::function<void(int)> function;
  bool repeat = false;
  int id = 0;
};

class ServiceTickFunction {
 public:
  explicit ServiceTickFunction(const std::atomic<unsigned long>* tick) : tick_(tick) {}

  // Schedules a call in `nanoseconds`; returns the id used, a fresh one for id 0. Any thread.
  int GoFunction(unsigned long nanoseconds, const std::function<void(int)>& function, bool repeat,
                 int id);
  // A function that cancels its own id inside its call isn't called again. Throws OrvoError for an
  // unknown id. Any thread.
  GoFunctionData CancelFunction(int id);
  // Calls all that is due at the tick. Simulation thread.
  void HandleTickListeners(unsigned long tick);
  // Earliest key, all ones when there is none.
  unsigned long next_due_tick() const { return next_due_tick_.load(std::memory_order_relaxed); }
  void CalcNextTick();

 private:
  using Functions = std::multimap<unsigned long, GoFunctionData>;
  // A function inside its call; a call may run the clock, and so others.
  struct Running {
    GoFunctionData data;
    Running* outer = nullptr;
    bool cancelled = false;
  };

  // Takes out the earliest function, if it is due, and enters it as running.
  bool TakeDue(unsigned long tick, Running* running);
  void UpdateNextDueTick();  // lock held
  // Takes an id for data without one. Returns the id. Lock held.
  int Schedule(unsigned long tick, GoFunctionData data);
  unsigned long TickAfter(unsigned long nanoseconds) const;

  std::atomic<unsigned long> next_due_tick_{~0ul};
  const std::atomic<unsigned long>* tick_;
  int last_id_ = 0;
  std::mutex lock_;
  Functions functions_;
  std::unordered_map<int, Functions::iterator> index_;
  Running* running_ = nullptr;  // the innermost
};

}  // namespace orvo
