// The process-wide signal bus: five channels through which parts that don't know each other meet.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <utility>

#include "runner/singleton.h"

namespace orvo {

class ArgsManager;

// An ordered list of listeners. Connect() and emit() may be called from any thread; listeners run
// on the thread that emits, in the order of their ids, without the lock held.
template <class T>
class Signal {
 public:
  using Listener = std::function<void(T)>;

  // Returns the id, which Disconnect() takes.
  int Connect(Listener listener) {
    const std::lock_guard lock(mutex_);
    listeners_.emplace(next_id_, std::move(listener));
    return next_id_++;
  }

  // Unknown ids are ignored.
  void Disconnect(int id) {
    const std::lock_guard lock(mutex_);
    listeners_.erase(id);
  }

  void emit(T value) {
    std::map<int, Listener> listeners;
    {
      const std::lock_guard lock(mutex_);
      listeners = listeners_;
    }
    for (auto& [id, listener] : listeners) listener(value);
  }

 private:
  std::map<int, Listener> listeners_;
  int next_id_ = 0;
  std::mutex mutex_;
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
  Signal<int> terminate;                           // carries the exit code
  Signal<ArgsManager&> options_parsed;             // once, after the Program was built
  Signal<const nlohmann::json&> send_json_message; // ConnectionManager::SendJsonMessage
  Signal<const nlohmann::json&> send_json_event;   // ConnectionManager::SendJsonEvent
  Signal<int> raise_interrupt;                     // interrupt number, Interrupts::RaiseInterrupt

  static OrvoSignals& Get() { return ISingelton<OrvoSignals>::GetInstance(); }
};

}  // namespace orvo
