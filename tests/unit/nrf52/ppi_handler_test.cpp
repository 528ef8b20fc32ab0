#include "peripherals/nrf52/ppi_handler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "runner/errors.h"
#include "unit/memory/recorder.h"
#include "unit/nrf52/chip_bench.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Events that no model makes: RADIO's, raw words here. The tasks are words of RAM, where a recorder
// sees what arrives, and in which order.
constexpr unsigned kEvent = 0x40001108;
constexpr unsigned kOtherEvent = 0x40001134;
constexpr unsigned kTask = 0x20000100;
constexpr unsigned kFork = 0x20000200;
constexpr unsigned kPpi = 0x4001f000;

constexpr unsigned Eep(unsigned channel) { return kPpi + Nrf52PPI::CH_EEP + 8 * channel; }
constexpr unsigned Tep(unsigned channel) { return kPpi + Nrf52PPI::CH_TEP + 8 * channel; }
constexpr unsigned Fork(unsigned channel) { return kPpi + Nrf52PPI::FORK_TEP + 4 * channel; }
constexpr unsigned kChen = kPpi + Nrf52PPI::CHEN;
constexpr unsigned kChenSet = kPpi + Nrf52PPI::CHENSET;
constexpr unsigned kChenClr = kPpi + Nrf52PPI::CHENCLR;

struct PpiBench : Bench832 {
  PpiBench() { mcu.memory().GetSectionByName("Data RAM")->SetEventObserver(&tasks); }
  void Connect(unsigned channel, unsigned event, unsigned task, unsigned fork = 0) {
    Set(Eep(channel), event);
    Set(Tep(channel), task);
    Set(Fork(channel), fork);
    Set(kChenSet, 1u << channel);
  }
  // The section's own store, as a model makes it.
  void Generate(unsigned event) {
    mcu.memory().LookUpSection(event)->MemorySection::set(event & 0xfff, 1);
  }

  Recorder tasks;
};

// --- Events and tasks ----------------------------------------------------------------------------

TEST(PPIHandler, TaskRunsSixTicksAfterTheEventOfFirmwareOrModel) {
  PpiBench bench;
  bench.Connect(3, kEvent, kTask);
  bench.Set(kEvent, 1);
  bench.Advance(5);
  EXPECT_THAT(bench.tasks.seen, IsEmpty());
  bench.Advance(1);
  EXPECT_THAT(bench.tasks.seen, ElementsAre("20000100 1 r"));
  bench.Generate(kEvent);
  bench.Advance(6);
  EXPECT_EQ(bench.tasks.seen.size(), 2u);
}

TEST(PPIHandler, OnlyTheValueOneIsAnEventAndOnlyStoresThatTell) {
  PpiBench bench;
  bench.Connect(3, kEvent, kTask);
  for (const unsigned value : {0u, 2u, 0x101u}) {
    bench.Set(kEvent, value);
    bench.Advance(20);
    EXPECT_THAT(bench.tasks.seen, IsEmpty()) << value;
  }
  bench.mcu.memory().GetSectionByName("RADIO")->AssignValue(kEvent & 0xfff, 1);
  bench.Set(kOtherEvent, 1);
  bench.Advance(20);
  EXPECT_THAT(bench.tasks.seen, IsEmpty());
}

TEST(PPIHandler, EventsWithinTheDelayShareThePassOfTheFirst) {
  PpiBench bench;
  bench.Connect(0, kEvent, kTask);
  bench.Connect(1, kOtherEvent, kFork);
  bench.Set(kOtherEvent, 1);
  bench.Advance(3);
  bench.Set(kEvent, 1);
  bench.Advance(3);
  EXPECT_THAT(bench.tasks.seen, ElementsAre("20000200 1 r", "20000100 1 r"));
  bench.Advance(20);
  EXPECT_EQ(bench.tasks.seen.size(), 2u);
}

TEST(PPIHandler, LowerChannelsFirstAndATaskBeforeItsFork) {
  PpiBench bench;
  bench.Connect(7, kEvent, kTask + 4, kFork + 4);
  bench.Connect(2, kEvent, kTask, kFork);
  bench.Connect(5, kEvent, 0, kFork + 8);
  bench.Set(kEvent, 1);
  bench.Advance(6);
  EXPECT_THAT(bench.tasks.seen, ElementsAre("20000100 1 r", "20000200 1 r", "20000208 1 r",
                                            "20000104 1 r", "20000204 1 r"));
}

// HFCLKSTARTED comes of its task, and starts the other clock in the same tick.
TEST(PPIHandler, EventsThatTasksMakeSettleInTheSameTick) {
  PpiBench bench;
  bench.Connect(0, 0x40000104, kTask);       // LFCLKSTARTED
  bench.Connect(1, 0x40000100, 0x40000008);  // HFCLKSTARTED to TASKS_LFCLKSTART
  bench.Connect(2, kEvent, 0x40000000);      // to TASKS_HFCLKSTART
  bench.Set(kEvent, 1);
  bench.Advance(6);
  EXPECT_THAT(bench.tasks.seen, ElementsAre("20000100 1 r"));
}

TEST(PPIHandler, ChannelsInACircleEndTheRun) {
  PpiBench bench;
  bench.Connect(0, 0x40000100, 0x40000000);  // HFCLKSTARTED to TASKS_HFCLKSTART
  bench.Set(0x40000000, 1);
  EXPECT_THROW(bench.Advance(6), OrvoError);
}

TEST(PPIHandler, EventAddressThatMovesIsHeardAtOnceAndTheOldOneNoMore) {
  PpiBench bench;
  bench.Connect(3, kEvent, kTask);
  bench.Set(Eep(3), 0x4000d100);  // RNG VALRDY
  bench.Set(kEvent, 1);
  bench.Advance(6);
  EXPECT_THAT(bench.tasks.seen, IsEmpty());
  bench.Set(0x4000d100, 1);
  bench.Advance(6);
  EXPECT_EQ(bench.tasks.seen.size(), 1u);
}

TEST(PPIHandler, EventAddressOutsideAllSectionsIsAFaultOfFirmware) {
  PpiBench bench;
  testing::internal::CaptureStderr();
  bench.Set(Eep(3), 0x30000000);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::HasSubstr("Warning: Unknown address 0x30000000."));
  EXPECT_EQ(bench.Get(Eep(3)), 0x30000000u);
}

// --- Enabling ------------------------------------------------------------------------------------

TEST(PPIHandler, TheMaskCountsWhenTheTasksRun) {
  PpiBench bench;
  bench.Connect(0, kEvent, kTask);
  bench.Connect(1, kEvent, kFork);
  bench.Set(kChenClr, 2);
  bench.Set(kEvent, 1);
  bench.Advance(5);
  bench.Set(kChenClr, 1);
  bench.Set(kChenSet, 2);
  bench.Advance(1);
  EXPECT_THAT(bench.tasks.seen, ElementsAre("20000200 1 r"));
}

TEST(PPIHandler, ATaskThatChangesTheMaskLeavesTheRunningPassAlone) {
  PpiBench bench;
  bench.Set(kPpi + Nrf52PPI::CHG, 1u << 1);
  bench.Connect(0, kEvent, kPpi + Nrf52PPI::TASKS_CHG_DIS);
  bench.Connect(1, kEvent, kTask);
  bench.Set(kEvent, 1);
  bench.Advance(6);
  EXPECT_EQ(bench.tasks.seen.size(), 1u);
  bench.Set(kEvent, 1);
  bench.Advance(6);
  EXPECT_EQ(bench.tasks.seen.size(), 1u);
}

TEST(PPIHandler, EnableRegistersMirrorOneValueAndGroupsTakeAnyTrigger) {
  PpiBench bench;
  const auto expect = [&](unsigned value) {
    for (const unsigned mirror : {kChen, kChenSet, kChenClr}) EXPECT_EQ(bench.Get(mirror), value);
  };
  bench.Set(kChen, 0xf0);
  expect(0xf0);
  bench.Set(kChenSet, 0x0f);
  expect(0xff);
  bench.Set(kChenClr, 0x3c);
  expect(0xc3);
  bench.Set(kPpi + Nrf52PPI::CHG + 4 * 5, 0x80000003);  // a fixed channel among them
  bench.Set(kPpi + Nrf52PPI::TASKS_CHG_DIS + 8 * 5, 0);
  expect(0xc0);
  bench.Set(kPpi + Nrf52PPI::TASKS_CHG_EN + 8 * 5, 0);
  expect(0x800000c3);
}

// --- Fixed channels and reset --------------------------------------------------------------------

TEST(PPIHandler, FixedChannelsAreProgrammedAndWaitForTheirEnable) {
  PpiBench bench;
  EXPECT_EQ(bench.Get(Eep(20)), 0x40008140u);
  EXPECT_EQ(bench.Get(Tep(25)), 0x4000f004u);
  EXPECT_EQ(bench.Get(Eep(31)), 0x4000b140u);
  EXPECT_EQ(bench.Get(Tep(31)), 0x40008000u);
  EXPECT_EQ(bench.Get(kChen), 0u);
  // Firmware may redirect the task of a fixed channel, and give it a fork.
  bench.Set(Tep(31), kTask);
  bench.Set(Fork(31), kFork);
  bench.Set(kChen, 1u << 31);
  bench.Generate(0x4000b140);
  bench.Advance(6);
  EXPECT_THAT(bench.tasks.seen, ElementsAre("20000100 1 r", "20000200 1 r"));
}

TEST(PPIHandler, EventsThatWaitOverAResetAreHandledAfterTheNextStore) {
  PpiBench bench;
  bench.Connect(3, kEvent, kTask);
  bench.Set(kEvent, 1);
  bench.mcu.memory().GetSectionByName("PPI")->Reset(kSoftwareReset);
  bench.Connect(3, kEvent, kTask);
  bench.Advance(20);
  EXPECT_THAT(bench.tasks.seen, IsEmpty());
  bench.Set(kOtherEvent, 1);
  bench.Advance(6);
  EXPECT_THAT(bench.tasks.seen, ElementsAre("20000100 1 r"));
}

}  // namespace
}  // namespace orvo
