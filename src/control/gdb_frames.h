// Frames of GDB's remote serial protocol: "$text#cc", cc the sum of the text's bytes, and a single
// 0x03 for an interrupt. Source: the GDB manual, appendix "GDB Remote Serial Protocol".
#pragma once

#include <string>
#include <vector>

namespace orvo {

struct GdbFrame {
  enum Kind {
    kPacket,
    kInterrupt,
    kTornWrite,  // the front of a binary write, whose data were cut by a zero byte or by the socket
  };
  Kind kind;
  std::string text;  // of a packet
};

// What one read from the socket holds. Deliberate: a packet without its end is dropped, with all
// that follows it, and checksums are not tested; the connection is TCP's to keep. Acknowledgements
// and whatever else stands between frames are skipped.
std::vector<GdbFrame> SplitGdbFrames(const std::string& data);

// A register's or a word's value in the order of the target's bytes, as GDB has it: 8 digits,
// 0x12345678 is "78563412".
std::string intToHex(unsigned value);

}  // namespace orvo
