// Where a UART's output goes, beyond tests/system/uart_test.cpp and outputs_test.cpp.
#include <gmock/gmock.h>

#include <string>

#include "support/temporary_directory.h"
#include "unit/wires/uart_bench.h"

namespace orvo {
namespace {

using testing::HasSubstr;

TEST(UartOutput, HeldOutputComesOutInOnePiece) {
  UartBench bench;
  const TemporaryDirectory directory;
  bench.Option("file:" + (directory.path() / "uart").string());
  bench.uart.HoldOutput();
  bench.Send("abc");
  EXPECT_EQ(directory.Read("uart"), "");
  bench.uart.ReleaseOutput();
  EXPECT_EQ(directory.Read("uart"), "abc");
  bench.Send("d");
  EXPECT_EQ(directory.Read("uart"), "abcd");
}

TEST(UartOutput, FileReplacesAnOldOneAndServesSeveralUarts) {
  UartBench first, second;
  const TemporaryDirectory directory;
  const std::string option = "file:" + directory.Write("uart", "from an earlier run");
  testing::internal::CaptureStdout();
  first.Option(option);
  second.Option(option);
  for (const char* text : {"ab", "c\0d"}) {
    first.Send(text);
    second.Send("-");
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(directory.Read("uart"), "ab-c-");
}

TEST(UartOutput, FullDiskIsFoundWhenHeldOutputIsReleased) {
  UartBench bench;
  bench.Option("file:/dev/full");
  bench.uart.HoldOutput();
  bench.Send("xyz");
  EXPECT_THAT(MessageOf([&] { bench.uart.ReleaseOutput(); }), HasSubstr("No space left on device"));
}

TEST(UartOutput, OnlyOneUartTakesATcpPort) {
  UartBench second;
  {
    UartBench first;
    first.Option("tcp-port:0");
    EXPECT_EQ(MessageOf([&] { second.Option("tcp-port:0"); }),
              "UartHandlerBase: UART TCP is not supported for more than one UART");
  }
  EXPECT_EQ(MessageOf([&] { second.Option("tcp-port:0"); }), "");
}

}  // namespace
}  // namespace orvo
