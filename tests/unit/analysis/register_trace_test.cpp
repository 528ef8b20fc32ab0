// The line of the register trace, and its comparison with a recorded one.
#include "analysis/register_trace.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "runner/errors.h"

namespace orvo {
namespace {

class RegisterTraceTest : public testing::Test {
 protected:
  RegisterTraceTest() { Interrupts::mode_ = kThreadMode; }

  static std::string Traced(RegisterTrace& trace, const Registers& registers) {
    std::ostringstream out;
    trace.Print(registers, out);
    return out.str();
  }
  static std::string LineOf(const Registers& registers) {
    RegisterTrace trace(0, nullptr);
    return std::string(trace.Line(registers));
  }
  static std::string FieldOf(const Registers& registers, const std::string& name) {
    const std::string line = LineOf(registers);
    const size_t begin = line.find(" " + name + "=") + 1;
    return line.substr(begin, line.find(' ', begin) - begin);
  }

  Registers registers;
};

TEST_F(RegisterTraceTest, LineHasAllRegistersInOrder) {
  registers.init(0x1f4, 0x20010000);
  for (unsigned n = 0; n < 13; ++n) registers.r(n) = 0x10101010 + n;
  registers.word(kLr) = 0xabcdef01;
  registers.set_xpsr(0xf800f1ff);
  registers.word(kPsp) = 0x20000800;
  registers.word(kPrimask) = 1;
  registers.word(kBasepri) = 0xe0;
  registers.word(kFaultmask) = 1;
  registers.control() = 5;
  registers.fpscr() = 0x6f00009f;
  for (unsigned n = 0; n < 32; ++n) registers.s(n) = std::bit_cast<unsigned>(0.25f * n - 1);
  EXPECT_EQ(LineOf(registers),
            "pc=0x000001f4 ISRn=511 r0=0x10101010 r1=0x10101011 r2=0x10101012 r3=0x10101013 "
            "r4=0x10101014 r5=0x10101015 r6=0x10101016 r7=0x10101017 r8=0x10101018 r9=0x10101019 "
            "r10=0x1010101a r11=0x1010101b r12=0x1010101c sp=0x20010000 lr=0xabcdef01 "
            "xpsr=0xf0000000 msp=0x20010000 psp=0x20000800 primask=0x00000001 basepri=0x000000e0 "
            "faultmask=0x00000001 control=0x00000005 fpscr=0x60000000 s0=-1.000000 s1=-0.750000 "
            "s2=-0.500000 s3=-0.250000 s4=0.000000 s5=0.250000 s6=0.500000 s7=0.750000 "
            "s8=1.000000 s9=1.250000 s10=1.500000 s11=1.750000 s12=2.000000 s13=2.250000 "
            "s14=2.500000 s15=2.750000 s16=3.000000 s17=3.250000 s18=3.500000 s19=3.750000 "
            "s20=4.000000 s21=4.250000 s22=4.500000 s23=4.750000 s24=5.000000 s25=5.250000 "
            "s26=5.500000 s27=5.750000 s28=6.000000 s29=6.250000 s30=6.500000 s31=6.750000");
}

TEST_F(RegisterTraceTest, StackPointerIsTheBankedOne) {
  registers.init(0, 0x20010000);
  registers.word(kPsp) = 0x20000800;
  registers.control() = control::kProcessStack;
  EXPECT_EQ(FieldOf(registers, "sp"), "sp=0x20000800");
  EXPECT_EQ(FieldOf(registers, "msp"), "msp=0x20010000");
}

TEST_F(RegisterTraceTest, FloatsAreFixedWithSixPlaces) {
  RegisterTrace trace(0, nullptr);
  std::mt19937 random(1);
  std::vector<unsigned> patterns = {0x80000000, 0x00000001, 0x7f7fffff, 0xff7fffff, 0x7f800000,
                                    0xff800000, 0x7fc00000, 0xffc00000, 0x34000000, 0x3f7fffff};
  while (patterns.size() < 2000) patterns.push_back(random());
  for (const unsigned bits : patterns) {
    registers.s(7) = bits;
    char expected[100];
    std::snprintf(expected, sizeof(expected),
                  " s7=%.6f s8=", static_cast<double>(std::bit_cast<float>(bits)));
    ASSERT_NE(trace.Line(registers).find(expected), std::string_view::npos) << expected;
  }
}

TEST_F(RegisterTraceTest, ComparisonBeginsAtTheStartPc) {
  Registers start = registers;
  start.pc() = 0x400;
  std::istringstream recorded(LineOf(start) + "\n" + LineOf(registers) + "\n");
  RegisterTrace trace(0x400, &recorded);
  EXPECT_EQ(Traced(trace, registers), LineOf(registers) + "\n");
  EXPECT_EQ(Traced(trace, start), "");
  EXPECT_EQ(Traced(trace, registers), "");
}

TEST_F(RegisterTraceTest, WithoutARecordedRunTheStartPcChangesNothing) {
  RegisterTrace trace(0x400, nullptr);
  EXPECT_EQ(Traced(trace, registers), LineOf(registers) + "\n");
}

}  // namespace
}  // namespace orvo
