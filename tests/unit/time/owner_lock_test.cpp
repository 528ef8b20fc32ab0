#include "time/owner_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace orvo {
namespace {

// Two numbers that only differ while somebody is inside. Meant for the thread sanitiser too.
TEST(OwnerLock, KeepsOwnerAndOtherThreadsApart) {
  constexpr int kThreads = 2;
  constexpr long kRounds = 50'000;
  OwnerLock lock;
  std::atomic<int> running{kThreads};
  volatile long first = 0, second = 0;
  long mixed = 0;
  const auto round = [&] {
    const std::lock_guard inside(lock);
    if (first != second) ++mixed;
    first = first + 1;
    second = second + 1;
  };
  std::vector<std::thread> others;
  for (int n = 0; n < kThreads; ++n) {
    others.emplace_back([&] {
      for (long i = 0; i < kRounds; ++i) round();
      --running;
    });
  }
  long owner_rounds = 0;
  for (; running > 0; ++owner_rounds) round();
  for (std::thread& other : others) other.join();
  EXPECT_EQ(mixed, 0);
  EXPECT_EQ(first, owner_rounds + kThreads * kRounds);
}

}  // namespace
}  // namespace orvo
