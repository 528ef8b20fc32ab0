// The search for the SDK, and the default boards that come with it.
#include <gmock/gmock.h>

#include "config/configuration_file_handler.h"
#include "mcu/platform.h"
#include "unit/config/working_directory.h"

namespace orvo {
namespace {

struct LayoutCase {
  std::string name;
  std::string sdk;         // where the SDK stands, in the directory of the test
  std::string executable;  // "" for none
  bool absolute;           // the executable's path is given from the root
  std::string expected;    // the search's answer, after the directory if absolute
};

class SdkSearch : public testing::TestWithParam<LayoutCase> {};

TEST_P(SdkSearch, FindsTheSdkFromTheExecutable) {
  const LayoutCase& layout = GetParam();
  WorkingDirectory directory;
  std::filesystem::create_directories("build/dev/bin");
  std::filesystem::create_directories("prefix/lib/orvo/libexec/orvo/bin");
  std::filesystem::create_directories(layout.sdk + "/zandor");
  directory.Write(layout.sdk + "/zandor/__version__.py", "");
  if (layout.executable.empty()) std::filesystem::current_path("build");
  const std::string base = layout.absolute ? directory.path().string() + "/" : "";
  const std::string path = layout.executable.empty() ? "" : base + layout.executable;
  testing::internal::CaptureStderr();
  const std::string found = ConfigurationFileHandler::GetSdkPath(path);
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(found, base + layout.expected);
  EXPECT_EQ(printed, path.empty() ? "" : found + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    , SdkSearch,
    testing::Values(
        LayoutCase{"build_tree", "sdk", "build/dev/bin/orvo", true, "build/dev/bin/../../../sdk/"},
        LayoutCase{"relative", "sdk", "build/dev/bin/orvo", false, "build/dev/bin/../../../sdk/"},
        LayoutCase{"inside_the_sdk", ".", "build/dev/bin/orvo", true, "build/dev/bin/../../../"},
        LayoutCase{"backslashes_cut_too", "sdk", "build/dev/bin\\orvo", true,
                   "build/dev/bin/../../../sdk/"},
        LayoutCase{"installed", "prefix/lib/orvo/sdk", "prefix/lib/orvo/libexec/orvo/bin/orvo",
                   true, "prefix/lib/orvo/libexec/orvo/bin/../../../sdk/"},
        LayoutCase{"no_executable", "sdk", "", false, "../sdk/"}),
    [](const auto& test) { return test.param.name; });

TEST(SdkPath, FailureNamesTheLastCandidate) {
  WorkingDirectory directory;
  EXPECT_EQ(ErrorOf([] { ConfigurationFileHandler::GetSdkPath("a/b/c/orvo"); }),
            "OrvoError: ConfigurationFileHandler: Can't get sdk path: a/b/c/../../../");
  EXPECT_EQ(ErrorOf([] { ConfigurationFileHandler::GetSdkPath(""); }),
            "OrvoError: ConfigurationFileHandler: Can't get sdk path: ../sdk/");
}

TEST(SdkPath, MissingDefaultBoardIsNamed) {
  WorkingDirectory directory;
  std::filesystem::create_directories("sdk/zandor");
  std::filesystem::create_directories("build/dev/bin");
  directory.Write("sdk/zandor/__version__.py", "");
  ConfigurationFileHandler board;
  EXPECT_EQ(ErrorOf([&] { board.InitConfigFromDefault("nrf52832", "build/dev/bin/orvo"); }),
            "OrvoError: ConfigurationFileHandler: Can't load default configuration: "
            "build/dev/bin/../../../sdk/zandor/platforms/default-boards/"
            "nrf52832_default_board.json");
}

TEST(PlugInFiles, PlainNameComesFirst) {
  WorkingDirectory directory;
  const std::string base = std::filesystem::current_path().string() + "/Sensor";
  EXPECT_EQ(ConfigurationFileHandler::GetDefaultSoFileName("Sensor"), base + "_linux.so");
  directory.Write("Sensor.so", "");
  EXPECT_EQ(ConfigurationFileHandler::GetDefaultSoFileName("Sensor"), base + ".so");
}

// The boards that come with the system, found as its executable finds them.
class DefaultBoards : public testing::TestWithParam<const char*> {};

TEST_P(DefaultBoards, NameTheirChipAndItsControlPeripheral) {
  const std::string platform = GetParam();
  ASSERT_TRUE(IsPlatformSupported(platform));
  WorkingDirectory directory;  // without a board of the user
  ConfigurationFileHandler board;
  board.Init(platform, nullptr, std::filesystem::read_symlink("/proc/self/exe"));
  EXPECT_EQ(board.GetComponents().at(0).at("class"), platform);
  const nlohmann::json& internal = board.GetInternalsPeripherals();
  EXPECT_EQ(internal.at(0).at("class"), "SUDO");
  EXPECT_EQ(internal.at(0).at("name"), "SUDO");
  EXPECT_FALSE(board.GetConfigPins().empty());
}

INSTANTIATE_TEST_SUITE_P(, DefaultBoards,
                         testing::Values("nrf52832", "nrf52840", "stm32f401", "stm32f407",
                                         "stm32f410", "stm32f411", "stm32f413", "stm32f429",
                                         "stm32f446", "stm32l475", "stm32l476", "mk64fn1m0vll12"));

}  // namespace
}  // namespace orvo
