// A real GDB on a run: what it shows, where it stops, and how it leaves.
#include <gmock/gmock.h>
#include <signal.h>

#include <thread>

#include "support/gdb_session.h"

namespace orvo {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

// GDB steps in two ways: as for a GNU/Linux target it sets breakpoints of its own and continues,
// without an operating system it asks the server for single steps.
class Gdb : public testing::TestWithParam<const char*> {
 protected:
  std::string Commands(GdbSession& session, const std::string& commands) {
    return session.Gdb(commands, std::string("set osabi ") + GetParam());
  }
};

TEST_P(Gdb, ShowsCallsLocalsRegistersAndMemory) {
  GdbSession session("debugging");
  const std::string shown = Commands(
      session,
      "break innermost;continue;next;info locals;backtrace;finish;finish;delete;break scaled;"
      "ignore 2 6;continue;next;info locals;print $s15;print value;print scale;p/x *(unsigned*)0;"
      "p/x *(unsigned*)0x40002524;p/x *(unsigned*)0xe000ed00;print $msp == $sp;"
      "info registers control faultmask pc xpsr;x/w 0x30000000;detach");
  EXPECT_THAT(shown, Not(HasSubstr("arning")));  // the target description is accepted
  EXPECT_THAT(shown, HasSubstr("weighted = 704"));
  EXPECT_THAT(shown, ContainsRegex("#0 +innermost \\(depth=0, .*\n#1 .* middle \\(depth=0.*\n"
                                   "#2 .* middle \\(depth=1.*\n#3 .* middle \\(depth=2.*\n"
                                   "#4 .* middle \\(depth=3.*\n#5 .* main \\(\\)"));
  EXPECT_THAT(shown, AllOf(HasSubstr("$1 = 704\n"), HasSubstr("$2 = 704\n")));
  EXPECT_THAT(shown, ContainsRegex("doubled = 12\n.* = 12\n.* = 6\n.* = 1.5\n.* = 0x20010000\n"));
  EXPECT_THAT(shown, ContainsRegex(" = 0x1d7e000\n.* = 0x410fc241\n.* = 1\n"));
  EXPECT_THAT(shown,
              ContainsRegex("control +0x4 .*\nfaultmask +0x0 .*\npc +0x[0-9a-f]+[02468ace] "));
  EXPECT_THAT(shown, HasSubstr("Cannot access memory at address 0x30000000"));
  EXPECT_EQ(session.orvo.Wait(kRunLimit).exit_status, 0) << "detaching ends the run";
}

TEST_P(Gdb, SeesInterruptHandlersAndStepsOverThem) {
  GdbSession session("debugging");
  std::string commands =
      "break count_systick;continue;backtrace;finish;finish;backtrace 1;delete;tbreak scaled;"
      "continue;finish;";
  for (int i = 0; i < 120; ++i) commands += "next;";
  const std::string shown = Commands(session, commands + "print systicks;backtrace;kill");
  EXPECT_THAT(shown, ContainsRegex("#0 +count_systick .*\n#1 .* systick_handler .*\n"
                                   "#2 +<signal handler called>\n#3 .* middle .*\n"));
  EXPECT_THAT(shown, ContainsRegex("#0 +0x[0-9a-f]+ in middle "));
  EXPECT_THAT(shown, ContainsRegex(" = [3-9]\n#0 +main \\(\\)"));
  EXPECT_EQ(session.orvo.Wait(kRunLimit).exit_status, 0);
}

// At each instruction of a block, whose condition holds or doesn't, GDB stops, steps and goes on.
// For GNU/Linux it moves these breakpoints to the block's it, and the steps are breakpoints inside.
TEST_P(Gdb, StopsInsideOfItBlocks) {
  GdbSession session("debugging");
  const std::string shown =
      Commands(session,
               "break chosen_first;break chosen_second;break chosen_third;break chosen_fourth;"
               "ignore 1 1000;ignore 2 1000;ignore 3 1000;ignore 4 1000;continue;info breakpoints");
  // Again where an interrupt came in between.
  EXPECT_THAT(shown, ContainsRegex("(hit 4[0-9] times[^$]*){4}"));
  EXPECT_EQ(session.orvo.Wait(kRunLimit).out, OrvoBench().RunFirmware("debugging.bin").out);
}

TEST_P(Gdb, ResetsAndRunsAgain) {
  GdbSession session("debugging");
  const std::string shown =
      Commands(session,
               "break scaled;continue;monitor reset halt;maintenance flush register-cache;"
               "print $pc == (int)&reset_handler;print $msp == *(int*)0;continue;print value;"
               "monitor speed 1000;monitor reset;load;signal SIGSEGV;continue;print value;"
               "monitor tea");
  EXPECT_THAT(shown, HasSubstr("current mode: Thread xPSR: 0x01000000 pc: 0x0800018c"));
  EXPECT_THAT(shown, ContainsRegex("\\$1 = 1\n\\$2 = 1\n"));
  EXPECT_THAT(shown, AllOf(HasSubstr("$3 = 0\n"), HasSubstr("$4 = 0\n")));
  EXPECT_THAT(shown, HasSubstr("Target interface speed set to 1000 kHz"));
  EXPECT_THAT(shown, HasSubstr("Resetting target"));
  const ProcessResult run = session.orvo.Wait(kRunLimit);
  EXPECT_THAT(run.err, HasSubstr("ZANDOR GDB SERVER ERROR: Unsupported Rcmd messages: tea\n"));
  EXPECT_EQ(run.exit_status, 0);
}

INSTANTIATE_TEST_SUITE_P(As, Gdb, testing::Values("GNU/Linux", "none"), [](const auto& test) {
  return std::string(test.param) == "none" ? "BareMetal" : "Linux";
});

TEST(GdbSessions, InterruptARunningProgramAgainAndAgain) {
  GdbSession session("debugging_endless");
  std::string commands;
  for (int i = 0; i < 15; ++i) {
    commands += "continue;print systicks > 0;echo stopped " + std::to_string(i) + "\\n;";
  }
  ChildProcess gdb = session.StartGdb("echo connected\\n;" + commands + "detach");
  ASSERT_TRUE(gdb.WaitForOutput("connected", kRunLimit));
  for (int i = 0; i < 15; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    // GDB may not have come to its next command yet, and lose the first signal.
    const std::string stopped = "stopped " + std::to_string(i);
    for (int tries = 0; tries < 10; ++tries) {
      gdb.Signal(SIGINT);
      if (gdb.WaitForOutput(stopped, std::chrono::seconds(10))) break;
    }
    ASSERT_THAT(gdb.out(), HasSubstr(stopped));
  }
  EXPECT_EQ(gdb.Wait(kRunLimit).exit_status, 0);
  EXPECT_EQ(session.orvo.Wait(kRunLimit).exit_status, 0);
}

TEST(GdbSessions, ALostClientAndUnsupportedBreakpointsEndTheRun) {
  GdbSession lost("debugging_endless");
  {
    ChildProcess gdb = lost.StartGdb("echo connected\\n;continue");
    ASSERT_TRUE(gdb.WaitForOutput("connected", kRunLimit));
  }
  EXPECT_EQ(lost.orvo.Wait(kRunLimit).exit_status, 0);
  EXPECT_FALSE(lost.Client().connected());

  GdbSession hardware("debugging");
  hardware.Gdb("hbreak main;continue");
  const ProcessResult run = hardware.orvo.Wait(kRunLimit);
  EXPECT_THAT(run.err, HasSubstr("ZANDOR GDB SERVER ERROR: Z command - unsupported type: 1\n"));
  EXPECT_EQ(run.exit_status, 3);
}

// For a GDB that asks the server for each step.
TEST(GdbSessions, ASleepIsASingleStep) {
  GdbSession session("sleep_and_reset");
  const std::string shown = session.Gdb(
      "find /h1 &main,+600,(short)0xbf20;break *$_;continue;set $wfe = (unsigned)$pc;"
      "set $cycles = *(unsigned*)0xe0001004;stepi 12;print (unsigned)$pc > $wfe + 30;"
      "print *(unsigned*)0xe0001004 - $cycles > 900;kill",
      "set osabi none");
  EXPECT_THAT(shown, ContainsRegex("\\$1 = 1\n\\$2 = 1\n"));
}

TEST(GdbSessions, StoppingAHundredTimesChangesNothing) {
  const std::vector<std::string> trace = {"-t", "interrupts", "--trace-dest", "trace.txt"};
  OrvoBench free;
  const ProcessResult free_run = free.RunFirmware("interrupts-O2.bin", trace);
  ASSERT_EQ(free_run.exit_status, 0);

  GdbSession session("interrupts-O2", trace);
  const std::string shown = session.Gdb(
      "break systick_handler;ignore 1 100;continue;stepi 30;info breakpoints;delete;continue");
  EXPECT_THAT(shown, ContainsRegex("already hit 10[12] times"));
  const ProcessResult run = session.orvo.Wait(kRunLimit);
  EXPECT_EQ(run.exit_status, 0);
  EXPECT_EQ(run.out, free_run.out);
  EXPECT_EQ(session.bench.InstructionCount(), free.InstructionCount());
  EXPECT_EQ(session.bench.directory().Read("trace.txt"), free.directory().Read("trace.txt"));
}

}  // namespace
}  // namespace orvo
