// The reader loop of the client, and the UART's side of the server.
#include "wires/uart_tcp_server.h"

#include <charconv>
#include <string_view>

#include "runner/errors.h"
#include "runner/logger.h"

namespace orvo {

namespace {

constexpr char kTag[] = "UartHandlerBase";
constexpr std::string_view kTcpPortPrefix = "tcp-port:";
constexpr unsigned long kReadBytes = 1024;

}  // namespace

void UartHandlerBase::UartTcpServer::ClientHandler() {
  char buffer[kReadBytes];
  while (IsRunning()) {
    const long length = Read(buffer, sizeof(buffer));
    if (length < 1) return;
    uart_.TCPReceivedData(buffer, static_cast<unsigned long>(length));
  }
}

void UartHandlerBase::OpenTcpPort(const std::string& text) {
  if (tcp_server_exists_) {
    throw UserError("UartHandlerBase: UART TCP is not supported for more than one UART");
  }
  const std::string_view digits = std::string_view(text).substr(kTcpPortPrefix.size());
  unsigned short port = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  if (error != std::errc() || end != digits.data() + digits.size()) {
    throw UserError("UartHandlerBase: UART TCP port in invalid. Must be a number");
  }
  logger::debug(kTag) << "Starting UART TCP server...";
  StartTCPServer(port);
}

void UartHandlerBase::StartTCPServer(unsigned short port) {
  tcp_server_ = std::make_unique<UartTcpServer>(*this);
  tcp_port_ = tcp_server_->StartServer(port);
  tcp_server_exists_ = true;
  logger::debug(kTag) << "Server started";
  logger::debug(kTag) << "UART TCP port: " << tcp_port_;
}

void UartHandlerBase::CloseTcpServer() {
  if (tcp_server_ == nullptr) return;
  tcp_server_.reset();
  tcp_server_exists_ = false;
}

void UartHandlerBase::SendToTcpClient(const std::string& bytes) {
  if (tcp_server_ == nullptr) return;
  logger::debug(kTag) << "Sending packet. Packet length: " << bytes.size();
  tcp_server_->SendPacket(bytes.data(), static_cast<long>(bytes.size()));
}

void UartHandlerBase::TCPReceivedData(const char* bytes, unsigned long length) {
  logger::debug(kTag) << "UART Received data from tcp socket. len is: " << length;
  FillBuffer(bytes, length);
}

}  // namespace orvo
