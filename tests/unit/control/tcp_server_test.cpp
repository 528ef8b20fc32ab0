#include "control/tcp_server.h"

#include <gmock/gmock.h>

#include <string>

#include "unit/control/control_bench.h"

namespace orvo {
namespace {

// Keeps what it reads.
class KeepingServer : public TcpServer {
 public:
  using TcpServer::TcpServer;
  ~KeepingServer() override { Join(); }
  void ClientHandler() override {
    char buffer[16];
    for (long got = 0; (got = Read(buffer, sizeof(buffer))) > 0;) {
      const std::lock_guard lock(mutex_);
      received_.append(buffer, got);
    }
  }
  std::string received() {
    const std::lock_guard lock(mutex_);
    return received_;
  }
  using TcpServer::SetSelectParams;

 private:
  std::mutex mutex_;
  std::string received_;
};

struct ServerBench {
  KeepingServer server;
  unsigned short port = server.StartServer(0);
  ControlClient client{port};

  ServerBench() {
    WaitUntil([this] { return server.HasClient(); });
  }
};

// More than the buffers of both sockets take.
const std::string kLongText(64 << 20, 'x');

TEST(TcpServer, StopOrTheNextClientEndsASendThatNobodyReads) {
  for (const bool stop : {true, false}) {
    ServerBench bench;
    bench.client.EndSending();
    std::thread other([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      if (stop) return bench.server.Stop();
      ControlClient next(bench.port);
      next.SendBytes("new");
      EXPECT_TRUE(WaitUntil([&] { return bench.server.received() == "new"; }));
    });
    bench.server.SendPacket(kLongText.data(), static_cast<long>(kLongText.size()));
    other.join();
  }
}

TEST(TcpServer, ClientThatReadsNothingIsDroppedWithAWarningAndMakesRoomForTheNext) {
  KeepingServer server(std::chrono::milliseconds(50));
  const unsigned short port = server.StartServer(0);
  ControlClient client(port);
  ASSERT_TRUE(WaitUntil([&] { return server.HasClient(); }));
  testing::internal::CaptureStderr();
  server.SendPacket(kLongText.data(), static_cast<long>(kLongText.size()));
  EXPECT_EQ(
      testing::internal::GetCapturedStderr(),
      "Warning: a client is dropped that has read nothing for 0.05 s, with its buffer full\n");
  EXPECT_FALSE(server.HasClient());
  ControlClient next(port);
  next.SendBytes("next");
  EXPECT_TRUE(WaitUntil([&] { return server.received() == "next"; }));
}

TEST(TcpServer, ClientThatHasEndedSendingStillHears) {
  ServerBench bench;
  bench.client.SendBytes("last words");
  bench.client.EndSending();
  ASSERT_TRUE(WaitUntil([&] { return bench.server.received() == "last words"; }));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  bench.server.SendPacket("answer", 6);
  EXPECT_EQ(bench.client.ReceiveBytes(6), "answer");
}

TEST(TcpServer, SelectParametersMustBeThere) {
  KeepingServer server;
  fd_set set;
  timeval timeout;
  for (const auto& [s, t] : {std::pair<fd_set*, timeval*>(nullptr, &timeout), {&set, nullptr}}) {
    EXPECT_EQ(ErrorOf([&] { server.SetSelectParams(s, t); }),
              "OrvoError: TcpServer::SetSelectParams - can not get null params");
  }
}

}  // namespace
}  // namespace orvo
