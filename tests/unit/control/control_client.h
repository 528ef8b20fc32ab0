// A host SDK on the control connection, reduced to its socket and frames.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

namespace orvo {

class ControlClient {
 public:
  explicit ControlClient(unsigned short port, const char* host = "127.0.0.1")
      : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, host, &address.sin_addr);
    const int on = 1;  // what follows a first packet comes at once
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    connected_ = connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
  }
  ControlClient(const ControlClient&) = delete;
  ControlClient& operator=(const ControlClient&) = delete;
  ~ControlClient() { Close(); }

  bool connected() const { return connected_; }
  void SendBytes(const std::string& bytes) {
    send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }
  static std::string Frame(const std::string& text) {
    const unsigned length = htonl(static_cast<unsigned>(text.size()));
    std::string frame(sizeof(length), '\0');
    std::memcpy(frame.data(), &length, sizeof(length));
    return frame + text;
  }
  void Send(const nlohmann::json& message) { SendBytes(Frame(message.dump())); }
  void Close() {
    if (socket_ >= 0) close(socket_);
    socket_ = -1;
  }
  // No more from this side; the other goes on.
  void EndSending() { shutdown(socket_, SHUT_WR); }

  // What is there, one byte at least; nothing as below.
  std::string ReceiveSome() {
    pollfd ready{socket_, POLLIN, 0};
    char buffer[65536];
    const long got = poll(&ready, 1, 30'000) < 1 ? 0 : recv(socket_, buffer, sizeof(buffer), 0);
    return {buffer, static_cast<size_t>(std::max(got, 0l))};
  }
  // Exactly that many bytes, fewer at the end of the stream or after 30 s without any.
  std::string ReceiveBytes(size_t count) {
    std::string bytes;
    char buffer[65536];
    while (bytes.size() < count) {
      pollfd ready{socket_, POLLIN, 0};
      if (poll(&ready, 1, 30'000) < 1) break;
      const long got = recv(socket_, buffer, std::min(sizeof(buffer), count - bytes.size()), 0);
      if (got < 1) break;
      bytes.append(buffer, got);
    }
    return bytes;
  }
  // The next message; null at the end of the stream.
  nlohmann::json Receive() {
    const std::string header = ReceiveBytes(4);
    if (header.size() < 4) return nullptr;
    unsigned length = 0;
    std::memcpy(&length, header.data(), sizeof(length));
    return nlohmann::json::parse(ReceiveBytes(ntohl(length)));
  }
  // Whether the other side has closed, all messages before that being read.
  bool Closed() {
    while (!Receive().is_null()) {
    }
    pollfd ready{socket_, POLLIN, 0};
    return poll(&ready, 1, 0) == 1;
  }

 private:
  int socket_;
  bool connected_ = false;
};

}  // namespace orvo
