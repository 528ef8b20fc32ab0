// Firmware of a few instructions, made by hand.
#pragma once

#include <string>
#include <vector>

namespace orvo {

// Machine code as halfwords, a 32-bit instruction as two of them.
using Code = std::vector<unsigned short>;

// A vector table whose reset is the code, and all else a handler that stays where it is.
struct SmallImage {
  static constexpr unsigned kHandler = 0x3c;  // b .
  static constexpr unsigned kCode = 0x40;
  static constexpr unsigned kStackPointer = 0x20010000;  // RAM of 64 KiB

  static std::string Word(unsigned value) {
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
  }
  static std::string Of(const Code& code, unsigned stack_pointer = kStackPointer,
                        unsigned entry = kCode + 1) {
    std::string bytes = Word(stack_pointer) + Word(entry);
    while (bytes.size() < kHandler) bytes += Word(kHandler + 1);
    bytes += Word(0xbf00e7fe);
    for (const unsigned short half : code) bytes += Word(half).substr(0, 2);
    return bytes;
  }
  // ldr r0, [pc]; bx r0; the address that is branched to, and code behind it at kBehindJump.
  static Code JumpTo(unsigned address, const Code& behind = {}) {
    Code code = {0x4800, 0x4700, static_cast<unsigned short>(address),
                 static_cast<unsigned short>(address >> 16)};
    code.insert(code.end(), behind.begin(), behind.end());
    return code;
  }
  static constexpr unsigned kBehindJump = kCode + 8;
};

}  // namespace orvo
