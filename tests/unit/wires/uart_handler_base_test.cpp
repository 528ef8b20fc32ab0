// The queue and its pacing, and wires. The ends on the host: tests/system/uart_test.cpp.
#include "wires/uart_handler_base.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "unit/wires/uart_bench.h"

namespace orvo {
namespace {

using testing::ElementsAre;

TEST(UartHandlerBase, LateBlockQueuesBehindTheBytesOnTheLine) {
  UartBench bench;
  bench.Fill("ab");
  bench.Advance(UartBench::kWordTicks + 1000);
  bench.Fill("c");
  EXPECT_EQ(bench.TakeVisible(), "a");
  bench.Advance(2 * UartBench::kWordTicks - 1000);
  EXPECT_EQ(bench.TakeVisible(), "bc");
}

TEST(UartHandlerBase, ItsSpeedIsWordLengthInBitTimes) {
  struct SpeedCase {
    unsigned baud, word_length_bits;
    unsigned long nanoseconds_per_word;
  };
  for (const SpeedCase& c :
       {SpeedCase{115200, 10, 86805}, SpeedCase{9600, 10, 1041666}, SpeedCase{115200, 11, 95486},
        SpeedCase{1, 10, 10'000'000'000}, SpeedCase{0, 10, 86805}}) {
    UartBench bench;
    bench.uart.SetBaudRate(c.baud);
    bench.uart.SetWordLength(c.word_length_bits);
    EXPECT_EQ(bench.uart.nanoseconds_per_word(), c.nanoseconds_per_word) << c.baud;
  }
}

TEST(UartHandlerBase, ChangeOfTheClockKeepsTheSpeedOfTheLine) {
  UartBench bench;
  bench.Fill("ab");
  bench.Advance(1555);
  bench.mcu.clock().SetFrequency(32'000'000);
  bench.Advance(1999);
  EXPECT_EQ(bench.available, 0u);
  bench.Advance(1);
  EXPECT_EQ(bench.available, 1u);
  bench.Advance(2777);
  EXPECT_EQ(bench.available, 2u);
}

TEST(UartHandlerBase, ByteTakenBeforeItsTimeIsNotSeenAgain) {
  UartBench bench;
  bench.Fill("ab");
  unsigned char byte = 0;
  ASSERT_TRUE(bench.uart.GetByte(&byte));
  ASSERT_TRUE(bench.uart.GetByte(&byte));
  EXPECT_FALSE(bench.uart.GetByte(&byte));
  EXPECT_EQ(byte, 'b');
  bench.Advance(2 * UartBench::kWordTicks);
  EXPECT_TRUE(bench.uart.IsBufferEmpty());
  bench.Fill("c");
  bench.Advance(UartBench::kWordTicks);
  EXPECT_EQ(bench.TakeVisible(), "c");
}

TEST(UartHandlerBase, ResetHidesWhatWasVisibleUntilMoreComesIn) {
  UartBench bench;
  bench.Fill("abc");
  bench.Advance(2 * UartBench::kWordTicks);
  bench.uart.Reset();
  EXPECT_TRUE(bench.uart.IsBufferEmpty());
  bench.Advance(5 * UartBench::kWordTicks);
  EXPECT_TRUE(bench.uart.IsBufferEmpty());
  bench.Fill("d");
  bench.Advance(4 * UartBench::kWordTicks);
  EXPECT_EQ(bench.TakeVisible(), "abcd");
}

TEST(UartHandlerBase, DetachedReceptionStandsStillUntilReset) {
  UartBench bench;
  bench.Fill("a");
  bench.uart.DetachFromTick();
  bench.Fill("b");
  bench.Advance(3 * UartBench::kWordTicks);
  EXPECT_EQ(bench.available, 0u);
  bench.uart.Reset();
  bench.Fill("c");
  bench.Advance(3 * UartBench::kWordTicks);
  EXPECT_EQ(bench.TakeVisible(), "abc");
}

// --- Wires -------------------------------------------------------------------------------------

TEST(UartHandlerBase, TakesBytesFromItsRxWireOnly) {
  UartBench bench;
  bench.SendOverWire(UartBench::kRxWire, "ab");
  bench.SendOverWire(9, "no");
  std::vector<WireDataEvent> stranger{
      {1, reinterpret_cast<const unsigned char*>("?"), UartBench::kRxWire, 9}};
  bench.uart.Update(&stranger);
  bench.uart.setRXPin(9);
  bench.SendOverWire(UartBench::kRxWire, "no");
  bench.SendOverWire(9, "c");
  bench.uart.setRXPin(UartHandlerBase::kNoWire);
  bench.SendOverWire(9, "no");
  bench.Advance(5 * UartBench::kWordTicks);
  EXPECT_EQ(bench.TakeVisible(), "abc");
}

TEST(UartHandlerBase, SendsToItsTxWireAtOnce) {
  UartBench bench;
  bench.Send("hi");
  bench.uart.setTXPin(UartHandlerBase::kNoWire);
  bench.Send("!");
  EXPECT_THAT(bench.far_end.heard(), ElementsAre("wire6.pin6=h", "wire6.pin6=i"));
}

TEST(UartHandlerBase, LeavesItsWireWhenItGoes) {
  UartBench bench;
  {
    UartHandlerBase uart(
        &bench.mcu, [] {}, &bench.wires, 9, 10, "UART8");
    uart.FillBuffer("x", 1);
  }
  bench.SendOverWire(9, "x");
  bench.Advance(2 * UartBench::kWordTicks);
}

}  // namespace
}  // namespace orvo
