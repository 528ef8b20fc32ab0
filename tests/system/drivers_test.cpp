// Interrupts, UART, clocks, time and reset as firmware sees them.
#include <gmock/gmock.h>

#include "support/orvo_process.h"

namespace orvo {
namespace {

class Levels : public testing::TestWithParam<const char*> {};

TEST_P(Levels, SysTickPendSvSvcallAndDeviceInterruptsLeaveTheWorkUndisturbed) {
  const ProcessResult run =
      OrvoBench().RunFirmware(std::string("interrupts-") + GetParam() + ".bin");
  EXPECT_EQ(run.out,
            "work undisturbed\n"
            "systick stopped\n"
            "pendsv for every eighth: yes\n"
            "systick inside pendsv: yes\n"
            "services 2\n"
            "device interrupts 1\n"
            "masked pendsv taken after cpsie: yes\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

TEST_P(Levels, UartePrintsLinesLongerThanOneTransferAndInterruptsAtTheEnd) {
  std::string line;
  for (unsigned i = 0; i < 600; ++i) line += static_cast<char>('!' + i % 90);
  const ProcessResult run = OrvoBench().RunFirmware(std::string("uarte-") + GetParam() + ".bin");
  EXPECT_EQ(run.out,
            "fifo mode\neasy dma\n" + line + "\ninterrupt at the end\ninterrupts 1, amount 21\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

INSTANTIATE_TEST_SUITE_P(Optimised, Levels, testing::Values("O0", "Os", "O2"),
                         [](const auto& test) { return std::string(test.param); });

TEST(Drivers, ClocksStartAtOnceAndCalibrateAfterTheirTimer) {
  const ProcessResult run = OrvoBench().RunFirmware("clocks.bin");
  EXPECT_EQ(run.out,
            "high frequency: run 1 status 00010001\n"
            "stopped: run 0 running 0\n"
            "low frequency: run 1 status 00010001\n"
            "stopped: run 0 running 0\n"
            "timeout after 16000 thousand ticks, calibrated 1\n"
            "core 410fc241 page size 4096\n");
}

// The two reads of the counter are one instruction apart, so that a body of n instructions gives
// n + 1: a loop of 1000 rounds is 1 + 2 * 1000.
TEST(Drivers, OneInstructionIsOneTickAndSysTickKeepsItsPeriod) {
  const ProcessResult run = OrvoBench().RunFirmware("ticks.bin");
  EXPECT_EQ(run.out,
            "nothing 1\n"
            "one nop 2\n"
            "loop of 1000 2002\n"
            "division 4\n"
            "push and pop of four 3\n"
            "skipped conditional 4\n"
            "systick period 5000\n"
            "systick period 5000\n"
            "systick period 5000\n");
}

TEST(Drivers, SoftwareResetKeepsRamAndTheAddressOfTheBoardAndTellsItsReason) {
  OrvoBench bench;
  bench.directory().Write("board.json", R"({"components": [
      {"class": "nrf52832", "name": "mcu", "type": "MCU",
       "config": {"ficr": {"mac_address": "c1:22:33:44:55:66"}}}]})");
  const ProcessResult run = bench.RunFirmware("reset.bin", {"-o", "dump.txt"});
  EXPECT_EQ(run.out,
            "life 1, reset reason 0, address c12233445566\n"
            "life 2, reset reason 4, address c12233445566\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
  // The dump of the stop point shows main's result in r0, whose number is 66.
  EXPECT_THAT(bench.directory().Read("dump.txt"), testing::HasSubstr("\nR66: 0x00000007\n"));
}

}  // namespace
}  // namespace orvo
