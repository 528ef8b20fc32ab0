// Loading and merging the board files.
#include "config/configuration_file_handler.h"

#include <filesystem>
#include <fstream>

#include "runner/errors.h"
#include "runner/logger.h"

namespace orvo {

void ConfigurationFileHandler::Init(const std::string& platform, ScenarioFileHandler* scenario,
                                    const std::string& executable_path, ProblemList* problems) {
  logger::debug("ConfigurationFileHandler") << "Init";
  names_.clear();
  problems_ = problems;
  InitConfigFromDefault(platform, executable_path);
  for (const char* file : {"board.json", "bsp.json"}) {
    // One that exists and can't be read is an error, not a reason to take the next.
    if (!std::filesystem::exists(std::filesystem::symlink_status(file))) continue;
    InitConfigFromBoardDotJson(file, scenario);
    break;
  }
  CheckMcuConfig();
}

void ConfigurationFileHandler::InitConfigFromDefault(const std::string& platform,
                                                     const std::string& executable_path) {
  const std::string path = GetBoardJsonPath(platform, executable_path);
  if (!std::ifstream(path)) {
    throw OrvoError("ConfigurationFileHandler: Can't load default configuration: " + path);
  }
  document_ = ReadJsonFile(path);
  file_ = path;
  paths_.clear();
  names_pins_ = false;
  InitPinsConfig(platform);
}

void ConfigurationFileHandler::InitConfigFromBoardDotJson(const std::string& file,
                                                          ScenarioFileHandler* scenario) {
  RemoveDefaultComponents();
  file_ = file;
  const nlohmann::json board = ReadJsonFile(file, problems_);
  const JsonPlace root(board, file, "", problems_);
  if (root.HasProblems() && board.is_null()) return;  // can't be read at all
  root.Object();
  root.WarnOfOtherKeys({"components", "DataGenerators"});
  InitComponents(root);
  InitDataGenerators(root, scenario);
}

}  // namespace orvo
