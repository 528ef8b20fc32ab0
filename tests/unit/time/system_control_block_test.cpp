#include <gmock/gmock.h>

#include "runner/args_manager.h"
#include "runner/errors.h"
#include "support/exception_bench.h"

namespace orvo {
namespace {

struct SystemControlBlockTest : testing::Test, ExceptionBench {
  void Write(unsigned address, unsigned value) { mcu.memory().set<true>(address, value); }
  std::string ErrorOfWrite(unsigned address, unsigned value) {
    try {
      Write(address, value);
    } catch (const OrvoError& error) {
      return error.message();
    }
    return "no error";
  }

  static constexpr unsigned kIser = 0xe000e100, kIcer = 0xe000e180;
  static constexpr unsigned kIspr = 0xe000e200, kIcpr = 0xe000e280, kIabr = 0xe000e300;
  static constexpr unsigned kIp = 0xe000e400;
  static constexpr unsigned kIcsr = 0xe000ed04, kVtor = 0xe000ed08, kAircr = 0xe000ed0c;
  static constexpr unsigned kShpr1 = 0xe000ed18, kShcsr = 0xe000ed24;
};

struct RegisterResetCase {
  unsigned address, value;
};

TEST_F(SystemControlBlockTest, RegistersReadTheirResetValues) {
  Write(kShpr1, 0x20202020);
  mcu.Reset(kSoftwareReset);
  for (const RegisterResetCase& c :
       {RegisterResetCase{0xe0001000, 0}, RegisterResetCase{0xe000e010, 4},
        RegisterResetCase{0xe000e01c, 0x80000000}, RegisterResetCase{0xe000ed00, 0x410fc241},
        RegisterResetCase{0xe000ed0c, 0xfa050000}, RegisterResetCase{0xe000ed14, 0x200},
        RegisterResetCase{0xe000ed18, 0}, RegisterResetCase{0xe000ed90, 0x800},
        RegisterResetCase{0xe000ef34, 0xc0000000}, RegisterResetCase{0xe000ef3c, 0}}) {
    EXPECT_EQ(Word(c.address), c.value) << std::hex << c.address;
  }
}

// --- NVIC ----------------------------------------------------------------------------------------

TEST_F(SystemControlBlockTest, EnableBitsAccumulateAndReadAlikeInBothRegisters) {
  Write(kIser + 4, 1u << 2);
  Write(kIser + 4, 1u << 3);
  EXPECT_EQ(Word(kIser + 4), 0xcu);
  EXPECT_EQ(Word(kIcer + 4), 0xcu);
  Write(kIcer + 4, 1u << 2);
  EXPECT_EQ(Word(kIser + 4), 8u);
  EXPECT_EQ(Word(kIcer + 4), 8u);
  Raise(34);
  EXPECT_FALSE(Step());
  Raise(35);
  EXPECT_TRUE(Step());
  EXPECT_EQ(Running(), 35);
}

TEST_F(SystemControlBlockTest, PendingBitsComeFromTheEngine) {
  Write(kIspr + 4, 0x801);
  EXPECT_EQ(Word(kIspr + 4), 0x801u);
  EXPECT_EQ(Word(kIcpr + 4), 0x801u);
  EXPECT_TRUE(interrupts.IsPending(43));
  Write(kIcpr + 4, 0x800);
  EXPECT_EQ(Word(kIspr + 4), 1u);
  EXPECT_EQ(Word(kIspr), 0u);
}

TEST_F(SystemControlBlockTest, ClearingEverythingAtStartUpTouchesNoInterruptThatDoesNotExist) {
  for (unsigned n = 0; n < 8; ++n) {
    Write(kIcer + 4 * n, ~0u);
    Write(kIcpr + 4 * n, ~0u);
    Write(kIspr + 4 * n, n == 7 ? 0xffff0000 : 0);
    EXPECT_EQ(Word(kIspr + 4 * n), 0u);
  }
}

TEST_F(SystemControlBlockTest, TheActiveBitsAreNeverMaintained) {
  Write(kIabr, 0xff);
  Enable(0);
  Raise(0);
  Step();
  EXPECT_EQ(Word(kIabr), 0u);
}

TEST_F(SystemControlBlockTest, APriorityByteHasEightBitsAndFourOnTheStm32l475) {
  mcu.memory().setByte<true>(kIp + 6, 0xe1);
  EXPECT_EQ(interrupts.GetPriority(6), 225);
  EXPECT_EQ(interrupts.GetPriority(5), 0);
  EXPECT_EQ(Word(kIp + 4), 0x00e10000u);
  ArgsManager::Get().mcu = "stm32l475";
  mcu.memory().setByte<true>(kIp + 6, 0xe1);
  EXPECT_EQ(interrupts.GetPriority(6), 224);
  EXPECT_EQ(Word(kIp + 4), 0x00e00000u);
  ArgsManager::Get().mcu = "nrf52832";
}

// --- Priorities and enables of system exceptions -------------------------------------------------

struct PriorityByteCase {
  unsigned address;
  int number;
};

TEST_F(SystemControlBlockTest, SystemPrioritiesHaveThreeBits) {
  for (const PriorityByteCase& c :
       {PriorityByteCase{0xe000ed18, kMemManage}, PriorityByteCase{0xe000ed19, kBusFault},
        PriorityByteCase{0xe000ed1a, kUsageFault}, PriorityByteCase{0xe000ed1f, kSvCall},
        PriorityByteCase{0xe000ed20, kDebugMonitor}, PriorityByteCase{0xe000ed22, kPendSv},
        PriorityByteCase{0xe000ed23, kSysTick}}) {
    mcu.memory().setByte<true>(c.address, 0xff);
    EXPECT_EQ(interrupts.GetPriority(c.number), 0xe0) << c.number;
    EXPECT_EQ(mcu.memory().getByte<true>(c.address), 0xe0) << c.number;
  }
}

struct FaultEnableCase {
  unsigned bit;
  int number;
};

TEST_F(SystemControlBlockTest, ShcsrEnablesFaults) {
  for (const FaultEnableCase& c : {FaultEnableCase{16, kMemManage}, FaultEnableCase{17, kBusFault},
                                   FaultEnableCase{18, kUsageFault}}) {
    ExceptionBench bench;
    bench.mcu.memory().set<true>(kShcsr, 1u << c.bit);
    bench.Raise(c.number);
    EXPECT_TRUE(bench.Step());
    EXPECT_EQ(bench.Running(), c.number);
  }
}

TEST_F(SystemControlBlockTest, ShcsrRefusesActiveAndPendedBitsAfterStoringThem) {
  EXPECT_EQ(ErrorOfWrite(kShcsr, 0x00048000),
            "Unsupported value 0x48000 for SHCSR in System Control Block");
  EXPECT_EQ(Word(kShcsr), 0x48000u);
  Raise(kUsageFault);
  EXPECT_TRUE(interrupts.IsPending(kUsageFault));  // enabled all the same
  for (const unsigned bit : {0u, 1u, 3u, 10u, 11u, 12u, 13u, 14u, 15u}) {
    EXPECT_NE(ErrorOfWrite(kShcsr, 1u << bit), "no error") << bit;
  }
}

// --- ICSR, VTOR, AIRCR ---------------------------------------------------------------------------

TEST_F(SystemControlBlockTest, IcsrPendsSystemExceptionsAndShowsThemUntilTheyAreTaken) {
  Write(kIcsr, 1u << 28);
  EXPECT_EQ(Word(kIcsr) & (1u << 28 | 1u << 22), 1u << 28 | 1u << 22);
  EXPECT_TRUE(Step());
  EXPECT_EQ(Running(), kPendSv);
  EXPECT_EQ(Word(kIcsr) & (1u << 28 | 1u << 22), 0u);

  Write(kIcsr, 1u << 31 | 1u << 26);
  EXPECT_EQ(Word(kIcsr) & (1u << 31 | 1u << 26), 1u << 31 | 1u << 26);
  Write(kIcsr, 1u << 25);
  EXPECT_EQ(Word(kIcsr) & (1u << 31 | 1u << 26), 1u << 31);
  Write(kIcsr, 1u << 28);
  Write(kIcsr, 1u << 27);
  EXPECT_FALSE(interrupts.IsPending(kPendSv));
}

TEST_F(SystemControlBlockTest, NmiAloneIsNotAnIsrPending) {
  Raise(kNmi);
  EXPECT_EQ(Word(kIcsr) & 1u << 22, 0u);
  Raise(TestMcu::kExternalInterrupts);  // the count itself is looked at too
  EXPECT_EQ(Word(kIcsr) & 1u << 22, 1u << 22);
}

TEST_F(SystemControlBlockTest, VtorMovesTheVectorTableOfWhatIsPendingToo) {
  constexpr unsigned kTable = TestMcu::kRamStart + 0x800;
  SetVector(kTable, 2, 0xabc1);
  Enable(2);
  Raise(2);
  Write(kVtor, kTable + 0x7f);
  EXPECT_EQ(Word(kVtor), kTable);
  EXPECT_TRUE(Step());
  EXPECT_EQ(registers.pc(), 0xabc1u);
}

TEST_F(SystemControlBlockTest, AircrTakesWritesWithTheKeyOnly) {
  Write(kAircr, 0x05fa8500);
  EXPECT_EQ(Word(kAircr), 0xfa050500u);
  Write(kAircr, 0x05fb0700);
  Write(kAircr, 0xfa050700);
  EXPECT_EQ(Word(kAircr), 0xfa050500u);
}

TEST_F(SystemControlBlockTest, SysResetReqResetsAtTheNextExceptionCheck) {
  registers.pc() = 0x4444;
  Write(kAircr, 0x05fa0004);
  EXPECT_EQ(registers.pc(), 0x4444u);
  EXPECT_TRUE(Step());
  EXPECT_EQ(registers.pc(), HandlerOf(kReset));
  EXPECT_EQ(Word(kAircr), 0xfa050000u);
  EXPECT_FALSE(Step());
}

// --- What is refused -----------------------------------------------------------------------------

TEST_F(SystemControlBlockTest, TheSoftwareTriggerIsNotSupported) {
  EXPECT_EQ(ErrorOfWrite(0xe000ef00, 3),
            "Set STIR in SystemControlBlockHandler currently not supported");
}

TEST_F(SystemControlBlockTest, Bit25OfDwtCtrlIsRefusedAndStaysRefused) {
  EXPECT_EQ(ErrorOfWrite(0xe0001000, 1u << 25),
            "Not supported bit 25 equal 1 in set_DWT_CTRL, Please contact Zandor Team");
  try {
    Word(0xe0001000);
    FAIL() << "no error";
  } catch (const OrvoError& error) {
    EXPECT_EQ(error.message(),
              "Not supported bit 25 equal 1 in get_DWT_CTRL, Please contact Zandor Team");
  }
}

TEST_F(SystemControlBlockTest, TheCycleCounterCountsWithoutBeingEnabled) {
  mcu.clock().Tickrement(77);
  Write(0xe0001004, 5);
  EXPECT_EQ(Word(0xe0001004), 77u);
}

}  // namespace
}  // namespace orvo
