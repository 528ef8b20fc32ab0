// The far end of a serial line: the chip is the bench, RX on wire 20, TX 21, CTS 22, RTS 23.
#include "wires/uart_device.h"

#include <gmock/gmock.h>

#include <string>
#include <thread>
#include <vector>

#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::ElementsAre;

constexpr unsigned kRx = 20, kTx = 21, kCts = 22, kRts = 23;

struct FarEnd {
  explicit FarEnd(bool flow_control)
      : device(wires, UartConfig{115200, 8, 1, kRx, kTx, kCts, kRts, flow_control, flow_control}) {
    wires.ConnectToWireData(&chip, kTx, kTx);
  }

  void SendFromChip(const std::string& text) {
    wires.SendDataOverWire(kRx, 0, std::vector<unsigned char>(text.begin(), text.end()), nullptr);
  }
  std::string Read(unsigned long length) {
    std::string text(length, '\0');
    text.resize(device.Read(text.data(), length));
    return text;
  }

  WireManager wires{nullptr, 200, false, false};
  DataListener chip;
  UARTDevice device;
};

TEST(UARTDevice, WritesToTheChipUnlessCtsIsHigh) {
  FarEnd end(true), uncontrolled(false);
  end.wires.SetWireLevel(kCts, true, 0, false, nullptr, false);
  EXPECT_EQ(end.device.Write("no", 2), 0u);
  end.wires.SetWireLevel(kCts, false, 0, false, nullptr, false);
  EXPECT_EQ(end.device.Write("yes", 3), 3u);
  EXPECT_THAT(end.chip.heard(), ElementsAre("wire21.pin21=yes"));
  EXPECT_TRUE(uncontrolled.wires.GetWireLevel(kCts));
  EXPECT_EQ(uncontrolled.device.Write("yes", 3), 3u);
}

TEST(UARTDevice, RtsIsLowUntilAReadIsServed) {
  FarEnd end(true);
  EXPECT_FALSE(end.wires.GetWireLevel(kRts));
  end.SendFromChip("abcd");
  EXPECT_EQ(end.Read(3), "abc");
  EXPECT_TRUE(end.wires.GetWireLevel(kRts));
  LevelListener rts;
  end.wires.ConnectToWireLogicState(&rts, kRts, kRts);
  EXPECT_EQ(end.Read(1), "d");
  EXPECT_THAT(rts.heard(), ElementsAre("wire23.pin23=low", "wire23.pin23=high"));
}

TEST(UARTDevice, ChipThatSendsWhenItSeesRtsDoesNotBlockTheReader) {
  FarEnd end(true);
  LevelListener rts;
  rts.on_update = [&] { end.SendFromChip("x"); };
  end.SendFromChip("ab");
  end.wires.ConnectToWireLogicState(&rts, kRts, kRts);
  EXPECT_EQ(end.Read(2), "ab");
  EXPECT_EQ(end.Read(1), "x");
}

TEST(UARTDevice, ReaderGetsEveryByteHoweverItMeetsTheSimulation) {
  constexpr int kRounds = 500;
  FarEnd end(false);
  std::string got;
  std::thread plugin([&] {
    for (int n = 0; n < 3 * kRounds; ++n) got += end.Read(3);
  });
  std::string sent;
  for (int n = 0; n < kRounds; ++n) {
    for (const char* part : {"a", "b", "cd", "efg", "hi"}) {
      end.SendFromChip(part);
      sent += part;
    }
  }
  plugin.join();
  EXPECT_EQ(got, sent);
}

TEST(UARTDevice, CancelEndsTheReadThatWaits) {
  FarEnd end(false);
  end.SendFromChip("a");
  std::thread plugin([&] { EXPECT_EQ(end.Read(5), ""); });
  end.device.CancelRead();
  plugin.join();
  EXPECT_EQ(end.Read(1), "a");
}

}  // namespace
}  // namespace orvo
