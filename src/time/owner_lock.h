// A lock for data that one thread uses all the time and others now and then. The thread that made
// the lock, its owner, pays a few plain loads and stores; any other pays a system call.
#pragma once

#include <atomic>
#include <mutex>
#include <thread>

namespace orvo {

// For std::lock_guard. Not recursive.
class OwnerLock {
 public:
  OwnerLock();
  OwnerLock(const OwnerLock&) = delete;
  OwnerLock& operator=(const OwnerLock&) = delete;

  void lock() {
    if (std::this_thread::get_id() != owner_) return LockAsOther();
    // This store must be seen before others_inside_ is read. The other threads see to that for both
    // sides, by a barrier in every thread of the process; only without it the owner needs its own.
    owner_inside_.store(true, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (own_barrier_) owner_inside_.store(true);
    if (others_inside_.load()) WaitAsOwner();
  }
  void unlock() {
    if (std::this_thread::get_id() != owner_) return UnlockAsOther();
    if (owner_has_mutex_) return UnlockAfterWait();
    owner_inside_.store(false, std::memory_order_release);
  }

 private:
  void LockAsOther();
  void UnlockAsOther();
  void WaitAsOwner();
  void UnlockAfterWait();

  const std::thread::id owner_ = std::this_thread::get_id();
  const bool own_barrier_;
  bool owner_has_mutex_ = false;  // the owner's alone
  std::atomic<bool> owner_inside_{false};
  std::atomic<bool> others_inside_{false};
  std::mutex mutex_;  // among the others, and for an owner that has to wait for them
};

}  // namespace orvo
