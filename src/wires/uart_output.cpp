// The ends of a UART that the command line names: -u for standard output or a file (the TCP port is
// in uart_tcp_server.cpp), and -y for a pseudo-terminal.
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <string_view>
#include <utility>

#include "runner/errors.h"
#include "runner/logger.h"
#include "wires/uart_handler_base.h"

namespace orvo {

namespace {

constexpr char kTag[] = "UartHandlerBase";
constexpr std::string_view kFilePrefix = "file:";
constexpr int kPtyTimeoutMs = 100;
constexpr unsigned long kPtyReadBytes = 1024;

std::string SystemsReason() { return errno != 0 ? std::strerror(errno) : "unknown error"; }

}  // namespace

void UartHandlerBase::onArgsManager(ArgsManager& args) {
  onArgsManagerPty(args.pty);
  onArgsManagerPtyOutput(args.uart_output_given, args.uart_output, args.uart_output_type);
}

// --- Standard output and file ------------------------------------------------------------------

void UartHandlerBase::onArgsManagerPtyOutput(bool enable, const std::string& text, unsigned kind) {
  output_enabled_ = enable;
  if (!enable) {
    logger::debug(kTag) << "uart is disabled";
    return;
  }
  output_kind_ = kind;
  output_ = &std::cout;
  output_name_ = "standard output";
  if (text.empty()) return;
  if (kind == ArgsManager::kFile) {
    OpenFile(text.substr(kFilePrefix.size()));
  } else if (kind == ArgsManager::kTcpPort) {
    OpenTcpPort(text);
  }
}

void UartHandlerBase::OpenFile(const std::string& path) {
  // Emptied, then opened for append: several UARTs of a chip may share the file.
  if (truncate(path.c_str(), 0) != 0) errno = 0;
  file_.open(path, std::ios::out | std::ios::app | std::ios::binary);
  if (!file_) {
    throw UserError("UartHandlerBase: can't open the uart output file " + path + ": " +
                    SystemsReason());
  }
  output_ = &file_;
  output_name_ = "the uart output file " + path;
  logger::debug(kTag) << "uart output to file";
}

void UartHandlerBase::WriteToStream(const std::string& bytes) {
  // Others write to standard output too; their failure must not hide the reason of this one.
  if (!output_->good()) output_->clear();
  errno = 0;
  output_->write(bytes.data(), static_cast<long>(bytes.size()));
  if (!hold_output_) output_->flush();
  if (output_->good()) return;
  throw UserError("UartHandlerBase: can't write to " + output_name_ + ": " + SystemsReason());
}

void UartHandlerBase::ReleaseOutput() {
  hold_output_ = false;
  if (WritesToStream()) {
    WriteToStream("");
  } else {
    SendToTcpClient(std::exchange(held_for_tcp_, {}));
  }
}

// --- Pseudo-terminal ---------------------------------------------------------------------------

void UartHandlerBase::onArgsManagerPty(bool enable) {
  if (!enable) return;
  CloseRecvThread();
  pty_ = std::make_unique<UartPty>();
  std::cout << "UART already exists: " << pty_->slave_name() << std::endl;
  receiving_ = true;
  receive_thread_ = std::thread([this] { RunRecvThread(); });
}

void UartHandlerBase::RunRecvThread() {
  char buffer[kPtyReadBytes];
  while (receiving_) {
    if (!WaitForRoom()) continue;
    const long length = pty_->Read(buffer, sizeof(buffer), kPtyTimeoutMs);
    if (length < 0) return;
    if (length > 0) FillBuffer(buffer, length);
  }
}

void UartHandlerBase::CloseRecvThread() {
  receiving_ = false;
  if (receive_thread_.joinable()) receive_thread_.join();
}

}  // namespace orvo
