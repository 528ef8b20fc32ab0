// Timed callbacks of plug-ins. They come from any thread; the lock is never held during a call.
#include "time/service_tick_function.h"

#include <algorithm>

#include "runner/errors.h"
#include "time/virtual_time.h"

namespace orvo {

namespace {
// Deliberate: a 64 MHz clock is assumed, whatever the real frequency is.
constexpr double kTicksPerNanosecond = 0.064;
}  // namespace

unsigned long ServiceTickFunction::TickAfter(unsigned long nanoseconds) const {
  const unsigned long now = tick_->load(std::memory_order_relaxed);
  return TruncateToTicks(static_cast<double>(now) +
                         static_cast<double>(nanoseconds) * kTicksPerNanosecond);
}

int ServiceTickFunction::Schedule(unsigned long tick, GoFunctionData data) {
  if (data.id == 0) data.id = ++last_id_;
  const int id = data.id;
  index_[id] = functions_.emplace(tick, std::move(data));
  UpdateNextDueTick();
  return id;
}

void ServiceTickFunction::UpdateNextDueTick() {
  next_due_tick_.store(functions_.empty() ? ~0ul : functions_.begin()->first,
                       std::memory_order_relaxed);
}

int ServiceTickFunction::GoFunction(unsigned long nanoseconds,
                                    const std::function<void(int)>& function, bool repeat, int id) {
  const unsigned long interval_ns = repeat ? nanoseconds : GoFunctionData::kOneShot;
  const std::lock_guard lock(lock_);
  return Schedule(TickAfter(nanoseconds), {interval_ns, function, repeat, id});
}

GoFunctionData ServiceTickFunction::CancelFunction(int id) {
  {
    const std::lock_guard lock(lock_);
    const auto place = index_.find(id);
    if (place != index_.end()) {
      GoFunctionData data = std::move(place->second->second);
      functions_.erase(place->second);
      index_.erase(place);
      UpdateNextDueTick();
      return data;
    }
    for (Running* running = running_; running != nullptr; running = running->outer) {
      if (running->data.id != id || running->cancelled) continue;
      running->cancelled = true;
      return running->data;
    }
  }
  throw OrvoError("CancelFunction of id not found");
}

bool ServiceTickFunction::TakeDue(unsigned long tick, Running* running) {
  const std::lock_guard lock(lock_);
  const auto first = functions_.begin();
  const bool due = first != functions_.end() && first->first <= tick;
  if (due) {
    running->data = std::move(first->second);
    // Not if the id was given to a later function meanwhile: that one can still be cancelled.
    const auto place = index_.find(running->data.id);
    if (place != index_.end() && place->second == first) index_.erase(place);
    functions_.erase(first);
    running->outer = running_;
    running_ = running;
  }
  UpdateNextDueTick();
  return due;
}

void ServiceTickFunction::HandleTickListeners(unsigned long tick) {
  while (tick >= next_due_tick()) {
    Running running;
    if (!TakeDue(tick, &running)) return;
    try {
      running.data.function(running.data.id);
    } catch (...) {
      const std::lock_guard lock(lock_);
      running_ = running.outer;
      throw;
    }
    const std::lock_guard lock(lock_);
    running_ = running.outer;
    if (running.cancelled || running.data.interval_ns == GoFunctionData::kOneShot) continue;
    // An interval below one tick would come round for ever at the same tick.
    Schedule(std::max(TickAfter(running.data.interval_ns), tick + 1), std::move(running.data));
  }
}

void ServiceTickFunction::CalcNextTick() {
  const std::lock_guard lock(lock_);
  UpdateNextDueTick();
}

}  // namespace orvo
