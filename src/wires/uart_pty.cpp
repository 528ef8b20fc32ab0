// The system calls around the terminal pair.
#include "wires/uart_pty.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "runner/errors.h"

namespace orvo {

namespace {

// How long a reader that is behind gets to make room before its input is thrown away.
constexpr int kPatienceMs = 20;
// Closing the terminal throws away what its reader hasn't taken. How long one that has it open, and
// takes nothing, can hold up the end of a run.
constexpr int kFarewellMs = 2000;
constexpr int kFarewellStepMs = 5;

}  // namespace

UartPty::UartPty() {
  char name[128] = {};
  if (openpty(&master_, &slave_, name, nullptr, nullptr) != 0) {
    throw OrvoError("Could not initialize PTY device in UartHandler: " +
                    std::string(std::strerror(errno)));
  }
  slave_name_ = name;
  termios settings{};
  tcgetattr(slave_, &settings);
  cfmakeraw(&settings);
  tcsetattr(slave_, TCSANOW, &settings);
  fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);
}

UartPty::~UartPty() {
  int before = 0;
  for (int idle_ms = 0; idle_ms < kFarewellMs; idle_ms += kFarewellStepMs) {
    const int unread = Unread();
    if (unread == 0) break;
    if (unread != std::exchange(before, unread)) idle_ms = 0;
    poll(nullptr, 0, kFarewellStepMs);
  }
  close(master_);
  if (slave_ >= 0) close(slave_);
}

int UartPty::Unread() {
  if (slave_ >= 0) close(slave_);
  slave_ = -1;
  pollfd state{master_, 0, 0};
  if (poll(&state, 1, 0) > 0 && (state.revents & POLLHUP) != 0) return 0;
  slave_ = open(slave_name_.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
  int unread = 0;
  return ioctl(slave_, FIONREAD, &unread) == 0 ? unread : 0;
}

void UartPty::Write(const std::string& bytes) {
  size_t written = 0;
  while (true) {
    const long result = write(master_, bytes.data() + written, bytes.size() - written);
    if (result > 0) written += result;
    if (written == bytes.size()) return;
    if (result < 0 && errno != EAGAIN && errno != EINTR) {
      throw OrvoError("Could not write to " + slave_name_ + ": " + std::strerror(errno));
    }
    pollfd writable{master_, POLLOUT, 0};
    if (poll(&writable, 1, kPatienceMs) == 0) tcflush(master_, TCIOFLUSH);
  }
}

long UartPty::Read(char* buffer, unsigned long capacity, int timeout_ms) {
  pollfd readable{master_, POLLIN, 0};
  const int ready = poll(&readable, 1, timeout_ms);
  if (ready < 0) return errno == EINTR ? 0 : -1;
  if (ready == 0) return 0;
  const long result = read(master_, buffer, capacity);
  if (result < 0) return errno == EAGAIN || errno == EINTR ? 0 : -1;
  return result;
}

}  // namespace orvo
