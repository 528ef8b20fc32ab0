// A tree like that of the system, with one default board, in a directory of its own.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "config/configuration_file_handler.h"
#include "config/scenario_file_handler.h"
#include "unit/config/working_directory.h"

namespace orvo {

struct BoardBench {
  static constexpr char kDefaultBoard[] = R"({"components": [
      {"class": "nrf52832", "name": "chip", "type": "MCU", "config": {
          "HSE": 16000000, "ram_size": 4096,
          "internal_peripherals": [{"class": "SUDO", "name": "SUDO"}]}},
      {"class": "Button", "name": "Default button", "type": "Peripheral"}]})";

  WorkingDirectory directory;
  ScenarioFileHandler scenario;
  ConfigurationFileHandler board;

  explicit BoardBench(const std::string& default_board = kDefaultBoard,
                      const std::string& platform = "nrf52832") {
    const std::filesystem::path boards = "sdk/zandor/platforms/default-boards";
    std::filesystem::create_directories(boards);
    std::filesystem::create_directories("build/dev/bin");
    directory.Write("sdk/zandor/__version__.py", "");
    directory.Write(boards / (platform + "_default_board.json"), default_board);
  }

  std::string Executable() const { return directory.path() / "build/dev/bin/orvo"; }

  // Loads the default board and, if it isn't empty, this board.json over it.
  void Load(const std::string& board_json = "", const std::string& platform = "nrf52832") {
    if (!board_json.empty()) directory.Write("board.json", board_json);
    testing::internal::CaptureStderr();  // the accepted SDK path
    try {
      board.Init(platform, &scenario, Executable());
    } catch (...) {
      testing::internal::GetCapturedStderr();
      throw;
    }
    testing::internal::GetCapturedStderr();
  }
};

}  // namespace orvo
