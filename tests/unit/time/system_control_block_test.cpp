// NVIC, system control block and SysTick beyond what the firmware programs interrupts.c,
// sleep_and_reset.c and counting.c show.
#include <gmock/gmock.h>

#include "runner/args_manager.h"
#include "support/error_of.h"
#include "support/exception_bench.h"
#include "time/derived_clock.h"

namespace orvo {
namespace {

struct SystemControlBlockTest : testing::Test, ExceptionBench {
  void Write(unsigned address, unsigned value) { mcu.memory().set<true>(address, value); }
  std::string ErrorOfWrite(unsigned address, unsigned value) {
    return ErrorOf([&] { Write(address, value); });
  }

  // Ticks until SysTick is pending, which is taken away again; 0 if it doesn't come.
  unsigned long TicksToSysTick() {
    for (unsigned long ticks = 1; ticks <= 1000; ++ticks) {
      mcu.clock().Tickrement(1);
      if (!interrupts.IsPending(kSysTick)) continue;
      interrupts.RaiseInterrupt(kSysTick, false);
      return ticks;
    }
    return 0;
  }
};

constexpr unsigned kCsr = 0xe000e010, kRvr = 0xe000e014, kCvr = 0xe000e018;
constexpr unsigned kEnable = 1, kTickInt = 2, kCoreClock = 4, kCountFlag = 1u << 16;  // CSR
constexpr unsigned kIser = 0xe000e100, kIcer = 0xe000e180, kIspr = 0xe000e200, kIcpr = 0xe000e280;
constexpr unsigned kIabr = 0xe000e300, kIp = 0xe000e400;
constexpr unsigned kIcsr = 0xe000ed04, kVtor = 0xe000ed08, kAircr = 0xe000ed0c;
constexpr unsigned kShpr1 = 0xe000ed18, kShcsr = 0xe000ed24;

TEST_F(SystemControlBlockTest, RegistersReadTheirResetValues) {
  Write(kShpr1, 0x20202020);
  mcu.Reset(kSoftwareReset);
  for (const auto& [address, value] : {std::pair(0xe0001000u, 0u),
                                       {0xe000e010, 4},
                                       {0xe000e01c, 0x80000000},
                                       {0xe000ed00, 0x410fc241},
                                       {0xe000ed0c, 0xfa050000},
                                       {0xe000ed14, 0x200},
                                       {kShpr1, 0},
                                       {0xe000ed90, 0x800},
                                       {0xe000ef34, 0xc0000000},
                                       {0xe000ef3c, 0}}) {
    EXPECT_EQ(Word(address), value) << std::hex << address;
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

TEST_F(SystemControlBlockTest, PendingBitsComeFromTheEngineAndActiveOnesAreNeverMaintained) {
  Write(kIspr + 4, 0x801);
  EXPECT_EQ(Word(kIspr + 4), 0x801u);
  EXPECT_EQ(Word(kIcpr + 4), 0x801u);
  EXPECT_TRUE(interrupts.IsPending(43));
  Write(kIcpr + 4, 0x800);
  EXPECT_EQ(Word(kIspr + 4), 1u);
  EXPECT_EQ(Word(kIspr), 0u);
  Write(kIser + 4, 1);
  EXPECT_TRUE(Step());
  Write(kIabr + 4, 0xff);
  EXPECT_EQ(Word(kIabr + 4), 0u);
}

TEST_F(SystemControlBlockTest, ClearingEverythingAtStartUpTouchesNoInterruptThatDoesNotExist) {
  for (unsigned n = 0; n < 8; ++n) {
    Write(kIcer + 4 * n, ~0u);
    Write(kIcpr + 4 * n, ~0u);
    Write(kIspr + 4 * n, n == 7 ? 0xffff0000 : 0);
    EXPECT_EQ(Word(kIspr + 4 * n), 0u);
  }
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

TEST_F(SystemControlBlockTest, SystemPrioritiesHaveThreeBits) {
  for (const auto& [address, number] : {std::pair(kShpr1, int{kMemManage}),
                                        {kShpr1 + 1, kBusFault},
                                        {kShpr1 + 2, kUsageFault},
                                        {kShpr1 + 7, kSvCall},
                                        {kShpr1 + 8, kDebugMonitor},
                                        {kShpr1 + 10, kPendSv},
                                        {kShpr1 + 11, kSysTick}}) {
    mcu.memory().setByte<true>(address, 0xff);
    EXPECT_EQ(interrupts.GetPriority(number), 0xe0) << number;
    EXPECT_EQ(mcu.memory().getByte<true>(address), 0xe0) << number;
  }
}

TEST_F(SystemControlBlockTest, ShcsrEnablesEachFaultByItsBit) {
  for (const auto& [bit, number] :
       {std::pair(16, int{kMemManage}), {17, kBusFault}, {18, kUsageFault}}) {
    Write(kShcsr, 1u << bit);
    Raise(number);
    EXPECT_TRUE(Step());
    EXPECT_EQ(Running(), number);
    Return();
  }
}

TEST_F(SystemControlBlockTest, ShcsrRefusesActiveAndPendedBitsAfterStoringThem) {
  EXPECT_EQ(ErrorOfWrite(kShcsr, 0x00048000),
            "OrvoError: Unsupported value 0x48000 for SHCSR in System Control Block");
  EXPECT_EQ(Word(kShcsr), 0x48000u);
  Raise(kUsageFault);
  EXPECT_TRUE(interrupts.IsPending(kUsageFault));  // enabled all the same
  for (const unsigned bit : {0u, 1u, 3u, 10u, 11u, 12u, 13u, 14u, 15u}) {
    EXPECT_NE(ErrorOfWrite(kShcsr, 1u << bit), "") << bit;
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
  EXPECT_EQ(Word(kIcsr) & 1u << 22, 0u);  // NMI alone isn't an ISRPENDING
  Write(kIcsr, 1u << 28);
  Write(kIcsr, 1u << 27);
  EXPECT_FALSE(interrupts.IsPending(kPendSv));
  Raise(TestMcu::kExternalInterrupts);  // the count itself is looked at too
  EXPECT_EQ(Word(kIcsr) & 1u << 22, 1u << 22);
}

TEST_F(SystemControlBlockTest, VtorMovesTheTableOfWhatIsPendingAndKeepsPriorities) {
  constexpr unsigned kTable = TestMcu::kRamStart + 0x800;
  SetVector(kTable, 2, 0xabc1);
  Enable(kBusFault, 0x20);
  Enable(2, 0x40);
  Raise(2);
  Write(kVtor, kTable + 0x7f);
  EXPECT_EQ(Word(kVtor), kTable);
  EXPECT_EQ(interrupts.GetPriority(kBusFault), 0x20);
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

// --- SysTick -------------------------------------------------------------------------------------

TEST_F(SystemControlBlockTest, NeitherTheCurrentValueNorASecondEnableMovesSysTick) {
  Write(kRvr, 100);
  Write(kCsr, kEnable | kCoreClock);
  mcu.clock().Tickrement(140);
  EXPECT_FALSE(interrupts.IsPending(kSysTick));  // TICKINT is clear
  Write(kCvr, 5);
  EXPECT_EQ(Word(kCvr), 100u);
  EXPECT_EQ(mcu.scb().MemorySection::get(SystemControlBlockHandler::CVR), kEnable | kCoreClock);
  EXPECT_EQ(Word(kCsr), kEnable | kCoreClock | kCountFlag);  // not cleared by the write
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  EXPECT_EQ(TicksToSysTick(), 60u);
  EXPECT_EQ(TicksToSysTick(), 100u);
  Write(kCsr, kTickInt | kCoreClock);  // switched off it leaves a COUNTFLAG at most
  EXPECT_EQ(TicksToSysTick(), 0u);
  EXPECT_EQ(Word(kCsr) & kCountFlag, kCountFlag);
}

TEST_F(SystemControlBlockTest, AReloadValueOfZeroDoesNotCountAndDoesNotHang) {
  Write(kCsr, kEnable | kTickInt | kCoreClock);
  EXPECT_EQ(TicksToSysTick(), 0u);
  Write(kRvr, 50);
  EXPECT_EQ(TicksToSysTick(), 50u);
  Write(kRvr, 0);
  EXPECT_EQ(TicksToSysTick(), 50u);  // the count that was under way
  EXPECT_EQ(TicksToSysTick(), 0u);
  Write(kRvr, 20);
  EXPECT_EQ(TicksToSysTick(), 20u);
}

TEST(SysTickExternalClock, TakesARunningCounterOffTheCoreClockAndCountsFromTheNextStart) {
  struct ExternalClockMcu : TestMcu {
    Clock* GetSysTickExternalClock() override { return &external; }
    DerivedClock external{&clock(), 8, true, "external", false};
  } mcu;
  mcu.memory().set<true>(kRvr, 10);
  mcu.memory().set<true>(kCsr, kEnable | kTickInt | kCoreClock);
  mcu.memory().set<true>(kCsr, kEnable | kTickInt);
  mcu.clock().Tickrement(1000);
  EXPECT_FALSE(mcu.isPending(kSysTick));
  mcu.memory().set<true>(kCsr, 0);
  mcu.memory().set<true>(kCsr, kEnable | kTickInt);
  mcu.clock().Tickrement(79);
  EXPECT_FALSE(mcu.isPending(kSysTick));
}

// --- DWT, and what is refused --------------------------------------------------------------------

TEST_F(SystemControlBlockTest, TheCycleCounterCountsWithoutBeingEnabled) {
  mcu.clock().Tickrement(77);
  Write(0xe0001004, 5);
  EXPECT_EQ(Word(0xe0001004), 77u);
}

TEST_F(SystemControlBlockTest, TheSoftwareTriggerAndBit25OfDwtCtrlAreRefused) {
  EXPECT_EQ(ErrorOfWrite(0xe000ef00, 3),
            "OrvoError: Set STIR in SystemControlBlockHandler currently not supported");
  EXPECT_EQ(ErrorOfWrite(0xe0001000, 1u << 25),
            "OrvoError: Not supported bit 25 equal 1 in set_DWT_CTRL, Please contact Zandor Team");
  EXPECT_EQ(ErrorOf([&] { Word(0xe0001000); }),
            "OrvoError: Not supported bit 25 equal 1 in get_DWT_CTRL, Please contact Zandor Team");
}

}  // namespace
}  // namespace orvo
