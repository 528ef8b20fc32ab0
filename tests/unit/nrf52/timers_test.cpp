// TIMER, RTC, WDT and the data blocks where firmware can't look: other frequencies of the main
// clock, resets in the middle, and the block that is reached by name only.
#include <gtest/gtest.h>

#include "peripherals/nrf52/aar_handler.h"
#include "peripherals/nrf52/ccm_handler.h"
#include "peripherals/nrf52/ecb_handler.h"
#include "peripherals/nrf52/power_clock_handler.h"
#include "peripherals/nrf52/rng_handler.h"
#include "peripherals/nrf52/rtc_handler.h"
#include "peripherals/nrf52/timer_handler.h"
#include "peripherals/nrf52/wdt_handler.h"
#include "runner/errors.h"
#include "unit/nrf52/chip_bench.h"

namespace orvo {
namespace {

constexpr unsigned kClock = 0x40000000, kRng = 0x4000D000, kEcb = 0x4000E000, kAar = 0x4000F000,
                   kWdt = 0x40010000;
constexpr unsigned kLfclkStart = kClock + Nrf52POWER_CLOCK::TASKS_LFCLKSTART;
constexpr unsigned kNever = 0;

// TIMER0 captures into CC[0] when asked for its count; RTC0 shows its own.
struct TimersBench : Bench832 {
  static constexpr unsigned kTimer = 0x40008000, kRtc = 0x4000B000;

  explicit TimersBench(unsigned long main_hz = 64'000'000) {
    Interrupts::mode_ = kThreadMode;  // shared by all chips of the process
    mcu.clock().SetFrequency(main_hz);
    Set(kLfclkStart, 1);
  }
  void StartTimer(unsigned prescaler) {
    Set(kTimer + Nrf52TIMER::PRESCALER, prescaler);
    Set(kTimer + Nrf52TIMER::TASKS_START, 1);
  }
  void StartRtc(unsigned prescaler) {
    Set(kRtc + Nrf52RTC::PRESCALER, prescaler);
    Set(kRtc + Nrf52RTC::TASKS_START, 1);
  }
  unsigned TimerCount() {
    Set(kTimer + Nrf52TIMER::TASKS_CAPTURE, 1);
    return Get(kTimer + Nrf52TIMER::CC);
  }
  unsigned RtcCount() { return Get(kRtc + Nrf52RTC::COUNTER); }
  template <class Condition>
  unsigned TicksUntil(Condition condition, unsigned limit_ticks = 20'000) {
    for (unsigned tick = 1; tick <= limit_ticks; ++tick) {
      Advance(1);
      if (condition()) return tick;
    }
    return kNever;
  }
};

// --- Frequencies ---------------------------------------------------------------------------------

TEST(Timers, CountInWholeTicksOfAnyMainClock) {
  struct Case {
    unsigned long main_hz;
    unsigned prescaler;
    unsigned timer_ticks, rtc_ticks;  // per count
  };
  for (const Case& test :
       {Case{64'000'000, 0, 4, 1953}, Case{64'000'000, 9, 2048, 19536},
        Case{100'000'000, 0, 6, 3051}, Case{100'000'000, 1, 12, 6103}, Case{1'000'000, 9, 32, 305},
        Case{1'000'000, 0, 1, 30}, Case{20'000, 0, 1, 1}, Case{64'000, 24, kNever, 48}}) {
    TimersBench timer(test.main_hz), rtc(test.main_hz);
    timer.StartTimer(test.prescaler);
    rtc.StartRtc(test.prescaler);
    EXPECT_EQ(timer.TicksUntil([&] { return timer.TimerCount() != 0; }), test.timer_ticks)
        << test.main_hz << ' ' << test.prescaler;
    EXPECT_EQ(rtc.TicksUntil([&] { return rtc.RtcCount() != 0; }), test.rtc_ticks)
        << test.main_hz << ' ' << test.prescaler;
  }
}

TEST(Timers, KeepTheirPaceUntilTheNextStart) {
  TimersBench bench;
  bench.StartTimer(4);
  bench.StartRtc(0);
  bench.Advance(1953);
  bench.mcu.clock().SetFrequency(32'000'000);
  bench.Set(TimersBench::kTimer + Nrf52TIMER::PRESCALER, 0);
  bench.Advance(2 * 1953);
  EXPECT_EQ(bench.TimerCount(), 3u * 1953 / 64);
  EXPECT_EQ(bench.RtcCount(), 3u);
  bench.Set(TimersBench::kTimer + Nrf52TIMER::TASKS_SHUTDOWN, 1);
  bench.Set(TimersBench::kRtc + Nrf52RTC::TASKS_STOP, 1);
  bench.Advance(1953);  // the old schedules run out
  bench.StartTimer(0);
  bench.StartRtc(0);
  bench.Advance(976);
  EXPECT_EQ(bench.TimerCount(), 976u / 2);
  EXPECT_EQ(bench.RtcCount(), 4u);
}

// --- Registers that change while the timer counts ------------------------------------------------

TEST(TimerHandler, WidensWhileItCounts) {
  TimersBench bench;
  bench.Set(TimersBench::kTimer + Nrf52TIMER::BITMODE, 1);
  bench.StartTimer(0);
  bench.Advance(4 * 255);
  bench.Set(TimersBench::kTimer + Nrf52TIMER::BITMODE, 3);
  bench.Advance(4 * 10);
  EXPECT_EQ(bench.TimerCount(), 265u);
}

TEST(TimerHandler, StartedAsCounterWithinACountItNoLongerCountsByItself) {
  TimersBench bench;
  bench.StartTimer(4);
  bench.Set(TimersBench::kTimer + Nrf52TIMER::TASKS_STOP, 1);
  bench.Set(TimersBench::kTimer + Nrf52TIMER::MODE, 1);
  bench.StartTimer(4);
  bench.Advance(1000);
  EXPECT_EQ(bench.TimerCount(), 0u);
}

// --- Watchdog ------------------------------------------------------------------------------------

TEST(WDTHandler, ResetsAtTheTick) {
  constexpr int kInterrupt = 16;
  struct Case {
    unsigned crv;
    unsigned enabled;
    unsigned interrupt_ticks;
    unsigned reset_ticks;  // from the interrupt on, or from the start
  };
  for (const Case& test : {Case{0, 0, kNever, 1953}, Case{7, 0, kNever, 15625},
                           Case{32767, 1, 64'000'000, 3906}, Case{0xffffffff, 1, 1, 3906}}) {
    TimersBench bench;
    const auto pending = [&bench](int number) {
      return [&bench, number] { return bench.mcu.isPending(number); };
    };
    bench.Set(kWdt + Nrf52WDT::CRV, test.crv);
    bench.Set(kWdt + Nrf52WDT::INTENSET, test.enabled);
    bench.Set(kWdt + Nrf52WDT::TASKS_START, 1);
    if (test.enabled != 0) {
      EXPECT_EQ(bench.TicksUntil(pending(kInterrupt), 64'000'001), test.interrupt_ticks);
      EXPECT_FALSE(bench.mcu.isPending(kReset));
    }
    EXPECT_EQ(bench.TicksUntil(pending(kReset)), test.reset_ticks) << test.crv;
    EXPECT_EQ(bench.Get(kWdt + Nrf52WDT::EVENTS_TIMEOUT), 0u);
  }
}

// --- Reset ---------------------------------------------------------------------------------------

TEST(Timers, AndDataBlocksForgetAtAResetWhatTheyWereAbout) {
  TimersBench bench;
  const auto start_all = [&bench] {
    bench.Set(kLfclkStart, 1);
    bench.StartTimer(4);
    bench.StartRtc(0);
    bench.Set(kRng + Nrf52RNG::TASKS_START, 1);
    bench.Set(kEcb + Nrf52ECB::ECBDATAPTR, 0x20000000);
    bench.Set(kEcb + Nrf52ECB::TASKS_STARTECB, 1);
    bench.Set(kWdt + Nrf52WDT::CRV, 9);
    bench.Set(kWdt + Nrf52WDT::TASKS_START, 1);
  };
  const auto expect = [&bench](unsigned timer, unsigned rtc, unsigned rng, unsigned ecb) {
    EXPECT_EQ(bench.TimerCount(), timer);
    EXPECT_EQ(bench.RtcCount(), rtc);
    EXPECT_EQ(bench.Get(kRng + Nrf52RNG::EVENTS_VALRDY), rng);
    EXPECT_EQ(bench.Get(kEcb + Nrf52ECB::EVENTS_ENDECB), ecb);
    EXPECT_FALSE(bench.mcu.isPending(kReset));
  };
  start_all();
  bench.Advance(459);
  bench.mcu.memory().ResetMemory(kSoftwareReset);
  bench.Advance(30'000);
  expect(0, 0, 0, 0);
  EXPECT_EQ(bench.Get(kWdt + Nrf52WDT::RUNSTATUS), 0u);
  // All of them start from the beginning.
  start_all();
  bench.Advance(12'799);
  expect(12'799 / 64, 6, 0, 1);
  bench.Advance(1);
  expect(12'800 / 64, 6, 1, 1);
}

// --- Data blocks ---------------------------------------------------------------------------------

TEST(ECBHandler, PointerToNowhereIsAFault) {
  TimersBench bench;
  bench.Set(kEcb + Nrf52ECB::ECBDATAPTR, 0x30000000);
  bench.Set(kEcb + Nrf52ECB::TASKS_STARTECB, 1);
  EXPECT_TRUE(bench.mcu.isPending(kHardFault));
  bench.Advance(1000);
  EXPECT_EQ(bench.Get(kEcb + Nrf52ECB::EVENTS_ENDECB), 0u);
}

TEST(AARHandler, IsFoundAtTheAddressThatItSharesWithTheCcm) {
  TimersBench bench;
  bench.Set(kAar + Nrf52AAR::TASKS_START, 3);
  bench.Set(kAar + Nrf52AAR::TASKS_STOP, 2);
  EXPECT_EQ(bench.Get(kAar + Nrf52AAR::TASKS_START), 3u);
  EXPECT_EQ(bench.Get(kAar + Nrf52AAR::TASKS_STOP), 2u);

  auto& ccm = *bench.mcu.memory().GetSectionByName<CCMHandler>("CCM");
  ccm.set_INTENSET(Nrf52CCM::INTENSET, 6);
  ccm.set_INTENCLR(Nrf52CCM::INTENCLR, 2);
  ccm.set_TASKS_STOP(Nrf52CCM::TASKS_STOP, 1);
  EXPECT_EQ(ccm.get_INTENSET(Nrf52CCM::INTENSET), 4u);
  EXPECT_EQ(ccm.get_INTENCLR(Nrf52CCM::INTENCLR), 4u);
  EXPECT_EQ(ccm.get(Nrf52CCM::TASKS_STOP), 0u);
  EXPECT_THROW(ccm.set_TASKS_CRYPT(Nrf52CCM::TASKS_CRYPT, 1), OrvoError);
}

}  // namespace
}  // namespace orvo
