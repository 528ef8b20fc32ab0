// The reader loop of the client, and the UART's side of the server.
#include "wires/uart_tcp_server.h"

#include <charconv>
#include <iostream>
#include <string_view>
#include <vector>

#include "runner/errors.h"
#include "runner/logger.h"

namespace orvo {

namespace {

constexpr char kTag[] = "UartHandlerBase";
constexpr std::string_view kTcpPortPrefix = "tcp-port:";
constexpr unsigned long kReadBytes = 65536;

}  // namespace

void UartHandlerBase::UartTcpServer::ClientHandler() {
  std::vector<char> buffer(kReadBytes);
  while (IsRunning()) {
    if (!uart_.WaitForRoom()) continue;
    const long length = Read(buffer.data(), buffer.size());
    if (length < 1) return;
    uart_.TCPReceivedData(buffer.data(), static_cast<unsigned long>(length));
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
  try {
    tcp_port_ = tcp_server_->StartServer(port);
  } catch (const UserError& error) {
    throw UserError("UartHandlerBase: UART TCP port " + std::to_string(port) + ": " +
                    error.message());
  }
  tcp_server_exists_ = true;
  logger::debug(kTag) << "Server started";
  if (port == 0) std::cout << "UART TCP port: " << tcp_port_ << std::endl;
}

void UartHandlerBase::CloseTcpServer() {
  if (tcp_server_ == nullptr) return;
  tcp_server_.reset();
  tcp_server_exists_ = false;
}

void UartHandlerBase::SendToTcpClient(const std::string& bytes) {
  if (tcp_server_ == nullptr || bytes.empty()) return;
  logger::debug(kTag) << "Sending packet. Packet length: " << bytes.size();
  tcp_server_->SendPacket(bytes.data(), static_cast<long>(bytes.size()));
}

void UartHandlerBase::TCPReceivedData(const char* bytes, unsigned long length) {
  logger::debug(kTag) << "UART Received data from tcp socket. len is: " << length;
  FillBuffer(bytes, length);
}

}  // namespace orvo
