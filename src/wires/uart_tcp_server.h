// The TCP end of a UART: one client at a time reads the firmware's bytes and sends to the firmware.
#pragma once

#include "control/tcp_server.h"
#include "wires/uart_handler_base.h"

namespace orvo {

class UartHandlerBase::UartTcpServer : public TcpServer {
 public:
  // Nothing that the firmware sends is lost on a client that pauses: the run waits for it.
  explicit UartTcpServer(UartHandlerBase& uart) : TcpServer(std::chrono::years(1)), uart_(uart) {}
  ~UartTcpServer() override { Join(); }

  // Server's thread.
  void ClientHandler() override;

 private:
  UartHandlerBase& uart_;
};

}  // namespace orvo
