// A run must not write over what it reads, nor over what it writes.
#pragma once

#include <string>
#include <vector>

#include "runner/args_manager.h"

namespace orvo {

struct InputFile {
  std::string meaning;  // "the firmware image"
  std::string path;
};

// Throws UserError if a file that an option has the run write is one of these inputs, under
// whatever path or link.
void RefuseToOverwrite(const ArgsManager& args, const std::vector<InputFile>& inputs);
// Throws UserError if two options have the run write the same file.
void RefuseSharedOutputs(const ArgsManager& args);
// All inputs that the options and the current directory name, scenarios' data files not included.
std::vector<InputFile> InputFiles(const ArgsManager& args);

}  // namespace orvo
