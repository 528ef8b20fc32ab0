// A directory of its own in which a test runs.
#pragma once

#include <filesystem>

#include "support/error_of.h"
#include "support/temporary_directory.h"

namespace orvo {

// Current until the end of the test.
class WorkingDirectory : public TemporaryDirectory {
 public:
  WorkingDirectory() : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(path());
  }
  ~WorkingDirectory() { std::filesystem::current_path(before_); }

 private:
  std::filesystem::path before_;
};

}  // namespace orvo
