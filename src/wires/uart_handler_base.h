// What all UART models share: bytes from the outside wait in a queue and reach the firmware at the
// speed of the line, in virtual time; the firmware's bytes go to the outside at once.
// The outside is a pseudo-terminal, standard output, a file, a TCP client, the control connection,
// or a wire on which an off-chip model listens.
#pragma once

#include <atomic>
#include <deque>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>
#include <thread>

#include "runner/args_manager.h"
#include "runner/orvo_signals.h"
#include "time/tick_listener.h"
#include "wires/uart_pty.h"
#include "wires/wire_manager.h"

namespace orvo {

class Mcu;

class UartHandlerBase : public Observer<WireDataEvent>, public TickListener {
 public:
  static constexpr unsigned kNoWire = 0xffffffff;

  // byte_available runs on the simulation thread each time that a byte has become visible to the
  // firmware. The wires may be kNoWire. The name is that of the UART's events.
  UartHandlerBase(Mcu* mcu, std::function<void()> byte_available, WireManager* wires,
                  unsigned rx_wire, unsigned tx_wire, std::string name);
  UartHandlerBase(const UartHandlerBase&) = delete;
  UartHandlerBase& operator=(const UartHandlerBase&) = delete;
  ~UartHandlerBase() override;

  void setTXPin(unsigned wire) { tx_wire_ = wire; }
  void setRXPin(unsigned wire);
  void SetBaudRate(unsigned bits_per_second);
  // In bit times, start and stop bits included.
  void SetWordLength(unsigned bits);
  unsigned long nanoseconds_per_word() const { return nanoseconds_per_word_; }

  // Sends `count` bytes that count up from the one given; models send one at a time. Throws
  // UserError when standard output or the output file doesn't take them.
  void UartSend(unsigned char byte, unsigned long count);
  // Between the two, standard output, file and TCP client are written in one go. For transfers that
  // take a single instruction, so that nobody sees the delay. The second throws like UartSend().
  void HoldOutput() { hold_output_ = true; }
  void ReleaseOutput();
  // Takes the oldest byte from the queue; false if there is none.
  bool GetByte(unsigned char* byte);
  // Bytes in the queue that aren't visible to the firmware yet count as absent.
  bool IsBufferEmpty() const { return rx_ready_.load(std::memory_order_relaxed) == 0; }
  // Bytes from the outside. Any thread.
  void FillBuffer(const char* bytes, unsigned long length);
  // For reader threads: whether the queue takes more; waits a little if it doesn't.
  bool WaitForRoom();
  // Input from the control connection: {"command": "write_uart_data", "value": byte}.
  void WriteJsonMessage(const nlohmann::json& message);

  // Bytes from the RX wire; events for other pins are ignored.
  void Update(std::vector<WireDataEvent>* events) override;
  // Makes one more byte visible.
  unsigned long OnTick(unsigned long tick) override;
  // Leaves the clock. Deliberate: reception stands still until a Reset.
  void DetachFromTick();
  // Leaves the clock and hides the bytes that were visible. The queue keeps its contents.
  void Reset();

  // Opens what the options "pty" and "uart_output" ask for.
  void onArgsManager(ArgsManager& args);
  // Ends the thread that reads the pseudo-terminal.
  void CloseRecvThread();
  // Of the TCP server; 0 if there is none.
  unsigned short tcp_port() const { return tcp_port_; }

 private:
  class UartTcpServer;

  void SetNanosecondPerWord();
  void onArgsManagerPty(bool enable);
  void onArgsManagerPtyOutput(bool enable, const std::string& text, unsigned kind);
  void RunRecvThread();
  void OpenFile(const std::string& path);
  void OpenTcpPort(const std::string& text);
  void StartTCPServer(unsigned short port);
  void CloseTcpServer();
  void SendToTcpClient(const std::string& bytes);
  void TCPReceivedData(const char* bytes, unsigned long length);
  void SendEvent(unsigned char byte);
  bool WritesToStream() const { return output_enabled_ && output_kind_ != ArgsManager::kTcpPort; }
  // Throws UserError if the bytes, or those held before, did not arrive.
  void WriteToStream(const std::string& bytes);

  inline static std::atomic<bool> tcp_server_exists_{false};

  bool output_enabled_ = false;
  bool hold_output_ = false;
  std::unique_ptr<UartPty> pty_;
  std::ostream* output_ = nullptr;  // set while output_enabled_
  std::ofstream file_;
  std::string output_name_;  // in messages
  std::string held_for_tcp_;
  std::thread receive_thread_;
  std::atomic<bool> receiving_{false};

  std::deque<char> rx_queue_;   // guarded by rx_mutex_
  bool tick_attached_ = false;  // guarded by rx_mutex_
  std::mutex rx_mutex_;
  // Bytes at the head of the queue that the firmware may see. Written under rx_mutex_.
  std::atomic<unsigned> rx_ready_{0};
  std::function<void()> byte_available_;

  WireManager* wires_;
  unsigned rx_wire_ = kNoWire;
  unsigned tx_wire_;

  unsigned baud_rate_ = 115200;
  unsigned word_length_bits_ = 10;
  std::atomic<unsigned long> nanoseconds_per_word_;

  Mcu* mcu_;
  std::string name_;
  std::unique_ptr<UartTcpServer> tcp_server_;
  unsigned short tcp_port_ = 0;
  unsigned output_kind_ = ArgsManager::kStandardOutput;
  Connection<ArgsManager&> options_connection_;
};

}  // namespace orvo
