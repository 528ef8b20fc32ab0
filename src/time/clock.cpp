// The scheduler of virtual time. Listeners come from any thread, hence the lock; it is never held
// while one of them is called.
#include "time/clock.h"

#include <algorithm>

#include "runner/errors.h"
#include "time/virtual_time.h"

namespace orvo {

void Clock::Insert(unsigned long tick, TickListener* listener, bool by_time) {
  Listeners::iterator place;
  if (spare_listeners_.empty()) {
    place = listeners_.emplace(tick, Waiting{listener, by_time});
  } else {
    Listeners::node_type node = std::move(spare_listeners_.back());
    spare_listeners_.pop_back();
    node.key() = tick;
    node.mapped() = {listener, by_time};
    place = listeners_.insert(std::move(node));  // behind equal keys, as emplace
  }
  if (spare_places_.empty()) {
    place_of_.emplace(listener, place);
  } else {
    Places::node_type node = std::move(spare_places_.back());
    spare_places_.pop_back();
    node.key() = listener;
    node.mapped() = place;
    place_of_.insert(std::move(node));
  }
}

void Clock::Remove(Places::iterator place) {
  spare_listeners_.push_back(listeners_.extract(place->second));
  spare_places_.push_back(place_of_.extract(place));
}

void Clock::UpdateNextListenerTick() {
  next_listener_tick_.store(listeners_.empty() ? kNever : listeners_.begin()->first,
                            std::memory_order_relaxed);
}

void Clock::AttachToTick(unsigned long tick, TickListener* listener, bool by_time) {
  {
    const std::lock_guard lock(listener_lock_);
    if (place_of_.count(listener) == 0) {
      Insert(tick, listener, by_time);
      UpdateNextListenerTick();
      return;
    }
  }
  // Outside the lock: the error tells the control connection, whose listeners may attach.
  throw OrvoError("Can't call AttachToTick twice from same object");
}

void Clock::DetachFromTick(TickListener* listener) {
  const std::lock_guard lock(listener_lock_);
  const auto place = place_of_.find(listener);
  if (place == place_of_.end()) return;
  Remove(place);
  UpdateNextListenerTick();
}

void Clock::AttachToTime(unsigned long nanoseconds, TickListener* listener) {
  const unsigned long delay_ticks = TicksFromNanoseconds(nanoseconds, GetFrequency());
  AttachToTick(delay_ticks + TickCount(), listener, true);
}

void Clock::Tickrement(int ticks) {
  for (; ticks > 0; --ticks) {
    AdvanceOneTick();
    if (ServiceIsDue()) service_.HandleTickListeners(this->ticks());
  }
}

void Clock::HandleSelfTickListeners() {
  while (ticks() >= next_listener_tick()) {
    TickListener* listener = nullptr;
    {
      const std::lock_guard lock(listener_lock_);
      if (!listeners_.empty() && listeners_.begin()->first <= ticks()) {
        listener = listeners_.begin()->second.listener;
        Remove(place_of_.find(listener));
      }
      // Already here, so that a callback that runs the clock itself finds a true mark.
      UpdateNextListenerTick();
    }
    if (listener == nullptr) continue;
    const unsigned long next_tick = listener->OnTick(ticks());
    // By tick, even if the first attachment was by time.
    if (next_tick != 0) AttachToTick(next_tick, listener, false);
  }
}

void Clock::HandleTickListeners() {
  HandleSelfTickListeners();
  service_.HandleTickListeners(ticks());
}

void Clock::CalcNextTick() {
  {
    const std::lock_guard lock(listener_lock_);
    UpdateNextListenerTick();
  }
  service_.CalcNextTick();
}

void Clock::SetFrequency(unsigned long frequency_hz) {
  const unsigned long old_hz = GetFrequency();
  if (frequency_hz != old_hz) UpdateAttachToTimeListeners(frequency_hz, old_hz);
  frequency_hz_.store(frequency_hz, std::memory_order_relaxed);
}

void Clock::UpdateAttachToTimeListeners(unsigned long new_hz, unsigned long old_hz) {
  if (old_hz == 0) return;  // no time has a length in ticks yet
  const unsigned long now = TickCount();
  const std::lock_guard lock(listener_lock_);
  // In ascending order, and the new distances ascend too: among equal keys the order stays.
  std::vector<Listeners::node_type> moved;
  for (auto place = listeners_.begin(); place != listeners_.end();) {
    const auto here = place++;
    if (!here->second.by_time) continue;
    const unsigned long remaining = here->first - std::min(here->first, now);
    const double rescaled =
        static_cast<double>(remaining) / static_cast<double>(old_hz) * static_cast<double>(new_hz);
    moved.push_back(listeners_.extract(here));
    moved.back().key() = now + std::min(TruncateToTicks(rescaled), kNever - now);
  }
  for (Listeners::node_type& node : moved) {
    TickListener* const listener = node.mapped().listener;
    place_of_[listener] = listeners_.insert(std::move(node));
  }
  UpdateNextListenerTick();
}

}  // namespace orvo
