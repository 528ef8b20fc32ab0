#include "time/interrupts.h"

#include <gmock/gmock.h>

#include "runner/errors.h"
#include "support/exception_bench.h"

namespace orvo {
namespace {

struct InterruptsTest : testing::Test, ExceptionBench {};

// --- Table ---------------------------------------------------------------------------------------

struct SystemExceptionCase {
  int number;
  const char* name;
  int priority;
};

TEST_F(InterruptsTest, SystemExceptionsHaveTheirNamesVectorsAndPriorities) {
  for (const SystemExceptionCase& c :
       {SystemExceptionCase{kReset, "Reset", -3}, SystemExceptionCase{kNmi, "NMI", -2},
        SystemExceptionCase{kHardFault, "Hard Fault", -1},
        SystemExceptionCase{kMemManage, "Memory Management Fault", 0},
        SystemExceptionCase{kBusFault, "Bus Fault", 0},
        SystemExceptionCase{kUsageFault, "Usage Fault", 0},
        SystemExceptionCase{kSvCall, "Svcall", 0},
        SystemExceptionCase{kDebugMonitor, "Debug Non", 0},
        SystemExceptionCase{kPendSv, "Pendsv", 0}, SystemExceptionCase{kSysTick, "Systick", 0}}) {
    EXPECT_EQ(interrupts.GetInterruptName(static_cast<unsigned>(c.number + 16)), c.name);
    EXPECT_EQ(interrupts.GetPriority(c.number), static_cast<unsigned char>(c.priority)) << c.name;
    EXPECT_EQ(interrupts.GetAddress(c.number), HandlerOf(c.number)) << c.name;
  }
  EXPECT_EQ(interrupts.GetInterruptName(16 + 7), "IRQ7");
  EXPECT_EQ(interrupts.GetInterruptName(300), "");
}

TEST_F(InterruptsTest, ANewVectorTableKeepsPrioritiesEnabledFlagsAndWhatIsPending) {
  constexpr unsigned kTable = TestMcu::kRamStart + 0x400;
  Enable(5, 0x40);
  Enable(kBusFault, 0x20);
  Raise(5);
  SetVector(kTable, 5, 0x9001);
  interrupts.LoadInterrupts(kTable);
  EXPECT_EQ(interrupts.GetPriority(kBusFault), 0x20);
  EXPECT_TRUE(Step());
  EXPECT_EQ(registers.pc(), 0x9001u);
}

TEST_F(InterruptsTest, NumbersBeyondTheTableDoNothing) {
  for (const int number : {-16, 240, 255}) {
    EXPECT_FALSE(interrupts.RaiseInterrupt(number, true)) << number;
    interrupts.SetEnabled(number, true);
    EXPECT_FALSE(interrupts.IsPending(number)) << number;
  }
  EXPECT_TRUE(*interrupts.pending_empty());
}

// --- Pending -------------------------------------------------------------------------------------

TEST_F(InterruptsTest, RaisingReportsWhetherThePendingStateChanged) {
  Enable(3);
  EXPECT_TRUE(interrupts.RaiseInterrupt(3, true));
  EXPECT_FALSE(interrupts.RaiseInterrupt(3, true));
  EXPECT_TRUE(interrupts.IsPending(3));
  EXPECT_FALSE(*interrupts.pending_empty());
  EXPECT_FALSE(interrupts.RaiseInterrupt(3, false));
  EXPECT_FALSE(interrupts.IsPending(3));
  EXPECT_TRUE(*interrupts.pending_empty());
}

TEST_F(InterruptsTest, ADisabledInterruptWaitsUntilItIsEnabled) {
  EXPECT_TRUE(interrupts.RaiseInterrupt(3, true));
  EXPECT_TRUE(*interrupts.pending_empty());
  EXPECT_FALSE(Step());
  interrupts.SetEnabled(3, true);
  interrupts.SetEnabled(3, false);
  EXPECT_FALSE(Step());
  interrupts.SetEnabled(3, true);
  EXPECT_TRUE(Step());
  EXPECT_EQ(Running(), 3);
}

TEST_F(InterruptsTest, NmiSvCallAndPendSvPendThoughNobodyEnabledThem) {
  for (const int number : {kNmi, kSvCall, kPendSv}) {
    ExceptionBench bench;
    bench.Raise(number);
    EXPECT_TRUE(bench.Step()) << number;
    EXPECT_EQ(bench.Running(), number);
  }
}

TEST_F(InterruptsTest, EnablingAPendingInterruptWithoutVectorIsAnError) {
  Raise(100);
  try {
    interrupts.SetEnabled(100, true);
    FAIL() << "no error";
  } catch (const OrvoError& error) {
    EXPECT_EQ(error.message(), "Unsupported interrupt: 116 in Interrupts::SetEnabled");
  }
}

struct EscalationCase {
  int number;
  unsigned cfsr;
};

TEST_F(InterruptsTest, ADisabledFaultBecomesAForcedHardFault) {
  for (const EscalationCase& c : {EscalationCase{kMemManage, 1u << 10},
                                  EscalationCase{kBusFault, 0}, EscalationCase{kUsageFault, 0}}) {
    ExceptionBench bench;
    EXPECT_TRUE(bench.interrupts.RaiseInterrupt(c.number, true)) << c.number;
    EXPECT_FALSE(bench.interrupts.IsPending(c.number));
    EXPECT_EQ(bench.Hfsr(), 1u << 30);
    EXPECT_EQ(bench.Cfsr(), c.cfsr);
    EXPECT_TRUE(bench.Step());
    EXPECT_EQ(bench.Running(), kHardFault);
  }
}

TEST_F(InterruptsTest, AnEnabledMemManageSaysThatItsAddressIsValid) {
  Enable(kMemManage);
  OrvoSignals::Get().raise_interrupt.emit(kMemManage);  // as Memory does
  EXPECT_EQ(Cfsr(), 0x82u);
  EXPECT_EQ(Hfsr(), 0u);
  EXPECT_TRUE(Step());
  EXPECT_EQ(Running(), kMemManage);
}

TEST_F(InterruptsTest, ResetForgetsWhatIsPendingOrActiveAndKeepsWhatIsEnabled) {
  Enable(1);
  Enable(2);
  Raise(1);
  Step();
  Raise(2);
  interrupts.Reset();
  EXPECT_EQ(Interrupts::mode_, kThreadMode);
  EXPECT_EQ(interrupts.ExceptionActiveCount(), 0);
  EXPECT_TRUE(*interrupts.pending_empty());
  registers.set_xpsr(0);
  Raise(2);
  EXPECT_TRUE(Step());
}

// --- Order ---------------------------------------------------------------------------------------

struct OrderCase {
  const char* name;
  std::vector<std::pair<int, unsigned char>> raised;  // interrupt number, priority
  std::vector<int> taken;
};
void PrintTo(const OrderCase& c, std::ostream* stream) { *stream << c.name; }

class InterruptOrder : public testing::TestWithParam<OrderCase> {};

TEST_P(InterruptOrder, IsByPriorityThenByNumber) {
  ExceptionBench bench;
  for (const auto& [number, priority] : GetParam().raised) {
    bench.Enable(number, priority);
    bench.Raise(number);
  }
  std::vector<int> taken;
  while (bench.Step()) {
    taken.push_back(bench.Running());
    bench.Return();
  }
  EXPECT_EQ(taken, GetParam().taken);
}

INSTANTIATE_TEST_SUITE_P(
    Interrupts, InterruptOrder,
    testing::Values(OrderCase{"lower_number_of_equals", {{9, 64}, {4, 64}, {30, 64}}, {4, 9, 30}},
                    OrderCase{"lower_priority_first", {{1, 0xc0}, {2, 0x80}, {3, 0x40}}, {3, 2, 1}},
                    OrderCase{"system_before_external", {{0, 0}, {kSysTick, 0}}, {kSysTick, 0}},
                    OrderCase{"many", {{5, 7}, {6, 3}, {7, 9}, {8, 1}, {9, 5}}, {8, 6, 9, 5, 7}},
                    OrderCase{"priority_255_is_never_taken", {{5, 255}, {6, 254}}, {6}}),
    [](const auto& tested) { return std::string(tested.param.name); });

TEST_F(InterruptsTest, ANewPriorityDoesNotMoveWhatIsQueuedAlready) {
  Enable(1, 0x40);
  Enable(2, 0x80);
  Raise(1);
  Raise(2);
  interrupts.SetPriority(2, 0);
  EXPECT_TRUE(Step());
  EXPECT_EQ(Running(), 1);
}

TEST_F(InterruptsTest, TakingAnInterruptOutOfTheQueueLeavesTheRestInItsOldOrder) {
  // The heap is 1; 2, 3; 4. Without 1 it is 2, 3, 4 whatever their priorities say by then.
  for (int number = 1; number <= 4; ++number) {
    Enable(number, static_cast<unsigned char>(0x20 * number));
    Raise(number);
  }
  interrupts.SetPriority(4, 0);
  interrupts.RaiseInterrupt(1, false);
  EXPECT_TRUE(Step());
  EXPECT_EQ(Running(), 2);
}

// --- VECTPENDING ---------------------------------------------------------------------------------

struct VectPendingCase {
  const char* name;
  int number;
  unsigned basepri, faultmask, shown;
};
void PrintTo(const VectPendingCase& c, std::ostream* stream) { *stream << c.name; }

class VectPending : public testing::TestWithParam<VectPendingCase> {};

TEST_P(VectPending, ComparesTheExceptionNumberWithTheMasks) {
  ExceptionBench bench;
  bench.Enable(GetParam().number, 0xe0);
  bench.registers.word(kBasepri) = GetParam().basepri;
  bench.registers.word(kFaultmask) = GetParam().faultmask;
  bench.Raise(GetParam().number);
  EXPECT_EQ(bench.Icsr() >> 12 & 0x3f, GetParam().shown);
  bench.interrupts.RaiseInterrupt(GetParam().number, false);
  EXPECT_EQ(bench.Icsr() >> 12 & 0x3f, 0u);
}

INSTANTIATE_TEST_SUITE_P(Interrupts, VectPending,
                         testing::Values(VectPendingCase{"no_mask", 4, 0, 0, 20},
                                         VectPendingCase{"low_basepri_bits", 4, 0x1f, 0, 20},
                                         VectPendingCase{"number_below_basepri", 4, 0x20, 0, 20},
                                         VectPendingCase{"number_not_below", 16, 0x20, 0, 0},
                                         VectPendingCase{"faultmask", 4, 0, 1, 0}),
                         [](const auto& tested) { return std::string(tested.param.name); });

// --- Events --------------------------------------------------------------------------------------

TEST_F(InterruptsTest, AChangeSetsTheEventLatchAndWithSevOnPendSoDoesRaisingAgain) {
  constexpr unsigned kScr = 0xe000ed10;
  Raise(3);
  EXPECT_TRUE(mcu.TakeEvent());
  Raise(3);
  EXPECT_FALSE(mcu.TakeEvent());
  mcu.memory().set<false>(kScr, 1u << 4);
  Raise(3);
  EXPECT_TRUE(mcu.TakeEvent());
  interrupts.RaiseInterrupt(3, false);
  EXPECT_FALSE(mcu.TakeEvent());
}

}  // namespace
}  // namespace orvo
