// Exceptions as firmware sees them, to the tick: one instruction is a tick, exception entry and
// return are none. The programs say which instruction of theirs notes what.
#include <gmock/gmock.h>

#include "support/orvo_process.h"

namespace orvo {
namespace {

// "20@7" and "/20@20": the handler of line 20 was entered and left, by the count of ticks since the
// one ahead of the case's first instruction. A store at 2 is taken at 3, and noted by the fifth
// instruction at 7; a handler that starts while another stores at 16 notes itself at 21; one that
// waits for the bx at 24 notes itself at 29.
TEST(Exceptions, RunByPriorityGroupMaskAndNumber) {
  const ProcessResult run = OrvoBench().RunFirmware("priorities.bin");
  EXPECT_EQ(run.out,
            "nested: 20@7 21@21 22@35 /22@48 /21@56 /20@64\n"
            "equal and lower wait: 20@7 /20@20 21@29 /21@42 23@51 /23@64 22@73 /22@86\n"
            "again while handled: 20@7 21@21 /21@34 /20@42 20@51 /20@64\n"
            "taken back in time: 20@7 22@21 /22@34 /20@42\n"
            "all at once: 23@7 /23@20 21@29 /21@42 24@51 /24@64 20@73 /20@86 22@95 /22@108\n"
            "one group: 20@7 /20@20 21@29 /21@42\n"
            "two groups: 20@7 21@21 /21@34 /20@42\n"
            "order in a group: 21@7 /21@20 22@29 /22@42 20@51 /20@64\n"
            "no groups: 20@7 /20@20 21@29 /21@42\n"
            "basepri 64: 21@7 /21@20 20@32 /20@45 22@54 /22@67\n"
            "primask: 21@10 /21@23 20@32 /20@45\n"
            "primask and nmi: -14@7 /-14@20 -2@32 /-2@45\n"
            "faultmask and nmi: -14@7 /-14@20 -2@32 /-2@45\n"
            "disabled:\n"
            "enabled: 20@7 /20@20\n"
            "primask after cpsid f: 1\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

// A switch is the store that pends it, 16 instructions of the handler, and the other task's next.
TEST(Exceptions, SwitchTasksWithTheirFloatRegistersAndTheTraceNamesEveryStep) {
  OrvoBench bench;
  const ProcessResult run =
      bench.RunFirmware("tasks.bin", {"-t", "interrupts", "--trace-dest", "trace.txt"});
  EXPECT_EQ(run.out,
            "answer 41, nested 1\n"
            "switches of 18 and 18 ticks\n"
            "exc_return after floats ffffffed, at the next switch fffffffd\n"
            "task 0: integers undisturbed, floats undisturbed\n"
            "task 1: integers undisturbed, floats undisturbed\n"
            "more than 100 slices: yes\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;

  // The part in which the tasks hand over to each other.
  const std::string service =
      "Calling IRQ handler for \"Svcall\" (IRQ no. -5)\n"
      "Returning from IRQ handler \"Svcall\" (IRQ no. -5). Returns to thread mode (interrupt 0), "
      "program stack pointer\n";
  const std::string to_the_other_task =
      "Calling IRQ handler for \"Pendsv\" (IRQ no. -2)\n"
      "Returning from IRQ handler \"Pendsv\" (IRQ no. -2). Returns to thread mode (interrupt 0), "
      "program stack pointer\n";
  EXPECT_THAT(
      bench.directory().Read("trace.txt"),
      testing::StartsWith(
          service + service + to_the_other_task + to_the_other_task + to_the_other_task +
          to_the_other_task +
          "Calling IRQ handler for \"Svcall\" (IRQ no. -5)\n"
          "Calling IRQ handler for \"NMI\" (IRQ no. -14)\n"
          "Returning from IRQ handler \"NMI\" (IRQ no. -14). Returns to handler mode, main stack "
          "pointer\n"
          "Returning from IRQ handler \"Svcall\" (IRQ no. -5). Returns to thread mode (interrupt "
          "0), program stack pointer\n"
          "Calling IRQ handler for \"Svcall\" (IRQ no. -5)\n"
          "Returning from IRQ handler \"Svcall\" (IRQ no. -5). Returns to thread mode (interrupt "
          "0), main stack pointer\n" +
          service + "Calling IRQ handler for \"Systick\" (IRQ no. -1)\n"));
}

// Exceptions 4, 5, 6 are MemManage, BusFault, UsageFault; 3 is HardFault, with HFSR.FORCED. The
// faulting instruction is the second of the probe, at 3, but the fetch behind it faults at 4.
TEST(Exceptions, FaultsReachTheirHandlerOrHardFault) {
  const ProcessResult run = OrvoBench().RunFirmware("fault_handlers.bin");
  EXPECT_EQ(
      run.out,
      "memory: exception 4 after 5 ticks, CFSR 00000082, HFSR 00000000, MMFAR 30000000, pc +6\n"
      "memory: exception 3 after 5 ticks, CFSR 00000480, HFSR 40000000, MMFAR 30000000, pc +6\n"
      "bus: exception 5 after 6 ticks, CFSR 00000000, HFSR 00000000, MMFAR 00000000, pc there\n"
      "bus: exception 3 after 6 ticks, CFSR 00000000, HFSR 40000000, MMFAR 00000000, pc there\n"
      "usage: exception 6 after 5 ticks, CFSR 00000000, HFSR 00000000, MMFAR 00000000, pc +4\n"
      "usage: exception 3 after 5 ticks, CFSR 00000000, HFSR 40000000, MMFAR 00000000, pc +4\n"
      "division: exception 6 after 5 ticks, CFSR 02000000, HFSR 00000000, MMFAR 00000000, pc +8\n"
      "division: exception 3 after 5 ticks, CFSR 02000000, HFSR 40000000, MMFAR 00000000, pc +8\n"
      "division: exception 3 after 5 ticks, CFSR 02000000, HFSR 40000000, MMFAR 00000000, pc +8\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

// The number says which fault, 10 that its own handler is enabled; neither that nor the HardFault
// handler is there.
class EscapedFault : public testing::TestWithParam<const char*> {};

TEST_P(EscapedFault, EndsTheRunWithStatusOne) {
  const ProcessResult run =
      OrvoBench().RunFirmware(std::string("fault_escapes-") + GetParam() + ".bin");
  EXPECT_EQ(run.exit_status, 1);
  EXPECT_EQ(run.out, "a fault\n");
  EXPECT_THAT(run.err, testing::HasSubstr("handler for interrupt for Hard Fault wasn't define."));
}

INSTANTIATE_TEST_SUITE_P(Exceptions, EscapedFault, testing::Values("1", "2", "10"),
                         [](const auto& test) { return std::string(test.param); });

// Woken at the tick of the wrap, the next instruction is one later.
TEST(Exceptions, WakeWfeToTheTickAndAResetStartsInTheMovedTable) {
  const ProcessResult run = OrvoBench().RunFirmware("sleep_and_reset.bin");
  EXPECT_EQ(run.out,
            "latched event: 2 ticks; woken at 1001 1003 2001 2005 3001\n"
            "interrupt at 1002, thread at 1010\n"
            "services 1 and 1, pended before the move 1, VTOR aligned\n"
            "life 2, second instruction 2 ticks after the store\n"
            "exception 0, primask 0, SysTick 4 with 0 interrupts\n"
            "VTOR 0, services 0 and 1, ISER 0, line taken 1\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

}  // namespace
}  // namespace orvo
