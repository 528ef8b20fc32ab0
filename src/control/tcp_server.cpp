// Sockets, the accepting thread, and reading and writing with waits that a stop ends.
#include "control/tcp_server.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "runner/errors.h"
#include "runner/logger.h"

namespace orvo {

namespace {

constexpr int kAcceptOrReadTimeoutUs = 100'000;
constexpr int kSendTimeoutUs = 1'000;
constexpr int kBacklog = 1;
constexpr int kExitCodeOfBrokenServer = 1;

bool IsTransient(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR || error == ECONNABORTED;
}

void SetNonBlocking(int socket) { fcntl(socket, F_SETFL, fcntl(socket, F_GETFL) | O_NONBLOCK); }

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

TcpServer::TcpServer()
    : terminate_connection_(OrvoSignals::Get().terminate, [this](int) { Stop(); }) {
  DisableSIGPIPE();
}

TcpServer::~TcpServer() { Join(); }

unsigned short TcpServer::CreateSocket(unsigned short port) {
  const int created = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (created < 0 || created >= FD_SETSIZE) {
    if (created >= 0) close(created);
    throw OrvoError("Can't create socket in connection manager");
  }
  listening_socket_ = created;
  const int on = 1;
  if (setsockopt(created, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on)) < 0) {
    throw OrvoError("Can't set socket opt in connection manager");
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  address.sin_port = htons(port);
  socklen_t length = sizeof(address);
  if (bind(created, reinterpret_cast<sockaddr*>(&address), length) < 0) {
    throw UserError(
        "Could not bind socket. This usually happens when another instance of the Nimbel Bench is "
        "running. Try running \"pkill orvo\" to kill all instances");
  }
  if (listen(created, kBacklog) < 0 ||
      getsockname(created, reinterpret_cast<sockaddr*>(&address), &length) < 0) {
    throw OrvoError("Can't listen to socket in connection manager");
  }
  SetNonBlocking(created);
  return ntohs(address.sin_port);
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
  open_socket_ = socket;
  closed_by_peer_ = false;
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
  shutdown(open_socket_, SHUT_RDWR);  // ends a send that waits
  const std::lock_guard lock(socket_mutex_);
  client_socket_ = 0;
  close(open_socket_);
  open_socket_ = 0;
}

long TcpServer::ReadExactAmount(void* buffer, unsigned long n) {
  unsigned long done = 0;
  while (done < n) {
    if (!IsRunning()) return 0;
    const int ready = WaitForInput(open_socket_);
    if (ready == 0) continue;
    const long got =
        ready < 0 ? -1 : read(open_socket_, static_cast<char*>(buffer) + done, n - done);
    if (got < 0 && ready > 0 && IsTransient(errno)) continue;
    if (got < 1) {
      closed_by_peer_ = true;
      return -1;
    }
    done += got;
  }
  return static_cast<long>(done);
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
  const std::lock_guard lock(socket_mutex_);
  const int socket = client_socket_;
  for (long sent = 0; sent < n && IsRunning() && socket != 0;) {
    const long result = send(socket, data + sent, n - sent, MSG_NOSIGNAL);
    if (result >= 0) {
      sent += result;
    } else if (IsTransient(errno)) {
      fd_set writable;
      timeval timeout;
      SetSelectParams(&writable, &timeout);
      select(socket + 1, nullptr, &writable, nullptr, &timeout);
    } else {
      client_socket_ = 0;  // the client is gone; the rest is dropped
      return;
    }
  }
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
