// The UART of a run and those on its other end: TCP clients, a terminal, files, the control
// connection. The firmware is uart_echo, which echoes as many bytes as the first four say.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <thread>

#include "support/control_session.h"

namespace orvo {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using namespace std::chrono_literals;

std::string Bytes(unsigned count) {
  std::string bytes(count, '\0');
  unsigned state = 1;
  for (char& byte : bytes) byte = static_cast<char>((state = state * 1103515245 + 12345) >> 16);
  return bytes;
}

std::string WithCount(const std::string& bytes) {
  std::string count(4, '\0');
  for (int i = 0; i < 4; ++i) count[i] = static_cast<char>(bytes.size() >> (8 * i));
  return count + bytes;
}

ChildProcess StartEcho(const OrvoBench& bench, std::vector<std::string> options) {
  options.insert(options.end(),
                 {"-i", FirmwarePath("uart_echo.bin"), "-p", kFirmwareDone, "-k", "1"});
  return bench.Start(options);
}

// What stands behind the prefix in the first line of the run's output, which is written in one go.
std::string Printed(ChildProcess& process, const std::string& prefix) {
  if (!process.WaitForOutput(prefix, kRunLimit)) throw std::runtime_error("no " + prefix);
  return process.out().substr(prefix.size(), process.out().find('\n') - prefix.size());
}

void ExpectToEndWell(ChildProcess& process) {
  const ProcessResult run = process.Wait(kRunLimit);
  EXPECT_FALSE(run.timed_out);
  EXPECT_EQ(run.signal, 0);
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

class TcpSocket {
 public:
  explicit TcpSocket(int receive_buffer_bytes = 0) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
    if (receive_buffer_bytes == 0) return;
    setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &receive_buffer_bytes, sizeof(int));
  }
  ~TcpSocket() { close(socket_); }

  void Connect(const std::string& port) {
    sockaddr_in address = Address(std::stoi(port));
    ASSERT_EQ(connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  }
  // Takes a free port, which it returns.
  std::string Listen() {
    sockaddr_in address = Address(0);
    socklen_t length = sizeof(address);
    EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), length), 0);
    EXPECT_EQ(listen(socket_, 1), 0);
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length);
    return std::to_string(ntohs(address.sin_port));
  }
  // Until all is sent or the other side is gone.
  void Send(const std::string& bytes) {
    for (size_t sent = 0; sent < bytes.size();) {
      const long result = send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
      if (result < 0) return;
      sent += result;
    }
  }
  // Up to that many bytes; empty at the end of the stream.
  std::string Receive(size_t limit) {
    std::string bytes(limit, '\0');
    const long got = recv(socket_, bytes.data(), limit, 0);
    bytes.resize(got < 0 ? 0 : got);
    return bytes;
  }
  // Closes by a reset, as a client does that is killed with data unread.
  void Vanish() {
    const linger hard{1, 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &hard, sizeof(hard));
    close(socket_);
    socket_ = -1;
  }

 private:
  static sockaddr_in Address(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<unsigned short>(port));
    address.sin_addr.s_addr = htonl(port == 0 ? INADDR_ANY : INADDR_LOOPBACK);
    return address;
  }

  int socket_;
};

// --- TCP -----------------------------------------------------------------------------------------

TEST(UartOverTcp, AMegabyteComesBackCompleteToAClientThatPausesAndReadsInSmallPieces) {
  const std::string sent = Bytes(1 << 20);
  OrvoBench bench;
  ChildProcess process = StartEcho(bench, {"-u", "tcp-port:0"});
  TcpSocket client(4096);
  client.Connect(Printed(process, "UART TCP port: "));
  std::thread sender([&] { client.Send(WithCount(sent)); });
  std::string received;
  for (std::string piece; !(piece = client.Receive(4096)).empty(); received += piece) {
    // Long enough for the buffers of both sides to fill.
    if (received.size() < 4096 || sent.size() - received.size() < 70'000) {
      std::this_thread::sleep_for(100ms);
    }
  }
  sender.join();
  EXPECT_EQ(received.size(), sent.size());
  EXPECT_TRUE(received == sent);
  ExpectToEndWell(process);
}

TEST(UartOverTcp, AClientThatVanishesInMidTransferMakesRoomForTheNext) {
  const std::string sent = Bytes(100'000);
  OrvoBench bench;
  ChildProcess process = StartEcho(bench, {"-u", "tcp-port:0"});
  const std::string port = Printed(process, "UART TCP port: ");
  TcpSocket first, second;
  first.Connect(port);
  first.Send(WithCount(sent).substr(0, 50'000));
  EXPECT_EQ(sent.find(first.Receive(1000)), 0u);
  first.Vanish();
  second.Connect(port);
  second.Send(sent);  // more than is left, whatever of the first half got lost
  size_t received = 0;
  for (std::string piece; !(piece = second.Receive(4096)).empty();) received += piece.size();
  EXPECT_GT(received, 40'000u);
  ExpectToEndWell(process);
}

TEST(UartOverTcp, APortThatIsTakenIsNamed) {
  TcpSocket other;
  const std::string port = other.Listen();
  OrvoBench bench;
  const ProcessResult run = StartEcho(bench, {"-u", "tcp-port:" + port}).Wait(kRunLimit);
  EXPECT_EQ(run.exit_status, 255);
  EXPECT_THAT(run.err, HasSubstr("UART TCP port " + port + ": Could not bind socket."));
}

// --- Pseudo-terminal -----------------------------------------------------------------------------

// A terminal program's end: opened, and set up as one does.
class Terminal {
 public:
  explicit Terminal(const std::string& path) : terminal_(open(path.c_str(), O_RDWR | O_NOCTTY)) {
    termios settings{};
    EXPECT_EQ(tcgetattr(terminal_, &settings), 0) << path;
    cfmakeraw(&settings);
    cfsetspeed(&settings, B115200);
    EXPECT_EQ(tcsetattr(terminal_, TCSANOW, &settings), 0);
  }
  ~Terminal() { close(terminal_); }

  void Write(const std::string& bytes) {
    EXPECT_EQ(write(terminal_, bytes.data(), bytes.size()), static_cast<long>(bytes.size()));
  }
  std::string Read(size_t count) {
    std::string bytes;
    char byte = 0;
    while (bytes.size() < count && read(terminal_, &byte, 1) == 1) bytes += byte;
    return bytes;
  }

 private:
  int terminal_;
};

constexpr char kPtyPrefix[] = "UART already exists: ";

TEST(UartOverPty, ATerminalProgramGetsEveryByteEchoedAndStandardOutputTheSame) {
  const std::string sent = Bytes(1000);
  OrvoBench bench;
  ChildProcess process = StartEcho(bench, {"-y", "-u"});
  const std::string path = Printed(process, kPtyPrefix);
  EXPECT_THAT(path, MatchesRegex("/dev/pts/[0-9]+"));
  Terminal terminal(path);
  terminal.Write(WithCount(sent));
  // Late: at the end of the run all stands unread.
  EXPECT_TRUE(process.WaitForOutput(sent.substr(sent.size() - 10), kRunLimit));
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(terminal.Read(sent.size()), sent);
  const ProcessResult run = process.Wait(kRunLimit);
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_EQ(run.out, kPtyPrefix + path + "\n" + sent);
}

TEST(UartOverPty, AReaderThatIsGoneNeitherBlocksNorEndsTheRun) {
  OrvoBench bench;
  ChildProcess process = bench.Start({"-i", FirmwarePath("wait_printing.bin"), "-y", "-u"});
  EXPECT_EQ(Terminal(Printed(process, kPtyPrefix)).Read(8), "waiting\n");
  // Several times what the terminal holds.
  EXPECT_TRUE(process.WaitForOutput("line 1000 of", kRunLimit));
  process.Signal(SIGINT);
  ExpectToEndWell(process);
}

// --- Control connection --------------------------------------------------------------------------

TEST(UartOverControlConnection, WrittenBytesReachTheFirmwareAndItsBytesComeBackAsEvents) {
  OrvoBench bench;
  ChildProcess process = StartEcho(bench, {"-w"});
  ControlClient client(WaitForPort(bench));
  client.Send({{"type", "handshake"}, {"api_version", "1"}});
  ASSERT_FALSE(WaitForMessage(client, "stopped").is_null());
  const auto command = [&](const char* name, const nlohmann::json& value) {
    client.Send({{"type", "command"},
                 {"peripheral_type", "nrf52832"},
                 {"peripheral_name", "UARTE"},
                 {"command", name},
                 {"value", value}});
  };
  for (const int byte : {4, 0, 0, 0, int{'A'}, 0, 255}) command("write_uart_data", byte);
  Resume(client);
  // A byte in virtual time: ten bits at 1 Mbaud.
  RunFor(client, 80'000);
  command("write_uart_data", -2);
  Resume(client);
  for (const int byte : {int{'A'}, 0, 255, 254}) {
    const nlohmann::json event = WaitForMessage(client, "uart_event");
    EXPECT_EQ(event["value"], byte);
    EXPECT_EQ(event["name"], "UARTE");
    EXPECT_EQ(event["type"], "event");
  }
  ExpectToEndWell(process);
}

TEST(UartOverControlConnection, OtherCommandsAndValuesEndTheRunWithAMessage) {
  const std::tuple<const char*, nlohmann::json, const char*> mistakes[] = {
      {"read", 1, "Unknown command type: read in Uart"},
      {"write_uart_data", "A", "type must be number, but is string"},
      {"write_uart_data", 256, "write_uart_data: value: expected a byte, found 256"}};
  for (const auto& [name, value, message] : mistakes) {
    OrvoBench bench;
    ChildProcess process = StartEcho(bench, {"-w"});
    ControlClient client(WaitForPort(bench));
    client.Send({{"type", "handshake"}, {"api_version", "1"}});
    client.Send({{"type", "command"},
                 {"peripheral_type", "nrf52832"},
                 {"peripheral_name", "UARTE"},
                 {"command", name},
                 {"value", value}});
    Resume(client);
    const ProcessResult run = process.Wait(kRunLimit);
    EXPECT_FALSE(run.timed_out);
    EXPECT_THAT(run.err, HasSubstr(message));
  }
}

}  // namespace
}  // namespace orvo
