// The search for the SDK, and the default boards that come with it. From build tree, installed tree
// and links: tests/system/placement_test.cpp.
#include <gmock/gmock.h>

#include "config/configuration_file_handler.h"
#include "mcu/platform.h"
#include "unit/config/working_directory.h"

namespace orvo {
namespace {

TEST(SdkPath, StartsAtTheExecutableOrAtTheCurrentDirectory) {
  struct LayoutCase {
    const char* sdk;  // where it stands, in the directory of the test
    const char* executable;
    const char* found;
  };
  for (const LayoutCase& c :
       {LayoutCase{"sdk", "build/dev/bin/orvo", "build/dev/bin/../../../sdk/"},
        LayoutCase{"sdk", "build/dev/bin\\orvo", "build/dev/bin/../../../sdk/"},
        LayoutCase{".", "build/dev/bin/orvo", "build/dev/bin/../../../"},
        LayoutCase{"sdk", "", "../sdk/"}}) {
    const WorkingDirectory directory;
    std::filesystem::create_directories("build/dev/bin");
    std::filesystem::create_directories(std::string(c.sdk) + "/zandor");
    directory.Write(std::string(c.sdk) + "/zandor/__version__.py", "");
    const bool named = c.executable[0] != '\0';
    if (!named) std::filesystem::current_path("build");
    testing::internal::CaptureStderr();
    const std::string found = ConfigurationFileHandler::GetSdkPath(c.executable);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), named ? found + "\n" : "");
    EXPECT_EQ(found, c.found);
  }
}

TEST(SdkPath, FailureNamesTheLastCandidateOrTheMissingBoard) {
  const WorkingDirectory directory;
  const auto load = [](const char* executable) {
    return ErrorOf(
        [&] { ConfigurationFileHandler().InitConfigFromDefault("nrf52832", executable); });
  };
  EXPECT_EQ(load("a/b/c/orvo"),
            "OrvoError: ConfigurationFileHandler: Can't get sdk path: a/b/c/../../../");
  EXPECT_EQ(load(""), "OrvoError: ConfigurationFileHandler: Can't get sdk path: ../sdk/");
  std::filesystem::create_directories("sdk/zandor");
  std::filesystem::create_directories("build/dev/bin");
  directory.Write("sdk/zandor/__version__.py", "");
  EXPECT_EQ(load("build/dev/bin/orvo"),
            "OrvoError: ConfigurationFileHandler: Can't load default configuration: "
            "build/dev/bin/../../../sdk/zandor/platforms/default-boards/"
            "nrf52832_default_board.json");
}

TEST(PlugInFiles, PlainNameComesFirst) {
  const WorkingDirectory directory;
  const std::string base = std::filesystem::current_path().string() + "/Sensor";
  EXPECT_EQ(ConfigurationFileHandler::GetDefaultSoFileName("Sensor"), base + "_linux.so");
  directory.Write("Sensor.so", "");
  EXPECT_EQ(ConfigurationFileHandler::GetDefaultSoFileName("Sensor"), base + ".so");
}

// The boards that come with the system, found as its executable finds them.
TEST(DefaultBoards, NameTheirChipAndItsControlPeripheral) {
  const WorkingDirectory directory;  // without a board of the user
  for (const char* platform :
       {"nrf52832", "nrf52840", "stm32f401", "stm32f407", "stm32f410", "stm32f411", "stm32f413",
        "stm32f429", "stm32f446", "stm32l475", "stm32l476", "mk64fn1m0vll12"}) {
    SCOPED_TRACE(platform);
    ConfigurationFileHandler board;
    board.Init(platform, nullptr, std::filesystem::read_symlink("/proc/self/exe"));
    EXPECT_EQ(board.GetComponents().at(0).at("class"), platform);
    const nlohmann::json& internal = board.GetInternalsPeripherals();
    EXPECT_EQ(internal.at(0).at("class"), "SUDO");
    EXPECT_EQ(internal.at(0).at("name"), "SUDO");
    EXPECT_FALSE(board.GetConfigPins().empty());
  }
}

}  // namespace
}  // namespace orvo
