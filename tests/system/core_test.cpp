// The core as a user sees it: the traces of -c, what ends a run, and that no way of running changes
// what firmware does.
#include <gmock/gmock.h>
#include <signal.h>

#include "support/orvo_process.h"
#include "support/small_image.h"

namespace orvo {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

// Runs code until its handler of all exceptions is executed for the second time.
ProcessResult RunCode(const Code& code, std::vector<std::string> arguments) {
  OrvoBench bench;
  bench.directory().Write("a.bin", SmallImage::Of(code));
  arguments.insert(arguments.end(),
                   {"-i", "a.bin", "-p", std::to_string(SmallImage::kHandler), "-k", "2"});
  return bench.Run(arguments);
}

// --- The traces of -c ----------------------------------------------------------------------------

// movs r0, #3; str r0, [sp, #-4]!; ldr r1, [sp]; cmp r1, #3; ite eq; addeq r2, r1, #1;
// movne r2, #9; uxtb.w r0, r0; an encoding that nothing has
const Code kTraced = {0x2003, 0xf84d, 0x0d04, 0x9900, 0x2903, 0xbf0c,
                      0x1c4a, 0x2209, 0xfa5f, 0xf080, 0xffff, 0xffff};

TEST(Tracing, PrintsALineForEachInstructionFromTheStartTickOn) {
  const ProcessResult run = RunCode(kTraced, {"-c", "1", "--start-tick", "1"});
  EXPECT_EQ(run.out,
            "0x042:\t1:\tISRn=0\t\tstr_2_writeback\t\tr0, [sp, #-0x4]!\r\n"
            "0x046:\t2:\tISRn=0\t\tldr_2\t\tr1, [sp]\r\n"
            "0x048:\t3:\tISRn=0\t\tcmp_2\t\tr1, #3\r\n"
            "0x04a:\t4:\tISRn=0\t\tit\t\teq\r\n"
            "0x04c:\t5:\tISRn=0\t\tadd_cc_3\t\tr2, r1, #1\r\n"
            "0x04e:\t6:\tISRn=0\t\tmov_cc_2\t\tr2, #9\r\n"
            "0x050:\t7:\tISRn=0\t\tuxtb_2\t\tr0, r0\r\n"
            "0x054:\t8:\tISRn=0\t\tudf_1\t\t\r\n"
            "0x03c:\t9:\tISRn=3\t\tb_1\t\t#0x3c\r\n");
  EXPECT_THAT(run.err, EndsWith("Warning: invalid instruction at: 0x54\n"));
  EXPECT_EQ(run.exit_status, 0);
}

TEST(Tracing, PrintsOperandsBeforeAndAfterEachInstruction) {
  const ProcessResult run = RunCode(kTraced, {"-c", "2", "--start-tick", "5"});
  EXPECT_EQ(run.out,
            "0x04c:\t0x1c4a\tadd_cc_3\t\tr2, r1, #1\n"
            "\tCPSR: 0x60000c00 \tTickCount: 5\n"
            "\t\toperands[0]: REG 68 = 0x0\n"
            "\t\toperands[1]: REG 67 = 0x3\n"
            "\t\toperands[2]: IMM = 0x1\n"
            "\t\toperands[0]: REG 68 = 0x4\n"
            "\t\toperands[1]: REG 67 = 0x3\n"
            "\t\toperands[2]: IMM = 0x1\n"
            "0x04e:\t0x2209\tmov_cc_2\t\tr2, #9\n"
            "\tCPSR: 0x60001800 \tTickCount: 6\n"
            "\t\toperands[0]: REG 68 = 0x4\n"
            "\t\toperands[1]: IMM = 0x9\n"
            "\t\toperands[0]: REG 68 = 0x4\n"
            "\t\toperands[1]: IMM = 0x9\n"
            "0x050:\t0xf080fa5f\tuxtb_2\t\tr0, r0\n"
            "\tCPSR: 0x60000000 \tTickCount: 7\n"
            "\t\toperands[0]: REG 66 = 0x3\n"
            "\t\toperands[1]: REG 66 = 0x3\n"
            "\t\toperands[0]: REG 66 = 0x3\n"
            "\t\toperands[1]: REG 66 = 0x3\n"
            "0x054:\t0xffffffff\tudf_1\t\t\n"
            "\tCPSR: 0x60000000 \tTickCount: 8\n"
            "0x03c:\t0xe7fe\tb_1\t\t#0x3c\n"
            "\tCPSR: 0x60000003 \tTickCount: 9\n"
            "\t\toperands[0]: IMM = 0x3c\n"
            "\t\toperands[0]: IMM = 0x3c\n");
  EXPECT_EQ(run.exit_status, 0);
}

// --- What ends a run -----------------------------------------------------------------------------

TEST(UnimplementedInstruction, IsPrintedWithItsOperandsAndNamedInTheError) {
  for (const char* mode : {"0", "1", "2"}) {
    const ProcessResult run =
        RunCode({0xbf00, 0xf301, 0x0007}, {"-c", mode, "--start-tick", "1"});  // nop; ssat
    EXPECT_EQ(run.out,
              "0x042:\t0x7f301\tssat_3\t\tr0, #8, r1\n"
              "\tCPSR: 0x0 \tTickCount: 1\n"
              "\t\toperands[0]: REG 66 = 0x0\n"
              "\t\toperands[1]: IMM = 0x8\n"
              "\t\toperands[2]: REG 67 = 0x0\n");
    EXPECT_THAT(run.err,
                EndsWith(" TC: 1 PC: 0x42\033[0;31m\n\n"
                         "\tNimbel internal error:\n"
                         "\tThe program has reached an unimplemented instruction.\n"
                         "\tArm instruction=ssat_3\tPC=0x42\tTick Count=1.\n"
                         "\tPlease contact us at support@orvo.dev for more information.\033[0m\n\n"
                         "Please wait...\n\n"));
    EXPECT_EQ(run.exit_status, 0);
  }
}

TEST(FatalSignal, OfADivisionThatOverflowsIsReportedAndIsTheStatus) {
  // movs r0, #1; lsls r0, #31; movs r1, #0; mvns r1, r1; sdiv r0, r0, r1
  const ProcessResult run = RunCode({0x2001, 0x07c0, 0x2100, 0x43c9, 0xfb90, 0xf0f1}, {});
  EXPECT_THAT(run.err, HasSubstr("\tReceived signal: 8.\n"));
  EXPECT_EQ(run.exit_status, SIGFPE);
  EXPECT_EQ(run.signal, 0);
}

// --- What must not matter ------------------------------------------------------------------------

TEST(Interrupts, BetweenItAndTheFirstDecodeOfItsBlockSpoilNeither) {
  const ProcessResult run = OrvoBench().RunFirmware("it_blocks.bin");
  EXPECT_EQ(run.out,
            "block(3) = 000e000d\n"
            "block(9) = 001e2203\n"
            "block(-6) = 00000000\n"
            "interrupts inside 60, at 20 of 20 instructions, wrong 0\n");
  EXPECT_EQ(run.exit_status, 0) << run.err;
}

struct Ending {
  std::string out;
  std::string dump;
  unsigned long instructions;
};

Ending EndingOf(const std::string& image, std::vector<std::string> arguments) {
  OrvoBench bench;
  bench.directory().Write("list.txt", "00000100 <main>:\n00000200 <next>:\n");
  arguments.insert(arguments.end(), {"-o", "dump.txt", "--trace-dest", "/dev/null"});
  const ProcessResult run = bench.RunFirmware(image, arguments);
  EXPECT_EQ(run.exit_status, 0) << run.err;
  return {run.out, bench.directory().Read("dump.txt"), bench.InstructionCount()};
}

class WaysOfRunning : public testing::TestWithParam<const char*> {};

// Instructions go on to the next one by themselves, unless something looks at each of them.
TEST_P(WaysOfRunning, EndInTheSameStateAtTheSameTick) {
  const std::string image = GetParam() + std::string(".bin");
  const Ending plain = EndingOf(image, {});
  ASSERT_FALSE(plain.dump.empty());
  const std::vector<std::vector<std::string>> ways = {
      {"-t", "regs"}, {"-t", "functions", "--objdump", "list.txt"}, {"-c", "1"}};
  for (const std::vector<std::string>& way : ways) {
    const Ending looked_at = EndingOf(image, way);
    EXPECT_EQ(looked_at.instructions, plain.instructions) << way[1];
    EXPECT_TRUE(looked_at.dump == plain.dump) << way[1];
    EXPECT_TRUE(way[0] == "-c" || looked_at.out == plain.out) << way[1];
  }
}

INSTANTIATE_TEST_SUITE_P(Core, WaysOfRunning,
                         testing::Values("priorities", "tasks", "interrupts-O2", "it_blocks",
                                         "fault_handlers"),
                         [](const auto& test) {
                           std::string name = test.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

// Memory is taken for the code that is executed, not for the program.
TEST(LargeImage, TakesMemoryForWhatItExecutes) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitiser's own memory counts";
#endif
  // adds r0, #1; ldr r1, [sp]; add.w r2, r1, r2, lsl #2; cmp r0, r1; it eq; moveq r1, #9
  const Code part = {0x3001, 0x9900, 0xeb01, 0x0282, 0x4288, 0xbf08, 0x2109};
  Code code;
  while (code.size() < 10 * 1024) code.insert(code.end(), part.begin(), part.end());
  const unsigned end = SmallImage::kCode + 2 * static_cast<unsigned>(code.size());
  code.push_back(0xe7fe);  // b .
  std::string image = SmallImage::Of(code, SmallImage::kStackPointer - 4);
  image.resize(1024 * 1024, 'x');
  OrvoBench bench;
  bench.directory().Write("a.bin", image);
  const ProcessResult run =
      bench.Run({"-m", "nrf52840", "-i", "a.bin", "-p", std::to_string(end), "-k", "1"});
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_GT(bench.InstructionCount(), 8'000u);
  EXPECT_LT(run.peak_resident_kib, 60 * 1024);
}

}  // namespace
}  // namespace orvo
