#include "peripherals/nrf52/power_clock_handler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "runner/errors.h"
#include "support/test_mcu.h"
#include "unit/memory/recorder.h"

namespace orvo {
namespace {

using P = Nrf52POWER_CLOCK;

constexpr unsigned kRunning = 1u << 16;
constexpr unsigned kQuarterSecondTicks = 16'000'000;

struct PowerClockBench {
  static constexpr unsigned kStart = 0x40000000;
  static constexpr int kInterrupt = 0;

  PowerClockBench() {
    const InterruptMap interrupts{{"POWER_CLOCK", kInterrupt}};
    block = new PowerClockHandler(&mcu, "POWER_CLOCK", kStart, 4096, interrupts, nlohmann::json());
    block->SetResetValues(P::reset_values());
    mcu.memory().AddSection(block);
  }

  unsigned Get(unsigned offset) { return mcu.memory().get<true>(kStart + offset); }
  void Set(unsigned offset, unsigned value) { mcu.memory().set<true>(kStart + offset, value); }
  bool Interrupted() { return mcu.isPending(kInterrupt); }
  void Advance(int ticks) { mcu.clock().Tickrement(ticks); }

  TestMcu mcu;
  PowerClockHandler* block;
};

// --- Clocks --------------------------------------------------------------------------------------

TEST(PowerClockHandler, HighFrequencyClockStartsAndStopsAtOnce) {
  PowerClockBench bench;
  EXPECT_EQ(bench.block->get_hf_status(), 0x10001u);  // from its crystal, without a start
  bench.Set(P::TASKS_HFCLKSTOP, 0);
  EXPECT_EQ(bench.Get(P::HFCLKSTAT), 1u);
  bench.Set(P::TASKS_HFCLKSTART, 0);  // any value is a trigger
  EXPECT_EQ(bench.Get(P::EVENTS_HFCLKSTARTED), 1u);
  EXPECT_EQ(bench.Get(P::HFCLKSTAT), 0x10001u);
  EXPECT_EQ(bench.Get(P::HFCLKRUN), 1u);
  bench.Set(P::TASKS_HFCLKSTOP, 1);
  EXPECT_EQ(bench.Get(P::HFCLKRUN), 0u);
  EXPECT_EQ(bench.Get(P::EVENTS_HFCLKSTARTED), 1u);
}

TEST(PowerClockHandler, LowFrequencyClockTakesItsSourceAtTheStart) {
  PowerClockBench bench;
  EXPECT_EQ(bench.block->get_lf_status(), 0u);
  bench.Set(P::LFCLKSRC, 0x20001);
  bench.Set(P::TASKS_LFCLKSTART, 0);
  EXPECT_EQ(bench.Get(P::LFCLKSTAT), kRunning | 1u);
  EXPECT_EQ(bench.Get(P::LFCLKSRCCOPY), 0x20001u);
  EXPECT_EQ(bench.Get(P::EVENTS_LFCLKSTARTED), 1u);
  EXPECT_EQ(bench.Get(P::LFCLKRUN), 1u);

  bench.Set(P::LFCLKSRC, 2);
  EXPECT_EQ(bench.block->get_lf_status(), kRunning | 1u);
  bench.Set(P::TASKS_LFCLKSTOP, 0);
  EXPECT_EQ(bench.block->get_lf_status(), 1u);
  EXPECT_EQ(bench.Get(P::LFCLKRUN), 0u);
}

// --- Interrupts ----------------------------------------------------------------------------------

struct StartCase {
  const char* name;
  unsigned enabled;
  unsigned task;
  bool interrupts;
};
std::ostream& operator<<(std::ostream& stream, const StartCase& start) {
  return stream << start.name;
}

class Start : public testing::TestWithParam<StartCase> {};

TEST_P(Start, RaisesOnlyTheInterruptOfItsBit) {
  PowerClockBench bench;
  bench.Set(P::INTENSET, GetParam().enabled);
  bench.Set(GetParam().task, 1);
  EXPECT_EQ(bench.Interrupted(), GetParam().interrupts);
}

INSTANTIATE_TEST_SUITE_P(
    PowerClockHandler, Start,
    testing::Values(StartCase{"hf_enabled", 1u << 0, P::TASKS_HFCLKSTART, true},
                    StartCase{"hf_other_bits", ~1u, P::TASKS_HFCLKSTART, false},
                    StartCase{"lf_enabled", 1u << 1, P::TASKS_LFCLKSTART, true},
                    StartCase{"lf_other_bits", ~2u, P::TASKS_LFCLKSTART, false},
                    StartCase{"cal_enabled", 1u << 3, P::TASKS_CAL, true},
                    StartCase{"cal_other_bits", ~8u, P::TASKS_CAL, false}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(PowerClockHandler, InterruptEnablesMirrorEachOther) {
  PowerClockBench bench;
  bench.Set(P::INTENSET, 0x12);
  bench.Set(P::INTENSET, 0x01);
  EXPECT_EQ(bench.Get(P::INTENSET), 0x13u);
  EXPECT_EQ(bench.Get(P::INTENCLR), 0x13u);
  bench.Set(P::INTENCLR, 0x03);
  EXPECT_EQ(bench.Get(P::INTENSET), 0x10u);
  EXPECT_EQ(bench.Get(P::INTENCLR), 0x10u);
}

struct CatchUpCase {
  const char* name;
  unsigned pending_event;
  unsigned enabled;
  bool interrupts;
};
std::ostream& operator<<(std::ostream& stream, const CatchUpCase& late) {
  return stream << late.name;
}

class CatchUp : public testing::TestWithParam<CatchUpCase> {};

TEST_P(CatchUp, OfAnEventThatCameBeforeTheEnable) {
  PowerClockBench bench;
  bench.Set(GetParam().pending_event, 1);
  bench.Set(P::INTENSET, GetParam().enabled);
  EXPECT_EQ(bench.Interrupted(), GetParam().interrupts);
}

// From bit 2 on the catch-up is one place off: DONE answers to bit 2 and CTTO to bit 3.
INSTANTIATE_TEST_SUITE_P(PowerClockHandler, CatchUp,
                         testing::Values(CatchUpCase{"hf", P::EVENTS_HFCLKSTARTED, 1, true},
                                         CatchUpCase{"lf", P::EVENTS_LFCLKSTARTED, 2, true},
                                         CatchUpCase{"done_bit_2", P::EVENTS_DONE, 4, true},
                                         CatchUpCase{"done_bit_3", P::EVENTS_DONE, 8, false},
                                         CatchUpCase{"ctto_bit_3", P::EVENTS_CTTO, 8, true},
                                         CatchUpCase{"ctto_bit_4", P::EVENTS_CTTO, 16, false}),
                         [](const auto& test) { return std::string(test.param.name); });

// --- Calibration ---------------------------------------------------------------------------------

TEST(PowerClockHandler, CalibrationIsDoneAtOnceForTheValueOne) {
  PowerClockBench bench;
  bench.Set(P::TASKS_CAL, 2);
  EXPECT_EQ(bench.Get(P::EVENTS_DONE), 0u);
  bench.Set(P::TASKS_CAL, 1);
  EXPECT_EQ(bench.Get(P::EVENTS_DONE), 1u);
}

TEST(PowerClockHandler, CalibrationTimerCountsQuartersOfASecond) {
  PowerClockBench bench;
  bench.Set(P::INTENSET, 1u << 4);
  bench.Set(P::CTIV, 2);
  bench.Set(P::TASKS_CTSTART, 1);
  bench.Advance(2 * kQuarterSecondTicks - 1);
  EXPECT_EQ(bench.Get(P::EVENTS_CTTO), 0u);
  EXPECT_FALSE(bench.Interrupted());
  bench.Advance(1);
  EXPECT_EQ(bench.Get(P::EVENTS_CTTO), 1u);
  EXPECT_TRUE(bench.Interrupted());
}

TEST(PowerClockHandler, CalibrationTimerOfZeroEndsAtTheNextStep) {
  PowerClockBench bench;
  bench.Set(P::TASKS_CTSTART, 1);
  bench.Advance(1);
  EXPECT_EQ(bench.Get(P::EVENTS_CTTO), 1u);
}

TEST(PowerClockHandler, StoppedCalibrationTimerStaysSilent) {
  PowerClockBench bench;
  bench.Set(P::INTENSET, 1u << 4);
  bench.Set(P::TASKS_CTSTART, 1);
  bench.Set(P::TASKS_CTSTOP, 1);
  bench.Advance(10);
  EXPECT_EQ(bench.Get(P::EVENTS_CTTO), 0u);
  EXPECT_FALSE(bench.Interrupted());
}

TEST(PowerClockHandler, CalibrationTimerStartedAgainCountsAnew) {
  PowerClockBench bench;
  bench.Set(P::CTIV, 1);
  bench.Set(P::TASKS_CTSTART, 1);
  bench.Advance(100);
  bench.Set(P::TASKS_CTSTOP, 1);
  bench.Set(P::TASKS_CTSTART, 1);
  bench.Advance(kQuarterSecondTicks - 1);
  EXPECT_EQ(bench.Get(P::EVENTS_CTTO), 0u);
  bench.Advance(1);
  EXPECT_EQ(bench.Get(P::EVENTS_CTTO), 1u);
}

TEST(PowerClockHandler, TimerEventIsHeardByTheInterconnect) {
  PowerClockBench bench;
  Recorder ppi;
  bench.Set(P::TASKS_CTSTART, 1);
  bench.block->SetEventObserver(&ppi);
  bench.Advance(1);
  EXPECT_THAT(ppi.seen, testing::ElementsAre("40000110 1 r"));
}

// --- Power and reset -----------------------------------------------------------------------------

TEST(PowerClockHandler, SoftwareResetLeavesItsReasonAndStopsTheTimer) {
  PowerClockBench bench;
  bench.Set(P::TASKS_LOWPWR, 1);  // changes nothing
  EXPECT_EQ(bench.Get(P::RESETREAS), 0u);
  bench.Set(P::LFCLKSRC, 1);
  bench.Set(P::TASKS_LFCLKSTART, 1);
  bench.Set(P::TASKS_CTSTART, 1);
  bench.mcu.memory().ResetMemory(kSoftwareReset);
  bench.Advance(10);
  EXPECT_EQ(bench.Get(P::RESETREAS), 4u);
  EXPECT_EQ(bench.Get(P::HFCLKSTAT), 0x10001u);
  EXPECT_EQ(bench.Get(P::LFCLKSTAT), 0u);
  EXPECT_EQ(bench.Get(P::EVENTS_CTTO), 0u);
  bench.mcu.memory().ResetMemory(kPowerOnReset);
  EXPECT_EQ(bench.Get(P::RESETREAS), 0u);
}

TEST(PowerClockHandler, NeedsItsInterruptNumber) {
  TestMcu mcu;
  EXPECT_THROW(PowerClockHandler(&mcu, "POWER_CLOCK", 0, 4096, InterruptMap(), nlohmann::json()),
               OrvoError);
}

}  // namespace
}  // namespace orvo
