// Sockets, the accepting thread, and reading and writing with waits that a stop ends.
#include "control/tcp_server.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <optional>
#include <utility>

#include "control/listen_address.h"
#include "runner/args_manager.h"
#include "runner/errors.h"
#include "runner/logger.h"

namespace orvo {

namespace {

constexpr int kAcceptOrReadTimeoutUs = 100'000;
constexpr int kSendTimeoutUs = 1'000;
constexpr int kBacklog = 1;
constexpr int kUnreadBlocks = 4096;
constexpr int kExitCodeOfBrokenServer = 1;

bool IsTransient(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR || error == ECONNABORTED;
}

void SetNonBlocking(int socket) { fcntl(socket, F_SETFL, fcntl(socket, F_GETFL) | O_NONBLOCK); }

// A message that followed another would otherwise wait for the client's acknowledgement, 40 ms.
void SendAtOnce(int socket) {
  const int on = 1;
  setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

// A client whose machine has gone without a word is noticed after a few minutes, and the next one
// can come. One that lives, in a long pause or at a breakpoint, answers by itself.
void ProbeWhileSilent(int socket) {
  constexpr std::pair<int, int> kProbes[] = {
      {TCP_KEEPIDLE, 60}, {TCP_KEEPINTVL, 15}, {TCP_KEEPCNT, 8}};  // s, s, count
  const int on = 1;
  setsockopt(socket, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof(on));
  for (const auto& [option, value] : kProbes) {
    setsockopt(socket, IPPROTO_TCP, option, &value, sizeof(value));
  }
}

// 1 when there is something to read or to accept, 0 on a time-out, -1 on an error.
int WaitForInput(int socket) {
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(socket, &readable);
  timeval timeout{0, kAcceptOrReadTimeoutUs};
  const int result = select(socket + 1, &readable, nullptr, nullptr, &timeout);
  return result < 0 && errno == EINTR ? 0 : result;
}

}  // namespace

TcpServer::TcpServer(std::chrono::milliseconds patience)
    : patience_(patience),
      terminate_connection_(OrvoSignals::Get().terminate, [this](int) { Stop(); }) {
  DisableSIGPIPE();
}

TcpServer::~TcpServer() { Join(); }

unsigned short TcpServer::CreateSocket(unsigned short port) {
  const std::string& host = ArgsManager::Get().listen;
  ListenAddress address(host, port);
  const int created = socket(address.family(), SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (created < 0 || created >= FD_SETSIZE) {
    if (created >= 0) close(created);
    throw OrvoError("Can't create socket in connection manager");
  }
  listening_socket_ = created;
  const int on = 1;
  if (setsockopt(created, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) < 0) {
    throw OrvoError("Can't set socket opt in connection manager");
  }
  if (bind(created, address.get(), address.length) < 0) {
    if (errno == EADDRNOTAVAIL || errno == EINVAL) {
      throw UserError("Could not bind socket to port " + std::to_string(port) + " of " + host +
                      ", see --listen: " + std::strerror(errno));
    }
    throw UserError(
        "Could not bind socket. This usually happens when another instance of the Nimbel Bench is "
        "running. Try running \"pkill orvo\" to kill all instances");
  }
  if (listen(created, kBacklog) < 0 || getsockname(created, address.get(), &address.length) < 0) {
    throw OrvoError("Can't listen to socket in connection manager");
  }
  SetNonBlocking(created);
  return address.Port();
}

unsigned short TcpServer::StartServer(unsigned short port) {
  const unsigned short bound = CreateSocket(port);
  accepting_ = std::thread(&TcpServer::StartAccepting, this);
  return bound;
}

void TcpServer::Join() {
  Stop();
  if (accepting_.joinable()) {
    {
      // Wakes the thread at once, where its waits would take up to their time-out.
      const std::lock_guard lock(socket_mutex_);
      if (listening_socket_ >= 0) shutdown(listening_socket_, SHUT_RDWR);
      if (client_socket_ != 0) shutdown(client_socket_, SHUT_RD);
    }
    accepting_.join();
  }
  CloseClient();
  if (listening_socket_ >= 0) close(listening_socket_);
  listening_socket_ = -1;
}

void TcpServer::StartAccepting() {
  try {
    AcceptClients();
  } catch (const std::exception& error) {
    logger::error("TcpServer") << error.what();
    OrvoSignals::Get().terminate.emit(kExitCodeOfBrokenServer);
  }
  logger::debug("TcpServer") << "StartAccepting closed()";
  const std::lock_guard lock(socket_mutex_);
  close(listening_socket_);
  listening_socket_ = -1;
}

void TcpServer::AcceptClients() {
  while (IsRunning()) {
    const int ready = WaitForInput(listening_socket_);
    if (ready < 0 && IsRunning()) {
      throw OrvoError("Can't accept connection in connection manager.");
    }
    if (ready < 1 || !IsRunning()) continue;
    int accepted = accept4(listening_socket_, nullptr, nullptr, SOCK_CLOEXEC);
    // The client may have left before it was accepted.
    if (accepted < 0 && IsTransient(errno)) continue;
    if (accepted == 0) {
      // Descriptor 0 was free; here it means that there is no client.
      accepted = fcntl(0, F_DUPFD_CLOEXEC, 1);
      close(0);
    }
    if (accepted >= FD_SETSIZE) close(accepted);
    if (accepted < 0 || accepted >= FD_SETSIZE) {
      if (!IsRunning()) return;
      throw OrvoError("Can't accept connection in connection manager");
    }
    ServeClient(accepted);
  }
}

void TcpServer::ServeClient(int socket) {
  CloseClient();
  SetNonBlocking(socket);
  SendAtOnce(socket);
  ProbeWhileSilent(socket);
  open_socket_ = socket;
  closed_by_peer_ = false;
  received_ = {};
  served_client_ = ++client_count_;
  client_socket_ = socket;
  ClientHandler();
  served_client_ = 0;
  logger::debug("TcpServer") << "ClientHandler exit";
  // A peer that closed may have closed only its own side, and goes on listening; its socket stays
  // open until the next client comes or sending fails.
  if (!closed_by_peer_) CloseClient();
}

void TcpServer::CloseClient() {
  if (open_socket_ == 0) return;
  shutdown(open_socket_, SHUT_WR);  // ends a send that waits
  const std::lock_guard lock(socket_mutex_);
  client_socket_ = 0;
  // What stands unread would turn the close into a reset, which may cost the client our last words.
  char unread[4096];
  for (int i = 0; i < kUnreadBlocks && recv(open_socket_, unread, sizeof(unread), MSG_DONTWAIT) > 0;
       ++i) {
  }
  close(open_socket_);
  open_socket_ = 0;
}

long TcpServer::ReadExactAmount(void* buffer, unsigned long n) {
  for (unsigned long done = 0; done < n;) {
    if (!IsRunning()) return 0;
    if (received_.empty()) {
      const int ready = WaitForInput(open_socket_);
      if (ready == 0) continue;
      const long got = ready < 0 ? -1 : read(open_socket_, block_.data(), block_.size());
      if (got < 0 && ready > 0 && IsTransient(errno)) continue;
      if (got < 1) {
        closed_by_peer_ = true;
        return -1;
      }
      received_ = {block_.data(), static_cast<size_t>(got)};
    }
    const size_t taken = received_.copy(static_cast<char*>(buffer) + done, n - done);
    received_.remove_prefix(taken);
    done += taken;
  }
  return static_cast<long>(n);
}

long TcpServer::Read(void* buffer, unsigned long n) {
  while (IsRunning()) {
    const int ready = WaitForInput(open_socket_);
    if (ready < 0) throw OrvoError("Can't read from socket in connection manager");
    if (ready == 0) continue;
    const long got = read(open_socket_, buffer, n);
    if (got < 0 && IsTransient(errno)) continue;
    if (got > 0) return got;
    closed_by_peer_ = true;
    return -1;
  }
  return 0;
}

void TcpServer::SendPacket(const char* data, long n) {
  using Clock = std::chrono::steady_clock;  // not of the simulated world
  std::optional<Clock::time_point> stuck_since;
  const std::lock_guard lock(socket_mutex_);
  for (long sent = 0; sent < n && IsRunning() && client_socket_ != 0;) {
    const long result = send(client_socket_, data + sent, n - sent, MSG_NOSIGNAL);
    if (result >= 0) {
      sent += result;
      stuck_since.reset();
    } else if (!IsTransient(errno)) {
      client_socket_ = 0;  // the client is gone; the rest is dropped
    } else if (!stuck_since) {
      stuck_since = Clock::now();
    } else if (Clock::now() - *stuck_since > patience_) {
      DropClient();
    } else {
      fd_set writable;
      timeval timeout;
      SetSelectParams(&writable, &timeout);
      select(client_socket_ + 1, nullptr, &writable, nullptr, &timeout);
    }
  }
}

void TcpServer::DropClient() {
  std::cerr << "Warning: a client is dropped that has read nothing for "
            << std::chrono::duration<double>(patience_).count() << " s, with its buffer full"
            << std::endl;
  shutdown(client_socket_, SHUT_RDWR);  // the server's thread finds the end of the stream
  client_socket_ = 0;
}

void TcpServer::SetSelectParams(fd_set* set, timeval* timeout) {
  if (set == nullptr || timeout == nullptr) {
    throw OrvoError("TcpServer::SetSelectParams - can not get null params");
  }
  FD_ZERO(set);
  FD_SET(client_socket_, set);
  *timeout = {0, kSendTimeoutUs};
}

}  // namespace orvo
