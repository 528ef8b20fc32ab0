#include "analysis/coverage_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace orvo {
namespace {

namespace fs = std::filesystem;

// A "source" of more bytes than this is something else.
constexpr size_t kMaxSourceBytes = 16u << 20;

bool IsFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error);
}

// The format has no way to write a line end inside a name.
std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }, '?');
  return text;
}

}  // namespace

std::string FindSource(const std::string& name) {
  if (IsFile(name)) return name;
  fs::path rest = fs::path(name).lexically_normal().relative_path();
  while (!rest.empty()) {
    if (*rest.begin() != ".." && IsFile(rest)) return rest.string();
    fs::path shorter;
    for (auto part = std::next(rest.begin()); part != rest.end(); ++part) shorter /= *part;
    rest = shorter;
  }
  return {};
}

std::vector<std::string> ReadSource(const std::string& path) {
  std::error_code error;
  const auto size = fs::file_size(path, error);
  if (error || size > kMaxSourceBytes) return {};
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    if (line.ends_with('\r')) line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

bool WriteLcovFile(const std::string& path, const LinesStatus& lines) {
  std::ofstream file(path, std::ios::trunc);
  for (auto line = lines.begin(); line != lines.end();) {
    const std::string& name = line->first.first;
    const std::string source = FindSource(name);
    file << "TN:\nSF:" << OneLine(source.empty() ? name : fs::absolute(source).string()) << '\n';
    unsigned covered = 0;
    unsigned total = 0;
    for (; line != lines.end() && line->first.first == name; ++line) {
      file << "DA:" << line->first.second << ',' << line->second << '\n';
      covered += line->second;
      ++total;
    }
    file << "LF:" << total << "\nLH:" << covered << "\nend_of_record\n";
  }
  file.close();
  return file.good();
}

}  // namespace orvo
