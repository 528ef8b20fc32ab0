// A fresh directory as the current one, for code that reads and writes files there.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace orvo {

class TempDirectory : public testing::Test {
 protected:
  TempDirectory() : before_(std::filesystem::current_path()) {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvo_test_XXXXXX").string();
    directory_ = ::mkdtemp(pattern.data());
    std::filesystem::current_path(directory_);
  }
  ~TempDirectory() override {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(directory_);
  }

  static void Write(const std::string& name, const std::string& text) {
    std::ofstream(name, std::ios::binary) << text;
  }
  static std::string Read(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::filesystem::path before_;
  std::filesystem::path directory_;
};

}  // namespace orvo
