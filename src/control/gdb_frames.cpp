#include "control/gdb_frames.h"

#include "runner/text.h"

namespace orvo {
namespace {

constexpr char kInterruptByte = 0x03;
constexpr size_t kLongestPacket = 16'383;
constexpr size_t kChecksumDigits = 2;

bool IsTornWrite(const std::string& data) {
  if (data.find('#') != std::string::npos) return false;
  // Behind the acknowledgement of our last answer, if one read brings both.
  const size_t start = data.find_first_not_of("+-");
  if (start != std::string::npos && data.compare(start, 2, "$X") == 0) return true;
  for (const char* prefix : {"$X1270,8:", "$X1278,70:", "$X0,820:"}) {
    if (data.find(prefix) != std::string::npos) return true;
  }
  return false;
}

}  // namespace

std::vector<GdbFrame> SplitGdbFrames(const std::string& data) {
  if (IsTornWrite(data)) return {{GdbFrame::kTornWrite, {}}};
  std::vector<GdbFrame> frames;
  for (size_t i = 0; i < data.size(); ++i) {
    if (data[i] == kInterruptByte) frames.push_back({GdbFrame::kInterrupt, {}});
    if (data[i] != '$') continue;
    const size_t end = data.find('#', i);
    if (end == std::string::npos || end - i - 1 > kLongestPacket) break;
    frames.push_back({GdbFrame::kPacket, data.substr(i + 1, end - i - 1)});
    i = end + kChecksumDigits;
  }
  return frames;
}

std::string intToHex(unsigned value) {
  std::string bytes(sizeof(value), '\0');
  for (size_t i = 0; i < sizeof(value); ++i) bytes[i] = static_cast<char>(value >> (8 * i));
  return StringToHex(bytes);
}

}  // namespace orvo
