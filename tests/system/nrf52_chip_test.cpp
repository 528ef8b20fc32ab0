// The nRF52 as a whole: interconnect, memory watch, and start-up code that depends on the chip's
// identification.
#include <gtest/gtest.h>

#include "support/orvo_process.h"

namespace orvo {
namespace {

TEST(Nrf52, EventsStartTasksWithoutTheProcessor) {
  const ProcessResult run = OrvoBench().RunFirmware("ppi.bin");
  EXPECT_EQ(run.out,
            "clock runs after 5 ticks: 0, after 6: 1\n"
            "enabled 0, clock runs: 1\n"
            "enabled 0, clock runs: 0\n"
            "enabled again 1\n"
            "captured 801, interrupt pending: 1\n"
            "timer 0 stopped\n"
            "timer 0 started by the real-time counter: yes\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

TEST(Nrf52, MemoryWatchUnitSeesTheAccessesToItsRegions) {
  const ProcessResult run = OrvoBench().RunFirmware("watch.bin");
  EXPECT_EQ(run.out,
            "not enabled: written 0, read 0, interrupt 0\n"
            "outside: written 0, read 0, interrupt 0\n"
            "store of four words: written 1, read 0, interrupt 1\n"
            "load of a byte: written 0, read 1, interrupt 0\n"
            "disabled: written 0, read 0, interrupt 0\n"
            "peripheral: written 1, subregions 100\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

// The board's preloads may change what the errata of a chip are; by default none is of the kind
// that touches a block without a model.
TEST(Nrf52, StartUpCodeOfTheVendorsKindRunsOnBothChips) {
  struct Case {
    const char* chip;
    const char* errata;
    const char* reset_pin;
  };
  const Case cases[] = {
      {"nrf52832", "family 6 revision 5: 9 workarounds, temperature slope 320\n", "21"},
      {"nrf52840", "family 8 revision 3: 5 workarounds, temperature slope 326\n", "18"}};
  for (const Case& test : cases) {
    const ProcessResult run = OrvoBench().RunFirmware(
        std::string("startup_code-") + test.chip + ".bin", {"-m", test.chip});
    EXPECT_EQ(run.out, std::string("life 1, reset reason 0\n") + test.errata +
                           "settings written, reset\nlife 2, reset reason 4\n" + test.errata +
                           "reset pin " + test.reset_pin + ", trace 20000, NFC pins fffffffe\n");
    EXPECT_EQ(run.exit_status, 0) << run.err;
  }
}

TEST(Nrf52, PreloadsOfTheBoardOutliveTheSoftwareReset) {
  OrvoBench bench;
  bench.directory().Write("board.json", R"({"components": [
      {"class": "nrf52832", "name": "mcu", "type": "MCU",
       "config": {"load_ficr_regs": [{"address": 268436484, "value": 801}],
                  "load_errate_regs": [{"address": 268435764, "value": 4}]}}]})");
  const ProcessResult run = bench.RunFirmware("startup_code-nrf52832.bin");
  EXPECT_NE(run.out.find("life 2, reset reason 4\nfamily 6 revision 4: 9 workarounds, "
                         "temperature slope 321\n"),
            std::string::npos)
      << run.out;
}

}  // namespace
}  // namespace orvo
