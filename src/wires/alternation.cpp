#include "wires/alternation.h"

#include <utility>
#include <vector>

namespace orvo {

// Tells the alternations that a thread has taken part in when the thread ends.
class Alternation::ThreadEnd {
 public:
  void Tell(const std::shared_ptr<State>& state) { states_.push_back(state); }
  ~ThreadEnd() {
    for (const std::weak_ptr<State>& left : states_) {
      if (const std::shared_ptr<State> state = left.lock()) LeaveState(*state, true);
    }
  }

 private:
  std::vector<std::weak_ptr<State>> states_;
};

Alternation::Lock::Lock(std::shared_ptr<State> state)
    : state_(std::move(state)), lock_(state_->mutex) {}

Alternation::Alternation()
    : stop_connection_(OrvoSignals::Get().terminate, [state = state_](int) {
        const std::lock_guard lock(state->mutex);
        state->stopped = true;
        state->model_blocked.notify_all();
      }) {}

// With the lock held.
void Alternation::Enter() {
  const std::thread::id thread = std::this_thread::get_id();
  if (state_->model_thread == thread) return;
  state_->model_thread = thread;
  thread_local ThreadEnd thread_end;
  thread_end.Tell(state_);
}

void Alternation::WaitForTurn(Lock& lock) {
  State& state = *state_;
  state.model = Model::kWaits;
  state.model_blocked.notify_all();
  ++state.waiting;
  state.model_may_run.wait(lock.lock_, [&] { return state.model != Model::kWaits || state.ended; });
  --state.waiting;
  if (state.ended) state.model_blocked.notify_all();  // for Close()
}

void Alternation::SetBlocking(Lock&, bool blocking) {
  state_->model = blocking ? Model::kIsBlockedElsewhere : Model::kRuns;
  state_->model_blocked.notify_all();
}

void Alternation::Leave() { LeaveState(*state_, false); }

void Alternation::LeaveState(State& state, bool only_this_thread) {
  const std::lock_guard lock(state.mutex);
  if (only_this_thread && state.model_thread != std::this_thread::get_id()) return;
  state.model = Model::kIsGone;
  state.model_thread = {};
  state.model_blocked.notify_all();
}

bool Alternation::WaitUntilBlocking(Lock& lock) {
  State& state = *state_;
  const auto may_go_on = [&] {
    return state.model != Model::kRuns || state.ended || state.stopped;
  };
  state.model_blocked.wait(lock.lock_, may_go_on);
  return state.model == Model::kWaits && !state.ended && !state.stopped;
}

bool Alternation::Run(Lock& lock) {
  if (state_->model == Model::kWaits) {
    state_->model = Model::kRuns;
    state_->model_may_run.notify_all();
  }
  return WaitUntilBlocking(lock);
}

void Alternation::ExpectModel(Lock&) { state_->model = Model::kRuns; }

void Alternation::End() {
  const std::lock_guard lock(state_->mutex);
  state_->ended = true;
  state_->model_blocked.notify_all();
  state_->model_may_run.notify_all();
}

void Alternation::Close() {
  End();
  Lock lock = Acquire();
  lock.state_->model_blocked.wait(lock.lock_, [this] { return state_->waiting == 0; });
}

}  // namespace orvo
