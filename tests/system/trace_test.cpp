// Traces and dumps through the executable: what is compared, named, dumped, and kept when a run
// ends in whatever way.
#include <gmock/gmock.h>
#include <signal.h>

#include <algorithm>
#include <functional>
#include <vector>

#include "support/orvo_process.h"
#include "support/small_image.h"

namespace orvo {
namespace {

using testing::HasSubstr;
using testing::Not;

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return lines;
}

std::string Joined(const std::vector<std::string>& lines, const std::string& line_end) {
  std::string text;
  for (const std::string& line : lines) text += line + line_end;
  return text;
}

TEST(TraceComparison, FindsAPlantedDifferenceAtItsLine) {
  OrvoBench bench;
  bench.RunFirmware("ticks.bin", {"-t", "regs", "--trace-dest", "trace.txt"});
  const std::vector<std::string> recorded = LinesOf(bench.directory().Read("trace.txt"));
  ASSERT_GT(recorded.size(), 1000u);
  const size_t line = 777;
  const std::string& own = recorded[line - 1];

  struct Case {
    const char* name;
    std::function<void(std::vector<std::string>&)> change;
    const char* line_end;
    std::string error;   // all of standard error that is certain
    std::string logged;  // the mismatch
  };
  std::string other = own;
  other[own.find(" r7=0x") + 8] ^= 1;
  const std::string prefix = "Mismatch log file:\r\n";
  const Case cases[] = {
      {"digit", [&](auto& lines) { lines[line - 1] = other; }, "\n",
       "differs from the recorded trace in its line 777\n", prefix + other + "\r\n" + own},
      {"shorter", [&](auto& lines) { lines.resize(line - 1); }, "\n",
       "differs from the recorded trace in its line 777, behind its end\n", prefix + "\r\n" + own},
      {"dos", [](auto&) {}, "\r\n",
       "differs from the recorded trace in its line 1, which has a DOS line end\n",
       prefix + recorded[0] + "\r\r\n" + recorded[0]},
      {"longer", [](auto& lines) { lines.insert(lines.end(), 3, lines.back()); }, "\n",
       "the run ended before the recorded trace, behind its line " +
           std::to_string(recorded.size()) + "\n",
       ""},
      {"equal", [](auto&) {}, "\n", "", ""},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    std::vector<std::string> lines = recorded;
    test.change(lines);
    bench.directory().Write("recorded.txt", Joined(lines, test.line_end));
    const ProcessResult run = bench.RunFirmware("ticks.bin", {"-t", "regs", "-d", "recorded.txt"});
    EXPECT_EQ(run.exit_status, 0);
    EXPECT_THAT(run.err, HasSubstr(test.error));
    EXPECT_EQ(run.err.find(prefix) != std::string::npos, !test.logged.empty());
    EXPECT_THAT(run.err, HasSubstr(test.logged));
    EXPECT_THAT(run.out, Not(HasSubstr("pc=0x")));
    EXPECT_EQ(run.err.find("Warning: ") == std::string::npos, test.error.empty());
    // The tick of the end: line n is that of tick n.
    const bool ends = !test.logged.empty();
    const size_t last = test.line_end == std::string("\r\n") ? 1 : line;
    EXPECT_EQ(bench.InstructionCount(), ends ? last : recorded.size() + 1);
  }
}

TEST(FunctionTrace, FollowsNestedCallsByTheListingOfObjdump) {
  OrvoBench bench;
  const ProcessResult listing = RunProcess(
      "arm-none-eabi-objdump", {"-d", FirmwarePath("coverage-O0-5.elf")}, bench.directory().path());
  ASSERT_EQ(listing.exit_status, 0) << listing.err;
  // Lines that are no symbols, and one with a DOS line end that is: it replaces main's name.
  const size_t main = listing.out.find(" <main>:");
  const std::string address = listing.out.substr(main - 8, 8);
  bench.directory().Write("list.txt", listing.out + "\n<>:\n" + address + " <x>: y\n" + address +
                                          "<x>:\n" + std::string(100'000, 'f') + "\n" + address +
                                          " <int Main<int>::operator>>(int)>:\r\n");
  const ProcessResult run =
      bench.Run({"-i", FirmwarePath("coverage-O0-5.bin"), "-p", kFirmwareDone, "-k", "1", "-t",
                 "functions", "--objdump", "list.txt", "--trace-dest", "trace.txt"});
  EXPECT_THAT(run.err, Not(HasSubstr("Warning: ")));
  std::string expected;
  for (const char* name : {"reset", "int Main<int>::operator>>(int)", "classify", "classify",
                           "count", "systick_handler"})
    expected += "Enter function: " + std::string(name) + "\nEnter function: unkown\n";
  EXPECT_EQ(bench.directory().Read("trace.txt"), expected);

  bench.directory().Write("list.txt", "123456789 <main>:\n");
  const ProcessResult too_far = bench.RunFirmware("ticks.bin", {"--objdump", "list.txt"});
  EXPECT_THAT(too_far.err,
              HasSubstr("Internal error in call-trace during calc regex on dump file"));
  EXPECT_EQ(too_far.exit_status, 255);
}

TEST(Dump, OfAKnownStateIsKnownToTheCharacter) {
  OrvoBench bench;
  // movs r0, #0x20; lsls r0, #24; ldr r1, [pc, #8]; str r1, [r0]; strb r0, [r0, #7]; movs r2, #9;
  // b .; the word
  bench.directory().Write("a.bin", SmallImage::Of({0x2020, 0x0600, 0x4902, 0x6001, 0x71c1, 0x2209,
                                                   0xe7fe, 0xbf00, 0x3344, 0x1122}));
  const ProcessResult run = bench.Run(
      {"-i", "a.bin", "-p", std::to_string(SmallImage::kCode + 12), "-k", "3", "-o", "dump.txt"});
  EXPECT_EQ(run.exit_status, 0) << run.err;
  EXPECT_EQ(bench.InstructionCount(), 8u) << "the third arrival";
  const std::string dump = bench.directory().Read("dump.txt");
  EXPECT_THAT(dump, testing::StartsWith("Regs:\nR0: 0x00000000\nR1: 0x"));
  EXPECT_THAT(dump, HasSubstr("\nR66: 0x20000000\nR67: 0x11223344\nR68: 0x00000009\nR69: 0x"));
  EXPECT_THAT(dump, HasSubstr("\nR278: 0x00000000\n\n\n"));
  EXPECT_THAT(dump,
              HasSubstr("\n\nData RAM:\n\n0x20000000\t44332211\t00000044\t00000000\t00000000\t"
                        "\n0x20000010\t00000000\t"));
  // Vectors and code as they stand in memory, first byte first.
  EXPECT_THAT(dump,
              HasSubstr("\n\nFlash:\n\n0x00000000\t00000120\t41000000\t3d000000\t3d000000\t\n"));
  EXPECT_THAT(dump, HasSubstr("\n0x00000040\t20200006\t02490160\tc1710922\tfee700bf\t\n"));
}

TEST(TraceFile, HoldsAllLinesOfARunThatAFatalSignalEnds) {
  OrvoBench bench;
  // movs r0, #1; lsls r0, #31; movs r1, #0; mvns r1, r1; sdiv r0, r0, r1: overflows on the host
  bench.directory().Write("a.bin",
                          SmallImage::Of({0x2001, 0x07c0, 0x2100, 0x43c9, 0xfb90, 0xf0f1}));
  const ProcessResult run = bench.Run({"-i", "a.bin", "-t", "regs", "--trace-dest", "trace.txt"});
  EXPECT_EQ(run.exit_status, SIGFPE);
  const std::vector<std::string> lines = LinesOf(bench.directory().Read("trace.txt"));
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_THAT(lines.back(),
              testing::StartsWith("pc=0x00000048 ISRn=0 r0=0x80000000 r1=0xffffffff"));
}

TEST(TraceOptions, ThatDoNothingAsCombinedAreNamed) {
  OrvoBench bench;
  bench.directory().Write("list.txt", "no symbols\n");
  const struct {
    std::vector<std::string> arguments;
    const char* warning;
  } cases[] = {
      {{"-d", "list.txt"}, "-d/--input-dump compares nothing without -t regs"},
      {{"--objdump", "list.txt"}, "--objdump has no effect without -t functions"},
      {{"-t", "functions"}, "-t functions prints nothing without --objdump"},
      {{"-t", "functions", "--objdump", "list.txt"}, "list.txt names no function"},
      {{"-t", "interrupts,reg"}, "-t/--trace knows regs, interrupts and functions, not 'reg'"},
      {{"--trace-dest", "t"}, "--trace-dest has no effect without -t"},
      {{"-t", "regs", "--trace-dest", "t", "--start-pc", "100"}, "--start-pc has no effect"},
      {{"--start-tick", "100"}, "--start-tick has no effect"},
      {{"-d", "list.txt", "-t", "regs", "--trace-dest", "t", "--start-pc", "fffffff0"},
       "nothing was compared with the recorded trace"},
  };
  for (const auto& test : cases) {
    const ProcessResult run = bench.RunFirmware("ticks.bin", test.arguments);
    EXPECT_THAT(run.err, HasSubstr(test.warning));
    EXPECT_EQ(run.err.find("Warning: "), run.err.rfind("Warning: ")) << run.err;
    EXPECT_EQ(run.exit_status, 0);
  }
  // Without a stop point: these end at the first comparison.
  const auto warnings = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.end(), {"-i", FirmwarePath("ticks.bin"), "-t", "regs", "-d"});
    arguments.push_back("list.txt");
    return bench.Run(arguments).err;
  };
  EXPECT_THAT(warnings({"-p", kFirmwareDone, "-o", "dump.txt"}),
              testing::AllOf(HasSubstr("-p/--pc_pos stops nothing without -k"),
                             HasSubstr("-o/--output writes no dump without the stop point")));
  EXPECT_THAT(warnings({"-k", "1"}), HasSubstr("-k/--times stops nothing without -p"));
  EXPECT_THAT(warnings({"-p", "0x101", "-k", "1"}), HasSubstr("no instruction begins at the odd"));
}

}  // namespace
}  // namespace orvo
