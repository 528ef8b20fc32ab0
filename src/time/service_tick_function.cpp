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
  }
  throw OrvoError("CancelFunction of id not found");
}

void ServiceTickFunction::HandleTickListeners(unsigned long tick) {
  while (tick >= next_due_tick()) {
    GoFunctionData due;
    {
      const std::lock_guard lock(lock_);
      const auto first = functions_.begin();
      if (first == functions_.end() || first->first > tick) {
        UpdateNextDueTick();
        return;
      }
      due = std::move(first->second);
      // Not if the id was given to a later function meanwhile: that one can still be cancelled.
      const auto place = index_.find(due.id);
      if (place != index_.end() && place->second == first) index_.erase(place);
      functions_.erase(first);
      UpdateNextDueTick();
    }
    due.function(due.id);
    if (due.interval_ns == GoFunctionData::kOneShot) continue;
    // An interval below one tick would come round for ever at the same tick.
    const unsigned long next_tick = std::max(TickAfter(due.interval_ns), tick + 1);
    const std::lock_guard lock(lock_);
    Schedule(next_tick, std::move(due));
  }
}

void ServiceTickFunction::CalcNextTick() {
  const std::lock_guard lock(lock_);
  UpdateNextDueTick();
}

}  // namespace orvo
