// The monitor beyond what tests/instructions/exclusive_test.cpp shows of pairs and widths.
#include "memory/memory_exclusiveness.h"

#include <gmock/gmock.h>

#include "support/test_mcu.h"
#include "unit/memory/recorder.h"

namespace orvo {
namespace {

constexpr unsigned kAddress = TestMcu::kRamStart + 0x40;
constexpr unsigned kR1 = kR0 + 1;
constexpr unsigned kR2 = kR0 + 2;

struct MemoryExclusivenessTest : testing::Test {
  // The status of a store of 5.
  unsigned Store() {
    monitor.Strex(kR2, 5, kAddress);
    return mcu.registers().word(kR2);
  }
  void EnterException(unsigned number) {
    mcu.registers().set_xpsr((mcu.registers().xpsr() & ~xpsr::kExceptionNumber) | number);
  }

  TestMcu mcu;
  MemoryExclusiveness monitor{&mcu};
};

TEST_F(MemoryExclusivenessTest, NoticesOnlyAValueThatChangedSinceTheLastLoad) {
  monitor.Ldrex(kR1, kAddress);
  mcu.memory().set<true>(kAddress, 1);
  EXPECT_EQ(Store(), 1u);
  EXPECT_EQ(mcu.memory().get<false>(kAddress), 1u);
  monitor.Ldrex(kR1, kAddress);
  mcu.memory().set<true>(kAddress, 1);
  EXPECT_EQ(Store(), 0u);
}

TEST_F(MemoryExclusivenessTest, ALoadServesItsLevelOnlyAndClrexForgetsAllLevels) {
  EnterException(21);
  monitor.Ldrex(kR1, kAddress);
  EnterException(0);
  EXPECT_EQ(Store(), 1u);
  EnterException(21);
  EXPECT_EQ(Store(), 0u);

  monitor.Ldrex(kR1, kAddress);
  EnterException(0);
  monitor.Ldrex(kR1, kAddress);
  monitor.Clrex();
  EXPECT_EQ(Store(), 1u);
  EnterException(21);
  EXPECT_EQ(Store(), 1u);
}

TEST_F(MemoryExclusivenessTest, LoadsTheStackPointerThroughItsBank) {
  mcu.memory().set<false>(kAddress, 0x20001000);
  monitor.Ldrex(kSp, kAddress);
  EXPECT_EQ(mcu.registers().sp(), 0x20001000u);
}

TEST_F(MemoryExclusivenessTest, OnlyTheStoreIsNotified) {
  Recorder watch;
  mcu.memory().GetSectionByName("Data RAM")->SetAccessObserver(&watch);
  monitor.Ldrex(kR1, kAddress);
  EXPECT_EQ(Store(), 0u);
  EXPECT_THAT(watch.seen, testing::ElementsAre("20000040 5 w"));
}

}  // namespace
}  // namespace orvo
