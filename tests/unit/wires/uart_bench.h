// A UART on a small chip: RX on wire 8, TX on wire 6, 64 MHz.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "runner/errors.h"
#include "support/test_mcu.h"
#include "unit/wires/wire_listener.h"
#include "wires/uart_handler_base.h"

namespace orvo {

struct UartBench {
  static constexpr unsigned kRxWire = 8;
  static constexpr unsigned kTxWire = 6;
  // One word of 10 bits at 115200 bit/s: 86805 ns.
  static constexpr unsigned kWordTicks = 5555;

  explicit UartBench(ConnectionManager* connection = nullptr) : mcu(&wires, connection) {
    wires.ConnectToWireData(&far_end, kTxWire, kTxWire);
  }

  void Advance(unsigned ticks) { mcu.clock().Tickrement(static_cast<int>(ticks)); }
  void Fill(const std::string& text) { uart.FillBuffer(text.data(), text.size()); }
  void Send(const std::string& text) {
    for (const char c : text) uart.UartSend(static_cast<unsigned char>(c), 1);
  }
  void SendOverWire(unsigned wire, const std::string& text) {
    wires.SendDataOverWire(wire, 0, std::vector<unsigned char>(text.begin(), text.end()), nullptr);
  }
  // What the firmware can see.
  std::string TakeVisible() {
    std::string taken;
    unsigned char byte = 0;
    while (!uart.IsBufferEmpty() && uart.GetByte(&byte)) taken += static_cast<char>(byte);
    return taken;
  }
  void Option(const std::string& uart_output) {
    ArgsManager args;
    args.uart_output_given = true;
    args.uart_output = uart_output;
    args.SetOutputType(uart_output);
    uart.onArgsManager(args);
  }

  WireManager wires{nullptr, 200, false, false};
  TestMcu mcu;
  DataListener far_end;
  unsigned available = 0;  // calls of byte_available
  UartHandlerBase uart{&mcu, [this] { ++available; }, &wires, kRxWire, kTxWire, "UART7"};
};

// The message of the error that the action throws, empty if it throws none.
inline std::string MessageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const UserError& error) {
    return error.message();
  }
  return "";
}

}  // namespace orvo
