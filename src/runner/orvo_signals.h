// The process-wide signal bus: five channels through which parts that don't know each other meet.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <utility>

#include "runner/singleton.h"

namespace orvo {

class ArgsManager;

// An ordered list of listeners. All operations may be called from any thread; listeners run on the
// thread that emits, in the order of their ids. One listener never runs on two threads at a time.
template <class T>
class Signal {
 public:
  using Listener = std::function<void(T)>;

  // Returns the id, which Disconnect() takes.
  int Connect(Listener listener) {
    const std::lock_guard lock(mutex_);
    auto slots = std::make_shared<Slots>(*slots_);
    slots->emplace(next_id_, std::make_shared<Slot>(std::move(listener)));
    slots_ = std::move(slots);
    return next_id_++;
  }

  // Afterwards the listener doesn't run any more: waits for a call on another thread to end.
  // Unknown ids are ignored.
  void Disconnect(int id) {
    std::shared_ptr<Slot> slot;
    {
      const std::lock_guard lock(mutex_);
      const auto found = slots_->find(id);
      if (found == slots_->end()) return;
      slot = found->second;
      auto slots = std::make_shared<Slots>(*slots_);
      slots->erase(id);
      slots_ = std::move(slots);
    }
    const std::lock_guard running(slot->running);
    slot->connected = false;
  }

  void emit(T value) {
    emitted_ = true;
    std::shared_ptr<const Slots> slots;
    {
      const std::lock_guard lock(mutex_);
      slots = slots_;
    }
    for (const auto& [id, slot] : *slots) {
      const std::lock_guard running(slot->running);
      if (slot->connected) slot->listener(value);
    }
  }

  // Whether emit() was called before: for those who may have come too late to be told.
  bool WasEmitted() const { return emitted_; }

 private:
  struct Slot {
    explicit Slot(Listener called) : listener(std::move(called)) {}
    Listener listener;
    bool connected = true;
    // Recursive: a listener may emit the same signal again, and disconnect itself.
    std::recursive_mutex running;
  };
  using Slots = std::map<int, std::shared_ptr<Slot>>;

  // Replaced, never changed: emit() goes on with what it found.
  std::shared_ptr<const Slots> slots_ = std::make_shared<Slots>();
  int next_id_ = 0;
  std::mutex mutex_;
  std::atomic<bool> emitted_{false};
};

// Keeps one listener connected for as long as this object lives, so that no signal outlives the
// object that it calls.
template <class T>
class Connection {
 public:
  Connection() = default;
  Connection(Signal<T>& signal, typename Signal<T>::Listener listener)
      : signal_(&signal), id_(signal.Connect(std::move(listener))) {}
  Connection(Connection&& other) noexcept
      : signal_(std::exchange(other.signal_, nullptr)), id_(other.id_) {}
  Connection& operator=(Connection&& other) noexcept {
    std::swap(signal_, other.signal_);
    std::swap(id_, other.id_);
    return *this;
  }
  ~Connection() {
    if (signal_ != nullptr) signal_->Disconnect(id_);
  }

 private:
  Signal<T>* signal_ = nullptr;
  int id_ = 0;
};

class OrvoSignals {
 public:
  Signal<int> terminate;                            // carries the exit code
  Signal<ArgsManager&> options_parsed;              // once, after the Program was built
  Signal<const nlohmann::json&> send_json_message;  // ConnectionManager::SendJsonMessage
  Signal<const nlohmann::json&> send_json_event;    // ConnectionManager::SendJsonEvent
  Signal<int> raise_interrupt;                      // interrupt number, Interrupts::RaiseInterrupt

  static OrvoSignals& Get() { return ISingelton<OrvoSignals>::GetInstance(); }
};

}  // namespace orvo
