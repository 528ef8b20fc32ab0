// The search for the files that come with the system. It starts at the executable, so that it works
// from a build tree (build/<preset>/bin), from the installed tree (lib/orvo/libexec/orvo/bin) and
// from inside an SDK.
#include <filesystem>
#include <fstream>
#include <iostream>

#include "config/configuration_file_handler.h"
#include "runner/errors.h"

namespace orvo {

std::string ConfigurationFileHandler::GetSdkPath(const std::string& executable_path) {
  std::string candidate = "../sdk/";
  if (executable_path.empty()) {
    if (IsSdkPathExist(candidate)) return candidate;
  } else {
    const size_t separator = executable_path.find_last_of("/\\");
    const std::string directory =
        separator == std::string::npos ? "." : executable_path.substr(0, separator);
    for (const char* relative : {"/../../../sdk/", "/../../../"}) {
      candidate = directory + relative;
      if (!IsSdkPathExist(candidate)) continue;
      std::cerr << candidate << std::endl;
      return candidate;
    }
  }
  throw OrvoError("ConfigurationFileHandler: Can't get sdk path: " + candidate);
}

bool ConfigurationFileHandler::IsSdkPathExist(const std::string& candidate) {
  return std::ifstream(candidate + "zandor/__version__.py").is_open();
}

std::string ConfigurationFileHandler::GetBoardJsonPath(const std::string& platform,
                                                       const std::string& executable_path) {
  return GetSdkPath(executable_path) + "zandor/platforms/default-boards/" + platform +
         "_default_board.json";
}

std::string ConfigurationFileHandler::GetDefaultSoFileName(const std::string& name) {
  const std::string base = std::filesystem::current_path().string() + "/" + name;
  const std::string plain = base + ".so";
  return std::filesystem::exists(plain) ? plain : base + "_linux.so";
}

}  // namespace orvo
