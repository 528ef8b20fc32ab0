// The TCP end of a UART: one client at a time reads the firmware's bytes and sends to the firmware.
#pragma once

#include "control/tcp_server.h"
#include "wires/uart_handler_base.h"

namespace orvo {

class UartHandlerBase::UartTcpServer : public TcpServer {
 public:
  explicit UartTcpServer(UartHandlerBase& uart) : uart_(uart) {}
  ~UartTcpServer() override { Join(); }

  // Server's thread.
  void ClientHandler() override;

 private:
  UartHandlerBase& uart_;
};

}  // namespace orvo
