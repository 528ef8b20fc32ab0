#include "memory/memory_exclusiveness.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/test_mcu.h"
#include "unit/memory/recorder.h"

namespace orvo {
namespace {

constexpr unsigned kAddress = TestMcu::kRamStart + 0x40;
constexpr unsigned kR1 = kR0 + 1;
constexpr unsigned kR2 = kR0 + 2;

struct MonitorBench {
  unsigned Status() { return mcu.registers().word(kR2); }
  unsigned Word() { return mcu.memory().get<false>(kAddress); }
  void EnterException(unsigned number) {
    mcu.registers().set_xpsr((mcu.registers().xpsr() & ~xpsr::kExceptionNumber) | number);
  }

  TestMcu mcu;
  MemoryExclusiveness monitor{&mcu};
};

TEST(MemoryExclusiveness, StoresAfterALoadOfTheSameAddress) {
  MonitorBench bench;
  bench.mcu.memory().set<false>(kAddress, 0x11223344);
  bench.monitor.Ldrex(kR1, kAddress);
  EXPECT_EQ(bench.mcu.registers().word(kR1), 0x11223344u);
  bench.mcu.registers().word(kR2) = 9;
  bench.monitor.Strex(kR2, 5, kAddress);
  EXPECT_EQ(bench.Status(), 0u);
  EXPECT_EQ(bench.Word(), 5u);
}

TEST(MemoryExclusiveness, RefusesAStoreWithoutALoad) {
  MonitorBench bench;
  bench.monitor.Ldrex(kR1, kAddress + 4);
  bench.monitor.Strex(kR2, 5, kAddress);
  EXPECT_EQ(bench.Status(), 1u);
  EXPECT_EQ(bench.Word(), 0u);
}

TEST(MemoryExclusiveness, OneLoadServesOneStore) {
  MonitorBench bench;
  bench.monitor.Ldrex(kR1, kAddress);
  bench.monitor.Strex(kR2, 0, kAddress);
  bench.monitor.Strex(kR2, 5, kAddress);
  EXPECT_EQ(bench.Status(), 1u);
  EXPECT_EQ(bench.Word(), 0u);
}

TEST(MemoryExclusiveness, NoticesOnlyAChangedValue) {
  MonitorBench bench;
  bench.monitor.Ldrex(kR1, kAddress);
  bench.mcu.memory().set<true>(kAddress, 1);
  bench.monitor.Strex(kR2, 5, kAddress);
  EXPECT_EQ(bench.Status(), 1u);
  EXPECT_EQ(bench.Word(), 1u);

  bench.monitor.Ldrex(kR1, kAddress);
  bench.mcu.memory().set<true>(kAddress, 1);
  bench.monitor.Strex(kR2, 5, kAddress);
  EXPECT_EQ(bench.Status(), 0u);
}

TEST(MemoryExclusiveness, LaterLoadReplacesTheEarlier) {
  MonitorBench bench;
  bench.monitor.Ldrex(kR1, kAddress);
  bench.mcu.memory().set<true>(kAddress, 7);
  bench.monitor.Ldrex(kR1, kAddress);
  bench.monitor.Strex(kR2, 8, kAddress);
  EXPECT_EQ(bench.Status(), 0u);
}

TEST(MemoryExclusiveness, LoadInAnInterruptDoesNotServeAStoreInThreadMode) {
  MonitorBench bench;
  bench.EnterException(21);
  bench.monitor.Ldrex(kR1, kAddress);
  bench.EnterException(0);
  bench.monitor.Strex(kR2, 5, kAddress);
  EXPECT_EQ(bench.Status(), 1u);
  bench.EnterException(21);
  bench.monitor.Strex(kR2, 5, kAddress);
  EXPECT_EQ(bench.Status(), 0u);
}

TEST(MemoryExclusiveness, ClrexForgetsAllLevels) {
  MonitorBench bench;
  bench.monitor.Ldrex(kR1, kAddress);
  bench.EnterException(21);
  bench.monitor.Ldrex(kR1, kAddress);
  bench.monitor.Clrex();
  bench.monitor.Strex(kR2, 5, kAddress);
  EXPECT_EQ(bench.Status(), 1u);
  bench.EnterException(0);
  bench.monitor.Strex(kR2, 5, kAddress);
  EXPECT_EQ(bench.Status(), 1u);
}

TEST(MemoryExclusiveness, NarrowFormsMoveTheirOwnWidth) {
  MonitorBench bench;
  bench.mcu.memory().set<false>(kAddress, 0xffffffff);
  bench.monitor.Ldrexb(kR1, kAddress);
  EXPECT_EQ(bench.mcu.registers().word(kR1), 0xffu);
  bench.monitor.Strexb(kR2, 0x12, kAddress);
  EXPECT_EQ(bench.Word(), 0xffffff12u);
  bench.monitor.Ldrexh(kR1, kAddress + 2);
  EXPECT_EQ(bench.mcu.registers().word(kR1), 0xffffu);
  bench.monitor.Strexh(kR2, 0x3456, kAddress + 2);
  EXPECT_EQ(bench.Word(), 0x3456ff12u);
  EXPECT_EQ(bench.Status(), 0u);
}

TEST(MemoryExclusiveness, LoadsTheStackPointerThroughItsBank) {
  MonitorBench bench;
  bench.mcu.memory().set<false>(kAddress, 0x20001000);
  bench.monitor.Ldrex(kSp, kAddress);
  EXPECT_EQ(bench.mcu.registers().sp(), 0x20001000u);
}

TEST(MemoryExclusiveness, OnlyTheStoreIsNotified) {
  MonitorBench bench;
  Recorder watch;
  bench.mcu.memory().GetSectionByName("Data RAM")->SetAccessObserver(&watch);
  bench.monitor.Ldrex(kR1, kAddress);
  bench.monitor.Strex(kR2, 5, kAddress);
  EXPECT_THAT(watch.seen, testing::ElementsAre("20000040 5 w"));
}

}  // namespace
}  // namespace orvo
