// A directory of its own for a test, removed with all that it holds at the end.
#pragma once

#include <filesystem>
#include <string>

namespace orvo {

class TemporaryDirectory {
 public:
  TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  const std::filesystem::path& path() const { return path_; }
  // Writes a file in the directory and returns its path.
  std::string Write(const std::string& name, const std::string& content) const;
  // The content of a file in the directory; empty if there is none.
  std::string Read(const std::string& name) const;
  bool Has(const std::string& name) const { return std::filesystem::exists(path_ / name); }

 private:
  std::filesystem::path path_;
};

// The whole content of a file; empty if it can't be read.
std::string ReadFile(const std::filesystem::path& path);

}  // namespace orvo
