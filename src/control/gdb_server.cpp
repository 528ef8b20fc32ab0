// The server's threads, and what they hand to each other.
#include "control/gdb_server.h"

#include <cstring>
#include <iostream>
#include <utility>

#include "control/gdb_frames.h"
#include "runner/text.h"

namespace orvo {
namespace {

constexpr size_t kReadBytes = 32'768;

}  // namespace

GdbServer::GdbServer(unsigned short port, Mcu* mcu, std::function<void()> on_kill)
    : DebuggingLocks(mcu), port_(port), mcu_(mcu), on_kill_(std::move(on_kill)) {
  worker_ = std::thread(&GdbServer::WorkerRun, this);
}

GdbServer::~GdbServer() {
  Stop();
  Join();
}

unsigned short GdbServer::Run() {
  PauseMcu();  // first, so that no client finds the firmware running
  return StartServer(port_);
}

void GdbServer::Stop() {
  {
    const std::lock_guard lock(data_mutex_);
    stopping_ = true;
  }
  data_arrived_.notify_all();
  DebuggingLocks::Stop();
  TcpServer::Stop();  // a client that doesn't read would hold the worker in its answer
  if (worker_.joinable()) worker_.join();
}

// --- The thread that reads -----------------------------------------------------------------------

// Deliberate: a client that leaves ends the run.
void GdbServer::ClientHandler() {
  std::string buffer(kReadBytes, '\0');
  while (!stopping_) {
    const long got = Read(buffer.data(), static_cast<long>(buffer.size()));
    if (got < 1) {
      on_kill_();
      return;
    }
    // Deliberate: a zero byte ends what was read, which cuts binary writes.
    std::string data(buffer.data(), strnlen(buffer.data(), static_cast<size_t>(got)));
    // Before the worker hears of it: it may stand in a resume, waiting for just this.
    for (const GdbFrame& frame : SplitGdbFrames(data)) {
      if (frame.kind == GdbFrame::kInterrupt) DemandPause();
    }
    {
      const std::lock_guard lock(data_mutex_);
      received_.push_back(std::move(data));
      data_ready_ = true;
    }
    data_arrived_.notify_all();
  }
}

// --- The worker ----------------------------------------------------------------------------------

void GdbServer::WorkerRun() {
  while (!stopping_) {
    std::deque<std::string> received;
    {
      std::unique_lock lock(data_mutex_);
      data_arrived_.wait(lock, [this] { return data_ready_ || stopping_; });
      received.swap(received_);
      data_ready_ = false;
    }
    for (const std::string& data : received) HandlePoppedMessage(data);
  }
}

void GdbServer::HandlePoppedMessage(const std::string& data) {
  for (const GdbFrame& frame : SplitGdbFrames(data)) {
    if (stopping_) return;
    switch (frame.kind) {
      case GdbFrame::kTornWrite:
        SendMessage("OK");
        break;
      case GdbFrame::kPacket:
        HandlePacket(frame.text);
        break;
      case GdbFrame::kInterrupt:
        ResumeAllowed();
        // Deliberate: in addition to the answer of the resume that it has ended.
        if (DebuggerWait()) SendMessage(kStopped);
        break;
    }
  }
}

void GdbServer::HandleContinue(const std::string&) {
  if (ResumeMcu()) SendMessage(kStopped);
}

void GdbServer::HandleStep(const std::string&) {
  if (ResumeMcuOneStep()) SendMessage("T05hwbreak:;thread:0000dead;");
}

// --- Messages ------------------------------------------------------------------------------------

unsigned char GdbServer::GetChecksum(const std::string& text) {
  unsigned char sum = 0;
  for (const char c : text) sum = static_cast<unsigned char>(sum + c);
  return sum;
}

// The acknowledgement of what was received travels in front of the answer.
void GdbServer::SendMessage(const std::string& text, bool hex) {
  const std::string body = hex ? StringToHex(text) : text;
  const std::string sum(1, static_cast<char>(GetChecksum(body)));
  const std::string frame = (ack_mode_ ? "+$" : "$") + body + "#" + StringToHex(sum);
  SendPacket(frame.data(), static_cast<long>(frame.size()));
}

void GdbServer::Complain(const std::string& text) {
  std::cerr << "\nZANDOR GDB SERVER ERROR: " << text << std::endl;
}

}  // namespace orvo
