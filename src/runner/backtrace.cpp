#include "runner/backtrace.h"

#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>

#include "runner/logger.h"

namespace orvo {
namespace {

// Both banners have 91 characters, line ends included.
constexpr char kOpeningBanner[] =
    "\n///////////////////////////////////////// TRACE "
    "/////////////////////////////////////////\n";
constexpr char kClosingBanner[] =
    "\n////////////////////////////////////////////////"
    "/////////////////////////////////////////\n";
static_assert(sizeof(kOpeningBanner) == 92 && sizeof(kClosingBanner) == 92);

constexpr int kMostFrames = 128;

}  // namespace

void WriteBacktrace(int max_frames, int fd) {
  std::array<void*, kMostFrames> frames;
  const int count = ::backtrace(frames.data(), std::clamp(max_frames, 0, kMostFrames));
  const bool to_log = fd == -1;
  if (to_log) fd = ::open(logger::kLogFile, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  std::ofstream log(logger::kLogFile, std::ios::app);
  log << kOpeningBanner << std::flush;
  if (fd >= 0) ::backtrace_symbols_fd(frames.data(), count, fd);
  log << kClosingBanner;
  if (to_log && fd >= 0) ::close(fd);
}

}  // namespace orvo
