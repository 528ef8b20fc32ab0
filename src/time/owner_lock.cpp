#include "time/owner_lock.h"

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orvo {

namespace {

// membarrier(2): on return every running thread of the process has passed a memory barrier.
bool Membarrier(int command) { return syscall(SYS_membarrier, command, 0, 0) == 0; }

}  // namespace

OwnerLock::OwnerLock() : own_barrier_(!Membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED)) {}

void OwnerLock::LockAsOther() {
  mutex_.lock();
  others_inside_.store(true);
  if (!own_barrier_) Membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
  // From here on the owner stays out. It never is inside for long.
  while (owner_inside_.load()) std::this_thread::yield();
}

void OwnerLock::UnlockAsOther() {
  others_inside_.store(false, std::memory_order_release);
  mutex_.unlock();
}

void OwnerLock::WaitAsOwner() {
  owner_inside_.store(false, std::memory_order_release);
  mutex_.lock();
  owner_has_mutex_ = true;
}

void OwnerLock::UnlockAfterWait() {
  owner_has_mutex_ = false;
  mutex_.unlock();
}

}  // namespace orvo
