// The ends of a UART on the host: standard output, a file, a TCP client, a pseudo-terminal, and the
// events on the control connection. All with real files, sockets and terminals.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "control/connection_manager.h"
#include "support/temporary_directory.h"
#include "unit/wires/uart_bench.h"

namespace orvo {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

// A TCP client of a server on this host.
class Client {
 public:
  explicit Client(unsigned short port) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ = connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
  }
  ~Client() { close(socket_); }

  bool connected() const { return connected_; }
  void Write(const std::string& text) {
    ASSERT_EQ(write(socket_, text.data(), text.size()), long(text.size()));
  }
  // Blocks until so many bytes are there.
  std::string Read(unsigned long size) {
    std::string text(size, '\0');
    const long got = recv(socket_, text.data(), size, MSG_WAITALL);
    text.resize(got < 0 ? 0 : got);
    return text;
  }

 private:
  int socket_;
  bool connected_;
};

// --- Standard output ---------------------------------------------------------------------------

TEST(UartOutput, GoesToStandardOutputOnlyIfAskedFor) {
  UartBench bench;
  testing::internal::CaptureStdout();
  bench.Send("lost");
  bench.Option("");
  bench.Send("kept");
  bench.Option("word");  // without a colon the text says nothing
  bench.Send("!");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "kept!");
  EXPECT_EQ(bench.far_end.heard().size(), 9u);
}

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

TEST(UartOutput, ClosedStandardOutputIsAnErrorWithTheReason) {
  std::signal(SIGPIPE, SIG_IGN);
  UartBench bench;
  bench.Option("");
  std::cout.flush();
  const int saved = dup(STDOUT_FILENO);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  dup2(ends[1], STDOUT_FILENO);
  close(ends[0]);
  close(ends[1]);
  const std::string error = MessageOf([&] { bench.Send("x"); });
  dup2(saved, STDOUT_FILENO);
  close(saved);
  std::clearerr(stdout);
  std::cout.clear();
  EXPECT_EQ(error, "UartHandlerBase: can't write to standard output: Broken pipe");
}

// --- File --------------------------------------------------------------------------------------

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

TEST(UartOutput, FileThatTakesNothingIsAnErrorWithNameAndReason) {
  UartBench bench;
  EXPECT_EQ(MessageOf([&] { bench.Option("file:/nowhere/uart"); }),
            "UartHandlerBase: can't open the uart output file /nowhere/uart: No such file or "
            "directory");
  bench.Option("file:/dev/full");
  EXPECT_EQ(MessageOf([&] { bench.Send("x"); }),
            "UartHandlerBase: can't write to the uart output file /dev/full: No space left on "
            "device");
}

TEST(UartOutput, FullDiskIsFoundWhenHeldOutputIsReleased) {
  UartBench bench;
  bench.Option("file:/dev/full");
  bench.uart.HoldOutput();
  bench.Send("xyz");
  EXPECT_THAT(MessageOf([&] { bench.uart.ReleaseOutput(); }), HasSubstr("No space left on device"));
}

// --- TCP ---------------------------------------------------------------------------------------

TEST(UartOutput, TcpClientReadsAndWritesTheLine) {
  UartBench bench;
  bench.Send("before there is a server");
  bench.Option("tcp-port:0");
  bench.Send("before there is a client");
  Client client(bench.uart.tcp_port());
  ASSERT_TRUE(client.connected());
  client.Write("to the chip");
  EXPECT_TRUE(bench.Receives("to the chip"));
  bench.Send("from the chip");
  EXPECT_EQ(client.Read(13), "from the chip");
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

TEST(UartOutput, TcpPortMustBeANumber) {
  for (const char* port : {"abc", "", "12x", "65536", "-1"}) {
    UartBench bench;
    EXPECT_EQ(MessageOf([&] { bench.Option(std::string("tcp-port:") + port); }),
              "UartHandlerBase: UART TCP port in invalid. Must be a number")
        << port;
  }
}

// --- Pseudo-terminal ---------------------------------------------------------------------------

struct Terminal {
  explicit Terminal(UartBench& bench) {
    testing::internal::CaptureStdout();
    ArgsManager args;
    args.pty = true;
    bench.uart.onArgsManager(args);
    line = testing::internal::GetCapturedStdout();
    const std::string path = line.substr(line.find('/'));
    descriptor = open(path.substr(0, path.size() - 1).c_str(), O_RDWR | O_NOCTTY);
  }
  ~Terminal() { close(descriptor); }

  std::string Read(unsigned long size) {
    std::string text;
    char byte = 0;
    while (text.size() < size && read(descriptor, &byte, 1) == 1) text += byte;
    return text;
  }

  std::string line;
  int descriptor = -1;
};

TEST(UartOutput, PseudoTerminalPassesAllBytesBothWaysAndEchoesNone) {
  const std::string bytes("a\r\n\x03\x04\x11\x13\x7f\xff\0z", 11);
  UartBench bench;
  Terminal terminal(bench);
  ASSERT_GE(terminal.descriptor, 0);
  EXPECT_THAT(terminal.line, MatchesRegex("UART already exists: /dev/pts/[0-9]+\n"));
  bench.Send(bytes);
  EXPECT_EQ(terminal.Read(bytes.size()), bytes);
  ASSERT_EQ(write(terminal.descriptor, bytes.data(), bytes.size()), long(bytes.size()));
  EXPECT_TRUE(bench.Receives(bytes));
  EXPECT_TRUE(bench.uart.IsBufferEmpty());
}

TEST(UartOutput, PseudoTerminalThatNobodyReadsDoesNotStopTheRun) {
  UartBench bench;
  Terminal terminal(bench);
  bench.Send(std::string(40'000, 'x'));
  bench.uart.CloseRecvThread();
}

TEST(UartOutput, PseudoTerminalSurvivesAUserWhoLeaves) {
  UartBench bench;
  {
    Terminal terminal(bench);
    ASSERT_EQ(write(terminal.descriptor, "a", 1), 1);
    EXPECT_TRUE(bench.Receives("a"));
  }
  bench.Send("into the void");
  EXPECT_EQ(bench.far_end.heard().size(), 13u);
}

// --- Control connection ------------------------------------------------------------------------

TEST(UartOutput, ClientOfTheControlConnectionGetsAnEventPerByte) {
  const TemporaryDirectory directory;
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(directory.path());
  {
    ConnectionManager connection;
    connection.Start(0, false);
    UartBench bench(&connection);
    bench.Send("unheard");
    unsigned short port = 0;
    std::ifstream(".zandor/port") >> port;
    Client client(port);
    ASSERT_TRUE(client.connected());
    while (!connection.HasClient()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    bench.Send("A");
    const std::string length = client.Read(4);
    ASSERT_EQ(length.size(), 4u);
    const auto event = nlohmann::json::parse(client.Read(static_cast<unsigned char>(length[3])));
    EXPECT_EQ(event["type"], "event");
    EXPECT_EQ(event["description"], "uart_event");
    EXPECT_EQ(event["value"], 65);
    EXPECT_EQ(event["name"], "UART7");
  }
  std::filesystem::current_path(before);
}

}  // namespace
}  // namespace orvo
