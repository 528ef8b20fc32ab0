// Recorded values, read by step number or one after another.
#include "config/file_data_generator.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

#include "runner/errors.h"

namespace orvo {

FileDataGenerator::FileDataGenerator(const JsonPlace& config, std::string kind)
    : DataGenerator(config, std::move(kind)) {
  const std::string& path =
      Required(config, "path", "Missing 'path' key in data generator: ").String();
  file_.open(path);
  if (!file_) throw UserError("Failed to open data file: " + path);
  std::string line;
  for (; std::getline(file_, line); records_ += file_.eof() ? 0 : 1) {
  }
  // A directory opens too, and fails at the first read.
  if (file_.bad()) throw UserError("Failed to open data file: " + path);
  ++records_;
  file_.clear();
  file_.seekg(0);
  line.clear();
  std::getline(file_, line);
  if (line.starts_with("!")) {
    ReadHeader(line);
    return;
  }
  if (has_timing()) {
    throw UserError(
        "Add char-count on the first line in data file (e.g. !char-count:5). Please check your "
        "data generator file");
  }
  file_.clear();
  file_.seekg(0);
}

void FileDataGenerator::ReadHeader(const std::string& line) {
  --records_;
  header_length_ = line.size();
  const size_t colon = line.rfind(':');
  const char* digits = line.data() + (colon == std::string::npos ? line.size() : colon + 1);
  const char* end = line.data() + line.size();
  unsigned width = 0;
  const auto [rest, error] = std::from_chars(digits, end, width);
  if (error != std::errc{} || rest != end || width == 0 || records_ == 0) {
    throw UserError(
        "First line of data generated char-count should be in the following format (e.g. "
        "!char-count:5). Please check your data generator file");
  }
  record_width_ = width;
}

// To the newline before the record, which formatted reading skips.
void FileDataGenerator::SeekRecord(unsigned long step) {
  file_.clear();
  file_.seekg(static_cast<std::streamoff>(step % records_ * (record_width_ + 1) + header_length_));
}

// To the next value, past the newline that may stand behind the last one.
void FileDataGenerator::SeekNext() {
  file_.clear();
  file_ >> std::ws;
  if (!file_.eof()) return;
  file_.clear();
  file_.seekg(0);
  if (!file_) throw OrvoError("Failed to return to the bagging of the data generator file");
}

template <class T>
T FileDataGenerator::ReadValue(unsigned long step) {
  if (!file_.is_open()) throw OrvoError("Data generator file was closed");
  errno = 0;
  if (record_width_ != 0) {
    SeekRecord(step);
  } else {
    SeekNext();
  }
  T value{};
  file_ >> value;
  if (file_.fail()) {
    throw OrvoError(std::string("Failed to read data generator file: ") + std::strerror(errno));
  }
  return value;
}

int FileDataGenerator::DoGetNextInt32(unsigned long step) { return ReadValue<int>(step); }

double FileDataGenerator::DoGetNextDouble(unsigned long step) { return ReadValue<double>(step); }

short FileDataGenerator::DoGetNextInt16(unsigned long step) { return ReadValue<short>(step); }

// Read as a number, not as a character.
unsigned char FileDataGenerator::DoGetNextUInt8(unsigned long step) {
  return static_cast<unsigned char>(ReadValue<unsigned short>(step));
}

std::string FileDataGenerator::DoGetNextString(unsigned long step) {
  return ReadValue<std::string>(step);
}

}  // namespace orvo
