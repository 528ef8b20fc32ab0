// The executable finds its board files from any directory, through PATH and through links, in the
// build tree and in an installed one.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

#include "build_paths.h"
#include "support/orvo_process.h"

namespace orvo {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> Arguments() {
  return {"-i", FirmwarePath("clocks.bin"), "-u", "-p", kFirmwareDone, "-k", "1", "--sdk-port",
          "0"};
}

void ExpectRuns(const std::string& command, const fs::path& directory) {
  const ProcessResult run = RunProcess(command, Arguments(), directory);
  EXPECT_EQ(run.exit_status, 0) << command << " in " << directory << run.err;
  EXPECT_THAT(run.out, testing::StartsWith("high frequency: run 1")) << command;
}

// Puts a directory in front of PATH while it lives.
class PathWith {
 public:
  explicit PathWith(const fs::path& directory) : old_(std::getenv("PATH")) {
    setenv("PATH", (directory.string() + ":" + old_).c_str(), 1);
  }
  ~PathWith() { setenv("PATH", old_.c_str(), 1); }

 private:
  std::string old_;
};

void ExpectRunsFromEverywhere(const fs::path& executable) {
  TemporaryDirectory elsewhere;
  ExpectRuns(executable, elsewhere.path());
  ExpectRuns("./orvo", executable.parent_path());
  ExpectRuns("../bin/orvo", executable.parent_path());

  const PathWith path(executable.parent_path());
  ExpectRuns("orvo", elsewhere.path());

  fs::create_symlink(executable, elsewhere.path() / "absolute link");
  ExpectRuns(elsewhere.path() / "absolute link", elsewhere.path());
  ExpectRuns("./absolute link", elsewhere.path());
  fs::create_symlink("absolute link", elsewhere.path() / "link to link");
  ExpectRuns("./link to link", elsewhere.path());
  const PathWith links(elsewhere.path());
  ExpectRuns("link to link", elsewhere.path());
}

TEST(Placement, BuildTree) { ExpectRunsFromEverywhere(kOrvoExecutable); }

TEST(Placement, InstalledTree) {
  TemporaryDirectory prefix;
  const ProcessResult install = RunProcess(
      kCMakeCommand, {"--install", kBuildDirectory, "--prefix", prefix.path() / "a prefix"},
      prefix.path());
  ASSERT_EQ(install.exit_status, 0) << install.err;
  const fs::path installed = prefix.path() / "a prefix" / "bin" / "orvo";
  EXPECT_TRUE(fs::is_symlink(installed));
  EXPECT_TRUE(fs::read_symlink(installed).is_relative());
  ExpectRunsFromEverywhere(installed);

  fs::rename(prefix.path() / "a prefix", prefix.path() / "moved");
  ExpectRuns(prefix.path() / "moved" / "bin" / "orvo", prefix.path());
}

TEST(Placement, WorkingDirectoryGetsNothingButZandor) {
  OrvoBench bench;
  bench.RunFirmware("clocks.bin");
  for (const auto& entry : fs::directory_iterator(bench.directory().path())) {
    EXPECT_EQ(entry.path().filename(), ".zandor");
  }
  EXPECT_TRUE(bench.directory().Has(".zandor/log.txt"));
}

}  // namespace
}  // namespace orvo
