#include "core/registers.h"

#include <sstream>

#include "core/it_state.h"
#include "core_state.h"

namespace orvo {
namespace {

TEST_F(CoreState, InitLeavesTheStateAfterReset) {
  registers.set_xpsr(~0u);
  registers.control() = 7;
  registers.init(0x1234, 0x20008000);
  EXPECT_EQ(registers.pc(), 0x1234u);
  EXPECT_EQ(registers.word(kMsp), 0x20008000u);
  EXPECT_EQ(registers.word(kPsp), 0u);
  EXPECT_EQ(registers.lr(), 0xffffffffu);
  EXPECT_EQ(registers.xpsr(), 0u);
  EXPECT_EQ(registers.control(), 0u);
  EXPECT_EQ(registers.sp_start(), 0x20008000u);
}

struct BankCase {
  unsigned control;
  mcu_mode_t mode;
  unsigned bank;
};

class StackBank : public CoreState, public testing::WithParamInterface<BankCase> {};

TEST_P(StackBank, FollowsModeAndControl) {
  registers.control() = GetParam().control;
  Interrupts::mode_ = GetParam().mode;
  registers.SetSP(0x20001000);
  EXPECT_EQ(registers.word(GetParam().bank), 0x20001000u);
  EXPECT_EQ(registers.get(kSp), 0x20001000u);
  EXPECT_EQ(registers.word(kSp), 0u);
}

INSTANTIATE_TEST_SUITE_P(Modes, StackBank,
                         testing::Values(BankCase{0, kThreadMode, kMsp},
                                         BankCase{2, kThreadMode, kPsp},
                                         BankCase{2, kHandlerMode, kMsp},
                                         BankCase{5, kThreadMode, kMsp}));

TEST_F(CoreState, StackDepthIsKeptOnlyWhenAsked) {
  registers.init(0, 0x20008000);
  registers.SetSP(0x20007000);
  EXPECT_EQ(registers.sp_min(), 0x20008000u);
  registers.TrackStackDepth(true);
  registers.SetSP(0x20007800);
  registers.SetSP(0x20007f00);
  EXPECT_EQ(registers.sp_min(), 0x20007800u);
}

TEST_F(CoreState, DumpHasALinePerIdUpToControl) {
  registers.r(0) = 0xabc;
  std::ostringstream out;
  registers.serializeToFile(&out);
  EXPECT_EQ(out.str().rfind("Regs:\nR0: 0x00000000\n", 0), 0u);
  EXPECT_NE(out.str().find("\nR66: 0x00000abc\n"), std::string::npos);
  EXPECT_NE(out.str().find("\nR278: 0x00000000\n"), std::string::npos);
  EXPECT_EQ(out.str().find("R279"), std::string::npos);
}

TEST_F(CoreState, ItStateKeepsItsByteAndNothingElse) {
  registers.set_xpsr(0xf90f0105);
  const unsigned before = registers.xpsr();
  for (unsigned it = 0; it < 256; ++it) {
    SetItReg(it);
    EXPECT_EQ(GetItReg(), it);
    EXPECT_EQ(InItBlock(), (it & 15) != 0);
    EXPECT_EQ(LastInItBlock(), (it & 15) == 8);
    EXPECT_EQ(GetItCondBase(), it >> 5);
    constexpr unsigned kIt = xpsr::kItLowBits | xpsr::kItHighBits;
    EXPECT_EQ(registers.xpsr() & ~kIt, before & ~kIt);
  }
}

TEST_F(CoreState, ItAdvanceShiftsTheMaskOutOneByOne) {
  SetItReg(0x05);  // EQ EQ NE EQ
  ItAdvance();
  EXPECT_EQ(GetItReg(), 0x0au);
  ItAdvance();
  EXPECT_EQ(GetItReg(), 0x14u);
  ItAdvance();
  EXPECT_EQ(GetItReg(), 0x08u);
  ItAdvance();
  EXPECT_EQ(GetItReg(), 0x00u);
}

}  // namespace
}  // namespace orvo
