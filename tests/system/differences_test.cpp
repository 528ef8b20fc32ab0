// What firmware observes here that differs from the chip. docs/what-firmware-observes.md lists the
// same cases with the reasons; the comment of a row gives the chip's result.
#include <gmock/gmock.h>

#include <sstream>

#include "support/orvo_process.h"

namespace orvo {
namespace {

TEST(Differences, FirmwareObservesWhatTheDocumentationSays) {
  // clang-format off
  const std::vector<std::string> expected = {
      "sbfx 8 bits of 0x000007f0          0000007f",  // 0000007f
      "sbfx 8 bits of 0x00000800          00000080",  // ffffff80: the bit above the field decides
      "sbfx 8 bits of 0x00001010          ffffff01",  // 00000001
      "sxtab 1000 + (int8_t)0xff          000001e7",  // 000003e7: the mask is on the first operand
      "sxtab 16 + (int8_t)5               00000015",  // 00000015
      "sxtah 70000 + (int16_t)5           00001175",  // 00011175
      "revsh of 0x0000007f                00007f00",  // 00007f00
      "revsh of 0x00000100                ffff0001",  // 00000001: the sign comes from any high bit
      "smlal high of 0x80000000 + 0       ffffffff",  // 00000000: the low word counts as signed
      "smlal high of 0x7fffffff + 0       00000000",  // 00000000
      "-1 < 0 ? 1 : 2, C clear before     00000002",  // 00000001: asr #32 leaves C alone
      "-1 < 0 ? 1 : 2, C set before       00000001",  // 00000001
      "1 < 0 ? 1 : 2, C set before        00000000",  // 00000002
      "vcvt.u32 of 3e9                    7fffffff",  // b2d05e00: converts as to signed
      "vcvt.u32 of -1                     ffffffff",  // 00000000
      "vcvt.u32 of 2e9                    77359400",  // 77359400
      "vcmp inf, inf                      00000008",  // 00000006: inf - inf is not 0
      "vcmp -inf, -inf                    00000008",  // 00000006
      "vcmp inf, 1                        00000002",  // 00000002
      "vfma 1.0001 * 1.0001 - 1.0002      00000000",  // 322bdb10: the product is rounded
      "inf - inf                          7fc00000",  // 7fc00000
      "s0 = 1 after a handler used it     40000000",  // 3f800000: the frame has no FPU registers
      "sp mod 8 in a handler, 4 before    00000004",  // 00000000: the frame is not aligned
  };
  // clang-format on
  const ProcessResult run = OrvoBench().RunFirmware("differences.bin");
  ASSERT_EQ(run.exit_status, 0) << run.err;
  std::vector<std::string> lines;
  std::istringstream text(run.out);
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  EXPECT_EQ(lines, expected);
}

}  // namespace
}  // namespace orvo
