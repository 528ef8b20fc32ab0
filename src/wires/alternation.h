// Strict alternation of the simulation thread with the thread of a device model that blocks in the
// operations of a bus: while one runs, the other stands, so that the two never touch the simulation
// at once. It begins with the model's first wait. Before that, and while the model has declared
// itself to be blocked elsewhere, both run.
//
// No wait outlasts the other side: the simulation goes on when the model's thread ends or the run
// is stopped, the model when the alternation ends.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "runner/orvo_signals.h"

namespace orvo {

class Alternation {
  struct State;

 public:
  // Held by each operation of either side from its beginning to its end, but for the waits in it:
  // it guards all that the two share.
  class Lock {
   public:
    explicit Lock(std::shared_ptr<State> state);

   private:
    friend class Alternation;
    std::shared_ptr<State> state_;
    std::unique_lock<std::mutex> lock_;
  };

  Alternation();
  Alternation(const Alternation&) = delete;
  Alternation& operator=(const Alternation&) = delete;
  ~Alternation() { Close(); }

  Lock Acquire() { return Lock(state_); }

  // The model's thread.

  // Lets the simulation run until that has made `ready` true. Returns false if the alternation has
  // ended instead.
  template <class Ready>
  bool BlockUntil(Lock& lock, Ready ready) {
    Enter();
    while (!state_->ended && !ready()) WaitForTurn(lock);
    state_->model = Model::kRuns;
    return !state_->ended;
  }
  // The model is about to block in something that nobody here sees, or is back from it.
  void SetBlocking(Lock& lock, bool blocking);
  // The model has ended; without a call, its thread's end says so.
  void Leave();

  // The simulation thread.

  // Waits while the model runs. Returns whether it now stands in BlockUntil().
  bool WaitUntilBlocking(Lock& lock);
  // Lets a model that stands in BlockUntil() run until it blocks again. Returns as above.
  bool Run(Lock& lock);
  // A new thread of the model is about to start.
  void ExpectModel(Lock& lock);

  // Any thread.

  // Ends all waits, now and later.
  void End();
  // The same, and returns when the model's thread has left BlockUntil() and what called it.
  void Close();
  bool HasEnded(const Lock&) const { return state_->ended; }

 private:
  enum class Model { kRuns, kWaits, kIsBlockedElsewhere, kIsGone };

  // Shared, as the thread that leaves last may be that of the model.
  struct State {
    std::mutex mutex;
    std::condition_variable model_blocked;
    std::condition_variable model_may_run;
    Model model = Model::kRuns;
    std::thread::id model_thread;
    unsigned waiting = 0;  // threads in BlockUntil()
    bool ended = false;
    bool stopped = false;  // the run is: the simulation waits for nobody any more
  };
  class ThreadEnd;

  void Enter();
  void WaitForTurn(Lock& lock);
  static void LeaveState(State& state, bool only_this_thread);

  std::shared_ptr<State> state_ = std::make_shared<State>();
  Connection<int> stop_connection_;
};

}  // namespace orvo
