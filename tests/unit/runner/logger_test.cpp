// Which messages reach which place.
#include "runner/logger.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>

#include "unit/config/working_directory.h"

namespace orvo {
namespace {

using testing::HasSubstr;
using testing::Not;

class Logger : public testing::Test {
 protected:
  Logger() {
    logger::my_logger::counter_ = 0;
    logger::my_logger::delete_log_file_ = true;
    std::filesystem::create_directory(".zandor");
  }

  std::string File() const { return directory.Read(logger::kLogFile); }
  size_t LinesInFile() const {
    const std::string text = File();
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
  }

  WorkingDirectory directory;
};

TEST_F(Logger, DebugGoesToTheFileOnly) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  logger::debug("Program") << "tick " << 7;
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  const std::string file = File();
  EXPECT_THAT(file, HasSubstr("Program"));
  EXPECT_THAT(file, HasSubstr("Debug"));
  EXPECT_THAT(file, HasSubstr("tick 7\n"));
}

TEST_F(Logger, InfoAndErrorGoToTheScreenToo) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  logger::info("main") << "good";
  logger::error("main") << "bad";
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "good\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "bad\n");
  EXPECT_THAT(File(), HasSubstr("good"));
  EXPECT_THAT(File(), HasSubstr("bad"));
}

TEST_F(Logger, FirstMessageRemovesTheFileOfAnEarlierRun) {
  directory.Write(logger::kLogFile, "earlier\n");
  logger::debug("main") << "one";
  logger::debug("main") << "two";
  EXPECT_THAT(File(), Not(HasSubstr("earlier")));
  EXPECT_EQ(LinesInFile(), 2u);
}

TEST_F(Logger, FileTakesErrorsOnlyOnceTheCounterIsAbove500) {
  for (int i = 0; i < 600; ++i) logger::debug("main") << i;
  EXPECT_EQ(LinesInFile(), 501u);
  testing::internal::CaptureStderr();
  logger::error("main") << "late error";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "late error\n");
  EXPECT_EQ(LinesInFile(), 502u);
}

TEST_F(Logger, MissingDirectoryIsNoError) {
  std::filesystem::remove(".zandor");
  logger::debug("main") << "nobody reads this";
  EXPECT_FALSE(std::filesystem::exists(".zandor"));
  EXPECT_EQ(logger::my_logger::counter_, 0u);
}

}  // namespace
}  // namespace orvo
