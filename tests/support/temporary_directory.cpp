#include "support/temporary_directory.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace orvo {

TemporaryDirectory::TemporaryDirectory() {
  // The space shows that no path is taken apart on its way.
  std::string name = std::filesystem::temp_directory_path() / "orvo test-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed: " + name);
  path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryDirectory::Write(const std::string& name, const std::string& content) const {
  std::ofstream(path_ / name, std::ios::binary) << content;
  return path_ / name;
}

std::string TemporaryDirectory::Read(const std::string& name) const {
  return ReadFile(path_ / name);
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace orvo
