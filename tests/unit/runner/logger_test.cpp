// Which messages reach which place.
#include "runner/logger.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "unit/config/working_directory.h"

namespace orvo {
namespace {

struct Logger : testing::Test {
  Logger() {
    logger::my_logger::counter_ = 0;
    logger::my_logger::delete_log_file_ = true;
    std::filesystem::create_directory(".zandor");
  }
  long LinesInFile() const {
    const std::string text = directory.Read(logger::kLogFile);
    return std::count(text.begin(), text.end(), '\n');
  }

  WorkingDirectory directory;
};

TEST_F(Logger, EveryMessageGoesToANewFileInfoAndErrorToTheScreenToo) {
  directory.Write(logger::kLogFile, "of an earlier run\n");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  logger::debug("Program") << "tick " << 7;
  logger::info("main") << "good";
  logger::error("main") << "bad";
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "good\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "bad\n");
  EXPECT_EQ(directory.Read(logger::kLogFile),
            "[Program] Debug: tick 7\n[main] Info: good\n[main] Error: bad\n");
}

TEST_F(Logger, FileTakesErrorsOnlyOnceTheCounterIsAbove500) {
  for (int i = 0; i < 600; ++i) logger::debug("main") << i;
  EXPECT_EQ(LinesInFile(), 501);
  testing::internal::CaptureStderr();
  logger::error("main") << "late error";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "late error\n");
  EXPECT_EQ(LinesInFile(), 502);
}

TEST_F(Logger, MissingDirectoryIsNoError) {
  std::filesystem::remove(".zandor");
  logger::debug("main") << "nobody reads this";
  EXPECT_FALSE(std::filesystem::exists(".zandor"));
  EXPECT_EQ(logger::my_logger::counter_, 0u);
}

}  // namespace
}  // namespace orvo
