// The signal bus: order, and the promise that a disconnected listener isn't called.
#include "runner/orvo_signals.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace orvo {
namespace {

using testing::ElementsAre;

TEST(Signal, CallsListenersInTheOrderOfTheirConnection) {
  Signal<int> signal;
  std::vector<int> calls;
  signal.Connect([&calls](int value) { calls.push_back(value); });
  const int second = signal.Connect([&calls](int value) { calls.push_back(value + 1); });
  signal.Connect([&calls](int value) { calls.push_back(value + 2); });
  EXPECT_FALSE(signal.WasEmitted());
  signal.emit(10);
  signal.Disconnect(second);
  signal.Disconnect(99);
  signal.emit(20);
  EXPECT_THAT(calls, ElementsAre(10, 11, 12, 20, 22));
  EXPECT_TRUE(signal.WasEmitted());
}

TEST(Signal, ListenerMayEmitAndDisconnectItself) {
  Signal<int> signal;
  std::vector<int> calls;
  int id = 0;
  id = signal.Connect([&](int value) {
    calls.push_back(value);
    if (value > 0) return signal.emit(value - 1);
    signal.Disconnect(id);
  });
  signal.emit(2);
  signal.emit(2);
  EXPECT_THAT(calls, ElementsAre(2, 1, 0));
}

TEST(Signal, ConnectionEndsWithItsOwner) {
  Signal<int> signal;
  int calls = 0;
  Connection<int> moved;
  {
    Connection<int> connection(signal, [&calls](int) { ++calls; });
    moved = std::move(connection);
  }
  signal.emit(0);
  EXPECT_EQ(calls, 1);
  moved = Connection<int>();
  signal.emit(0);
  EXPECT_EQ(calls, 1);
}

TEST(Signal, DisconnectWaitsForACallOnAnotherThread) {
  Signal<int> signal;
  std::atomic<bool> entered{false}, go_on{false}, alive{true};
  bool was_alive = false;
  const int id = signal.Connect([&](int) {
    entered = true;
    while (!go_on) std::this_thread::yield();
    was_alive = alive;
  });
  std::thread emitter([&] { signal.emit(0); });
  while (!entered) std::this_thread::yield();
  std::thread release([&] { go_on = true; });
  signal.Disconnect(id);
  alive = false;
  emitter.join();
  release.join();
  EXPECT_TRUE(was_alive);
}

}  // namespace
}  // namespace orvo
