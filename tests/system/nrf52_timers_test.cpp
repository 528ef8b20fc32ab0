// TIMER, RTC, WDT, ECB, RNG and TEMP as firmware sees them. What the lines say is measured by the
// programs to the tick; their comments tell how.
#include <gmock/gmock.h>

#include "support/orvo_process.h"

namespace orvo {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

TEST(Timer, CountsComparesAndCapturesToTheTickInAllWidths) {
  const ProcessResult run = OrvoBench().RunFirmware("timers.bin");
  EXPECT_EQ(run.out,
            "captured before the first start: 0\n"
            "ticks of 3 counts, prescalers 0 to 9: 12 24 48 96 192 384 768 1536 3072 6144\n"
            "prescaler 36, capture and event with 24: 192 0 0\n"
            "ticks of a turn of 8, 16, 24 bits: 1024 262144 67108864\n"
            "events of a compare with 0, 32 bits beside 24: 0 1\n"
            "ticks to a clear at 255, and between: 1020 1020 1020\n"
            "cleared by 1, both match: 1 1\n"
            "captured at the stop, and 40 ticks after it: 5 15\n"
            "matches behind the stop: 0\n"
            "captured at 63, 64, 127, 128 of 64 ticks: 0 1 1 2\n"
            "first count after a stop and a start: 2048\n"
            "captured by the other timer: 12\n"
            "counted as timer, counter, low-power counter: 0 3 3\n"
            "compare of a counter, its count: 1 2\n"
            "other values than 1: capture, clear, stop: 0 3 3\n"
            "late enable raises, clear disables: 0 1 0\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

TEST(Rtc, EventsAreSeenOnlyWhereTheyAreEnabled) {
  const ProcessResult run = OrvoBench().RunFirmware("rtc.bin");
  EXPECT_EQ(run.out,
            "ticks of a count: 1953 even 15625 even 64516 even 8000000 even\n"
            "counter without the clock 0, with it 10\n"
            "neither: counter 0, tick 0, overflow 0, compare 0 0, interrupt 0, ppi silent\n"
            "evten only: counter 0, tick 1, overflow 1, compare 1 0, interrupt 0, ppi captured\n"
            "inten only: counter 0, tick 1, overflow 1, compare 1 0, interrupt 1, ppi silent\n"
            "both: counter 0, tick 1, overflow 1, compare 1 0, interrupt 1, ppi captured\n"
            "overflow only: counter 0, tick 0, overflow 1, compare 0 0, interrupt 1, ppi silent\n"
            "enabled 40002 40002 40002, started by 0: 0, prescaler while running 3\n"
            "pending before and after the enable: 0 1\n");
  EXPECT_THAT(run.err, HasSubstr("setting PRESCALER in RTC while running is disallowed"));
  EXPECT_EQ(run.exit_status, 0);
}

TEST(Watchdog, ResetsWhenStarvedAfterItsInterruptOrAtOnce) {
  const ProcessResult run = OrvoBench().RunFirmware("watchdog.bin");
  EXPECT_EQ(run.out,
            "started by 0: 0\n"
            "fed: running 1, timeout 0, locked 99 2, requests 2\n"
            "interrupt 195312 ticks after the last reload, timeout 1\n"
            "starved: reset to the tick, interrupts 1\n"
            "without interrupt: reset to the tick, interrupts 0\n"
            "reloaded by the handler: reset to the tick, interrupts 1\n"
            "interrupt disabled: reset to the tick, interrupts 0\n"
            "whole range: reset at once\n"
            "started by a reload: 1\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

TEST(Aes, BlocksAreThoseOfTheStandardAndCcmInFirmwareRoundTrips) {
  const ProcessResult run = OrvoBench().RunFirmware("aes.bin");
  EXPECT_EQ(run.out,
            "appendix b   3925841d02dc09fbdc118597196a0b32\n"
            "appendix c.1 69c4e0d86a7b0430d8cdb78070b4c55a\n"
            "ticks of a block 460\n"
            "block: end 1, error 0, pending 1, enabled 1 1, cipher 69\n"
            "stopped: end 0, error 1, pending 0, enabled 1 1, cipher 00\n"
            "ticks of the next 460\n"
            "started anew: end 1, error 0, pending 1, enabled 1 1, cipher 69\n"
            "disabled: end 0, error 1, pending 1, enabled 0 0, cipher 69\n"
            "in flash: end 0, error 0, pending 0, enabled 0 0, cipher 69\n"
            "over the end of ram: end 0, error 0, pending 0, enabled 0 0, cipher 69\n"
            "in ram: end 1, error 0, pending 1, enabled 0 0, cipher 69\n"
            "sealed 7162015b4dac255d\n"
            "opened 20212223\n"
            "altered: refused\n");
  EXPECT_THAT(run.err, HasSubstr("Warning: ECB: ECPDATAPTR is not pointing to Data RAM - "
                                 "operation is aborted\n"));
  EXPECT_EQ(run.exit_status, 0);
}

std::string RandomNumbers(const std::string& config) {
  OrvoBench bench;
  bench.directory().Write("board.json", R"({"components": [{"class": "nrf52832", "name": "mcu",
                                            "type": "MCU", "config": )" +
                                            config + "}]}");
  const ProcessResult run = bench.RunFirmware("random.bin");
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_THAT(run.out, StartsWith("started by 2: 0\n"
                                  "ticks 12800 12800 12800, behind the short 0\n"
                                  "ready without interrupt 0, with 1, cleared 1, enabled 0\n"
                                  "numbers "));
  EXPECT_THAT(run.out, HasSubstr("\nbytes\n"));
  return run.out.substr(run.out.find("numbers"));
}

TEST(RandomBlocks, RepeatTheirNumbersForASeed) {
  const std::string numbers = RandomNumbers(R"({"seed": 7})");
  EXPECT_EQ(RandomNumbers(R"({"seed": 7})"), numbers);
  EXPECT_NE(RandomNumbers(R"({"seed": 4294967295})"), numbers);
  EXPECT_NE(RandomNumbers("{}"), numbers);
}

}  // namespace
}  // namespace orvo
