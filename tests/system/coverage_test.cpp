// Code coverage of a program whose source says which of its lines run
// (firmware/programs/coverage.c).
#include <gmock/gmock.h>
#include <unistd.h>

#include <map>
#include <regex>
#include <sstream>

#include "build_paths.h"
#include "support/control_session.h"

namespace orvo {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr char kProgram[] = "coverage.c";
constexpr char kInlined[] = "coverage_inline.h";
// Where the debug information says that the sources stand.
constexpr char kPlace[] = "/elsewhere/<b>it's/programs/";

std::string SourceOf(const std::string& name) {
  return ReadFile(std::string(kSourceDirectory) + "/firmware/programs/" + name);
}

// What becomes of the lines of a file: '1' ran, '0' did not, '?' not said.
using Lines = std::map<unsigned, char>;

Lines WordsOf(const std::string& name) {
  static const std::map<std::string, char> kWords = {
      {"// ran", '1'}, {"// not", '0'}, {"// any", '?'}};
  Lines lines;
  std::istringstream source(SourceOf(name));
  unsigned number = 1;
  for (std::string line; std::getline(source, line); ++number) {
    const auto word = kWords.find(line.substr(line.size() - std::min<size_t>(line.size(), 6)));
    if (word != kWords.end()) lines[number] = word->second;
  }
  return lines;
}

// The records of a tracefile by the last part of the file's name.
std::map<std::string, Lines> LinesOf(const std::string& tracefile) {
  std::map<std::string, Lines> files;
  std::istringstream text(tracefile);
  std::string name;
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with("SF:")) name = line.substr(line.rfind('/') + 1);
    if (line.starts_with("DA:")) files[name][std::stoul(line.substr(3))] = line.back();
  }
  return files;
}

// A run of one of the images, with its ELF file and the program's source in its directory.
struct CoverageRun {
  explicit CoverageRun(const std::string& image) {
    bench.directory().Write("program.elf", ReadFile(FirmwarePath(image + ".elf")));
    std::filesystem::create_directory(bench.directory().path() / "programs");
    bench.directory().Write(std::string("programs/") + kProgram, SourceOf(kProgram));
    arguments = {"-i", FirmwarePath(image + ".bin"), "-p", kFirmwareDone, "-k", "1"};
  }
  const ProcessResult& Run(const std::vector<std::string>& more) {
    arguments.insert(arguments.end(), more.begin(), more.end());
    result = bench.Run(arguments);
    EXPECT_EQ(result.exit_status, 0) << result.err;
    return result;
  }
  std::string Report() const { return bench.directory().Read("coverage_report.html"); }

  OrvoBench bench;
  std::vector<std::string> arguments;
  ProcessResult result;
};

class Coverage : public testing::TestWithParam<const char*> {};

// libelfin reads the older versions, libdw the others.
TEST_P(Coverage, IsThatOfTheSourcesWordsWhateverTheDebugInformationsVersion) {
  const bool optimised = GetParam() != std::string("O0");
  std::map<std::string, std::string> tracefiles;
  for (const std::string version : {"2", "3", "4", "5"}) {
    CoverageRun run(std::string("coverage-") + GetParam() + "-" + version);
    run.Run({"--coverage-lcov", "lines.info"});
    tracefiles[version] = run.bench.directory().Read("lines.info");
  }
  const std::string& tracefile = tracefiles["5"];
  // The temporary directory is all that differs.
  const std::regex place("SF:.*/programs/");
  for (const auto& [version, text] : tracefiles) {
    EXPECT_EQ(std::regex_replace(text, place, ""), std::regex_replace(tracefile, place, ""))
        << version;
  }
  auto files = LinesOf(tracefile);
  EXPECT_EQ(files.size(), 2u);
  for (const std::string name : {kProgram, kInlined}) {
    const Lines words = WordsOf(name);
    for (const auto& [number, ran] : files[name]) {
      ASSERT_TRUE(words.contains(number)) << name << ":" << number;
      if (words.at(number) != '?') {
        EXPECT_EQ(ran, words.at(number)) << name << ":" << number;
      }
    }
    // Optimisation may leave nothing of a line that does not run, but something of most that do.
    for (const auto& [number, word] : words) {
      if (word == '1' || (word == '0' && !optimised)) {
        EXPECT_TRUE(files[name].contains(number)) << name << ":" << number;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Program, Coverage, testing::Values("O0", "O2", "lto"),
                         [](const auto& test) { return std::string(test.param); });

unsigned Ran(const Lines& lines) {
  return std::count_if(lines.begin(), lines.end(), [](auto& line) { return line.second == '1'; });
}

// As a stream prints it.
std::string Percent(const std::map<std::string, Lines>& files) {
  unsigned ran = 0, all = 0;
  for (const auto& [name, lines] : files) {
    ran += Ran(lines);
    all += lines.size();
  }
  std::ostringstream text;
  text << static_cast<double>(ran) / all * 100;
  return text.str();
}

TEST(CoverageReport, HasTheTableTheSummaryAndEachSourceWithItsLinesMarked) {
  CoverageRun run("coverage-O0-4");
  run.Run({"--coverage-lcov", "lines.info"});
  const auto files = LinesOf(run.bench.directory().Read("lines.info"));
  const std::string page = run.Report();
  std::string data = "var data = new Map([";
  for (const auto& [name, lines] : files) {
    data += "['/elsewhere/\\x3cb>it\\x27s/programs/" + name + "', '" + Percent({{name, lines}}) +
            "'], ";
  }
  EXPECT_THAT(page, HasSubstr(data + "]);\n"));
  EXPECT_THAT(page, HasSubstr("<table id=\"reportTable\">\n<tr><th>File Name</th><th>%</th></tr>"));
  EXPECT_THAT(page, HasSubstr("<p id=\"summary\">Code Coverage Percent:</p>"));
  EXPECT_THAT(page, EndsWith("summary.innerHTML = 'Code Coverage Percent: ' + " + Percent(files) +
                             " + '%';\n\n}\n</script>\n\n</body>\n</html>"));
  // Two lines of classify(), one that ran and one that did not; the header is nowhere.
  EXPECT_THAT(page, HasSubstr(" +</b>  } else if (value == 77) {  // ran\n</span>"
                              "<span class=\"uncovered\">"));
  EXPECT_THAT(page, HasSubstr(" -</b>    sink = 1;  // not\n</span>"));
  EXPECT_THAT(page, HasSubstr("coverage_inline.h</summary>\n<p>Source not found"));
  EXPECT_THAT(page, Not(HasSubstr("<b>it")));
}

TEST(CoverageReport, GoesToTheControlConnectionAsAnEvent) {
  CoverageRun run("coverage-O0-5");
  run.arguments.insert(run.arguments.end(), {"-w", "--coverage-lcov", "lines.info"});
  ChildProcess process = run.bench.Start(run.arguments);
  ControlClient client(WaitForPort(run.bench));
  client.Send({{"type", "handshake"}, {"api_version", "1"}});
  ASSERT_FALSE(WaitForMessage(client, "stopped").is_null());
  Resume(client);
  const nlohmann::json event = WaitForMessage(client, "code_coverage");
  EXPECT_EQ(process.Wait(kRunLimit).exit_status, 0);
  ASSERT_FALSE(event.is_null());
  std::ostringstream value;
  value << event["value"].get<double>();
  EXPECT_EQ(value.str(), Percent(LinesOf(run.bench.directory().Read("lines.info"))));
}

bool IsInstalled(const std::string& program) {
  return RunProcess("sh", {"-c", "command -v " + program}, ".").exit_status == 0;
}

TEST(CoverageReport, ShowsItsNumbersInABrowser) {
  if (!IsInstalled("chromium")) GTEST_SKIP() << "needs Debian's chromium";
  CoverageRun run("coverage-O0-5");
  run.bench.directory().Write(std::string("programs/") + kInlined, SourceOf(kInlined));
  run.Run({"--coverage-lcov", "lines.info"});
  const auto files = LinesOf(run.bench.directory().Read("lines.info"));
  const auto directory = run.bench.directory().path();
  const ProcessResult browser =
      RunProcess("chromium",
                 {"--headless", "--no-sandbox", "--disable-gpu",
                  "--user-data-dir=" + directory.string() + "/u", "--dump-dom",
                  "file://" + directory.string() + "/coverage_report.html"},
                 directory);
  unsigned index = 1;
  for (const auto& [name, lines] : files) {
    EXPECT_THAT(browser.out, HasSubstr("<tr><td><a href=\"#source" + std::to_string(index++) +
                                       "\">/elsewhere/&lt;b&gt;it's/programs/" + name +
                                       "</a></td><td>" + Percent({{name, lines}}) + "%</td></tr>"));
  }
  EXPECT_THAT(browser.out,
              HasSubstr("<p id=\"summary\">Code Coverage Percent: " + Percent(files) + "%</p>"));
  EXPECT_THAT(browser.out, HasSubstr("a &lt; b &amp;&amp; \"c\" &gt; 'd' in a source"));
}

TEST(CoverageTracefile, IsReadByLcovAndGenhtml) {
  if (!IsInstalled("lcov")) GTEST_SKIP() << "needs Debian's lcov";
  CoverageRun run("coverage-O2-4");
  run.bench.directory().Write(std::string("programs/") + kInlined, SourceOf(kInlined));
  run.Run({"--code-coverage", "--coverage-lcov", "lines.info"});
  unsigned ran = 0, all = 0;
  for (const auto& [name, lines] : LinesOf(run.bench.directory().Read("lines.info"))) {
    ran += Ran(lines);
    all += lines.size();
  }
  const std::string of_lines = std::to_string(ran) + " of " + std::to_string(all) + " lines)";
  const auto directory = run.bench.directory().path();
  const ProcessResult summary = RunProcess("lcov", {"--summary", "lines.info"}, directory);
  EXPECT_THAT(summary.out + summary.err, HasSubstr(of_lines));
  const ProcessResult pages = RunProcess("genhtml", {"lines.info", "-o", "pages"}, directory);
  EXPECT_EQ(pages.exit_status, 0) << pages.err;
  EXPECT_THAT(pages.out, HasSubstr(of_lines));
}

TEST(CoverageReport, OfAFileWithoutDebugInformationIsEmptyAndNotANumber) {
  CoverageRun run("coverage-O0-5");
  ASSERT_EQ(
      RunProcess("arm-none-eabi-strip", {"program.elf"}, run.bench.directory().path()).exit_status,
      0);
  run.Run({"--code-coverage"});
  EXPECT_THAT(run.result.err, HasSubstr("program.elf has no lines"));
  EXPECT_THAT(run.Report(), HasSubstr("new Map([]);"));
  EXPECT_THAT(run.Report(), testing::ContainsRegex("' [+] -?nan [+] '%'"));
}

struct BadElf {
  const char* name;
  std::string content;
  std::string in_output;
};

TEST(Coverage, OfAFileThatCannotBeReadIsMissingAndTheRunGoesOn) {
  const std::string elf = ReadFile(FirmwarePath("coverage-O0-5.elf"));
  std::string scattered = elf;
  for (size_t i = elf.size() / 3; i < elf.size() * 2 / 3; ++i) scattered[i] = '\xff';
  const BadElf cases[] = {
      {"empty", "", "Failed to parse elf file. can't disassemble for architecture UNKNOWN."},
      {"text", "int main() {}\n", "Failed to parse elf file."},
      {"cut", elf.substr(0, elf.size() / 2), "Failed to parse elf file."},
      {"host", ReadFile(kOrvoExecutable), "not a program for ARM"},
      {"scattered", scattered, "Failed to parse elf file."},
  };
  for (const BadElf& bad : cases) {
    CoverageRun run("coverage-O0-5");
    run.bench.directory().Write("program.elf", bad.content);
    run.Run({"--code-coverage", "--mips"});
    EXPECT_THAT(run.result.out + run.result.err, HasSubstr(bad.in_output)) << bad.name;
    EXPECT_THAT(run.result.out, HasSubstr("MIPS: ")) << bad.name;
    EXPECT_EQ(run.Report(), "") << bad.name;
  }
  CoverageRun missing("coverage-O0-5");
  std::filesystem::remove(missing.bench.directory().path() / "program.elf");
  missing.Run({"--code-coverage"});
  EXPECT_THAT(missing.result.err,
              HasSubstr("In order to see code coverage report, load your elf file.\n"));
  std::filesystem::create_directory(missing.bench.directory().path() / "program.elf");
  missing.Run({});
  EXPECT_THAT(missing.result.out, HasSubstr("is not found or it is not an ELF file.\n"));
}

TEST(Coverage, DestinationsThatCannotBeWrittenAreNamed) {
  CoverageRun run("coverage-O0-5");
  std::filesystem::create_directory(run.bench.directory().path() / "coverage_report.html");
  run.Run({"--coverage-lcov", "lines.info"});
  EXPECT_THAT(run.result.err, HasSubstr("can't write coverage_report.html"));
  EXPECT_FALSE(LinesOf(run.bench.directory().Read("lines.info")).empty());
  run.Run({"--coverage-lcov=/dev/full"});
  EXPECT_THAT(run.result.err, HasSubstr("can't write /dev/full"));

  run.arguments.push_back("--coverage-lcov=/nonexistent/lines.info");
  const ProcessResult refused = run.bench.Run(run.arguments);
  EXPECT_EQ(refused.exit_status, 255);
  EXPECT_THAT(refused.err, HasSubstr("/nonexistent/lines.info: No such file"));
}

}  // namespace
}  // namespace orvo
