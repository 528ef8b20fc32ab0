// The run loop: when it ends, and what it does besides executing. Signals, faults, traces and
// dumps of whole runs: tests/system.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "program_bench.h"

namespace orvo {
namespace {

using testing::ElementsAre;

struct ProgramTest : testing::Test, ProgramBench {
  std::string OutputOfRun(const Code& code) {
    testing::internal::CaptureStdout();
    Execute(code);
    return testing::internal::GetCapturedStdout();
  }
};

// --- The end of a run ----------------------------------------------------------------------------

TEST_F(ProgramTest, StopPointEndsTheRunBeforeItsInstruction) {
  StopAt(kLoop, 3);
  Execute(kCounter);
  EXPECT_EQ(r(0), 2u);
  EXPECT_EQ(pc(), kLoop);
  EXPECT_EQ(ticks(), 5u) << "a tick for each instruction";
}

TEST_F(ProgramTest, StopPointWithoutTimesNeverStops) {
  StopAt(kLoop, 0);
  args.output = "dump.txt";
  const At end(mcu, 100, [] { OrvoSignals::Get().terminate.emit(0); });
  Execute(kCounter);
  EXPECT_EQ(ticks(), 100u);
  EXPECT_FALSE(directory.Has("dump.txt"));
}

TEST_F(ProgramTest, TerminationBeforeTheRunEndsItAtOnce) {
  OrvoSignals::Get().terminate.emit(0);
  Execute(kCounter);
  EXPECT_LE(ticks(), 1u);
}

TEST_F(ProgramTest, ServiceFunctionMayEndTheRun) {
  mcu.clock().service().GoFunction(
      1000, [this](int) { program->Stop(); }, false, 0);
  Execute(kCounter);
  EXPECT_EQ(ticks(), 64u) << "1 us at 64 MHz";
}

// --- The loop ------------------------------------------------------------------------------------

TEST_F(ProgramTest, WhatIsDueAtTickZeroComesBeforeTheFirstInstruction) {
  std::vector<unsigned> pcs;
  const At first(mcu, 0, [&] { pcs.push_back(pc()); });
  const At second(mcu, 1, [&] { pcs.push_back(pc()); });
  StopAt(kLoop, 2);
  Execute(kCounter);
  EXPECT_THAT(pcs, ElementsAre(kCode + 1, kCode + 2));
}

TEST_F(ProgramTest, PendingExceptionIsTakenBeforeTheInstruction) {
  StopAt(kHardFaultHandler);
  Load(Image(kCounter));
  mcu.interrupts().RaiseInterrupt(kNmi, true);
  program->Run();
  EXPECT_EQ(ticks(), 0u);
  EXPECT_EQ(mcu.registers().xpsr() & xpsr::kExceptionNumber, 16u + kNmi);
}

TEST_F(ProgramTest, PcAtTheEndOfTheProgramExecutesAndBehindItFaults) {
  StopAt(kHardFaultHandler);
  Execute({0xbf00, 0xbf00});
  // Two instructions, the one at the end, the fetch that faults, and none of the handler.
  EXPECT_EQ(ticks(), 4u);
  EXPECT_EQ(mcu.registers().xpsr() & xpsr::kExceptionNumber, 16u + kHardFault);
}

// --- Traces and the report -----------------------------------------------------------------------

TEST(RegisterTraceOfARun, BeginsBehindTheStartTick) {
  const char* const first_field[] = {"pc=0x00000042 ", "pc=0x00000044 ", ""};
  for (unsigned start_tick = 0; start_tick < 3; ++start_tick) {
    ProgramBench bench;
    bench.StopAt(ProgramBench::kLoop, 2);  // instructions at ticks 0, 1 and 2
    bench.args.trace = "regs";
    bench.args.start_tick = start_tick;
    testing::internal::CaptureStdout();
    bench.Execute(ProgramBench::kCounter);
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_EQ(output.substr(0, 14), first_field[start_tick]) << start_tick;
  }
}

TEST_F(ProgramTest, FunctionTraceNeedsAListing) {
  StopAt(kLoop, 2);
  args.trace = "functions";
  EXPECT_EQ(OutputOfRun(kCounter), "");
  program.reset();
  directory.Write("list.txt", "00000042 <count>:\n");
  args.objdump = "list.txt";
  EXPECT_EQ(OutputOfRun(kCounter),
            "Enter function: unkown\nEnter function: count\n"
            "Enter function: unkown\n");
}

struct Variants : ProgramBench, testing::TestWithParam<int> {};

TEST_P(Variants, OfTheLoopExecuteAlike) {
  directory.Write("list.txt", "00000042 <count>:\n");
  args.objdump = "list.txt";
  if ((GetParam() & 1) != 0) args.trace += "functions";
  if ((GetParam() & 2) != 0) args.trace += "regs";
  if ((GetParam() & 4) != 0) StopAt(kLoop, 1000);
  const At end(mcu, 21, [this] { program->Stop(); });
  testing::internal::CaptureStdout();
  Execute(kCounter);
  const std::string output = testing::internal::GetCapturedStdout();
  EXPECT_EQ(r(0), 10u);
  EXPECT_EQ(ticks(), 21u);
  EXPECT_EQ(output.find("Enter function: count\n") != std::string::npos, (GetParam() & 1) != 0);
  EXPECT_EQ(output.find("pc=0x00000044") != std::string::npos, (GetParam() & 2) != 0);
}

INSTANTIATE_TEST_SUITE_P(All, Variants, testing::Range(0, 8));

TEST_F(ProgramTest, ReportsTheStackDepthIfAsked) {
  std::vector<nlohmann::json> events;
  const Connection<const nlohmann::json&> connection(
      OrvoSignals::Get().send_json_event,
      [&events](const nlohmann::json& event) { events.push_back(event); });
  args.sp = true;
  StopAt(kCode + 4);
  EXPECT_EQ(OutputOfRun({0xb407, 0xbc07, 0xbf00}), "Stack max size : 12 bytes\n");
  EXPECT_THAT(events, ElementsAre(nlohmann::json{{"description", "sp_max"}, {"value", 12}}));
}

}  // namespace
}  // namespace orvo
