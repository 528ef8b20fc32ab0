// Recorded values, read by step number or one after another.
#include "config/file_data_generator.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <limits>
#include <utility>

#include "runner/errors.h"

namespace orvo {

FileDataGenerator::FileDataGenerator(const JsonPlace& config, std::string kind)
    : DataGenerator(config, std::move(kind)) {
  const JsonPlace path = Required(config, "path", "Missing 'path' key in data generator: ");
  path_ = path.String();
  if (path.value().is_string()) Open(path);
}

void FileDataGenerator::Open(const JsonPlace& path) {
  // Nothing else can be read by place, and a pipe would wait for a writer.
  std::error_code error;
  if (std::filesystem::is_regular_file(path_, error)) file_.open(path_);
  std::string first, line;
  std::getline(file_, first);
  for (records_ = file_.eof() ? 1 : 2; std::getline(file_, line); records_ += file_.eof() ? 0 : 1) {
  }
  if (!file_.is_open() || file_.bad()) {
    path.Report("Failed to open data file: " + path_);
  } else if (first.starts_with("!")) {
    ReadHeader(path, first);
  } else if (has_timing()) {
    path.Report(
        "Add char-count on the first line in data file (e.g. !char-count:5). Please check your "
        "data generator file");
  }
  file_.clear();
  file_.seekg(0);
}

void FileDataGenerator::ReadHeader(const JsonPlace& path, const std::string& line) {
  --records_;
  header_length_ = line.size();
  const size_t colon = line.rfind(':');
  const char* digits = line.data() + (colon == std::string::npos ? line.size() : colon + 1);
  const char* end = line.data() + line.size();
  unsigned width = 0;
  const auto [rest, error] = std::from_chars(digits, end, width);
  if (error != std::errc{} || rest != end || width == 0 || records_ == 0) {
    path.Report(
        "First line of data generated char-count should be in the following format (e.g. "
        "!char-count:5). Please check your data generator file");
    return;
  }
  record_width_ = width;
  CheckWidths(path);
}

// A record of another width would shift all that follow.
void FileDataGenerator::CheckWidths(const JsonPlace& path) {
  file_.clear();
  file_.seekg(0);
  std::string line;
  std::getline(file_, line);
  for (unsigned long number = 2; std::getline(file_, line); ++number) {
    if (line.size() == record_width_) continue;
    path.Report(path.Place() + ": " + path_ + ", line " + std::to_string(number) + ": expected " +
                std::to_string(record_width_) + " characters as the first line says, found " +
                std::to_string(line.size()));
    return;
  }
  // Deliberate: what follows the last newline is a record too.
  file_.clear();
  file_.seekg(-1, std::ios::end);
  if (file_.get() == '\n') {
    std::cerr << "Warning: " << path_ << " ends with a newline, behind which an empty record "
              << records_ - 1 << " is read" << std::endl;
  }
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
    const std::string place =
        record_width_ == 0 ? "" : ", record " + std::to_string(step % records_);
    throw OrvoError(std::string("Failed to read data generator file: ") + std::strerror(errno) +
                    ": " + path_ + place);
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
