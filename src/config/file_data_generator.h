// "FILE": values recorded in a text file, one per line.
// A first line "!char-count:5" says that every line after it has five characters; such a file is
// read by step number. It must not end with a newline, since what follows one counts as a record
// that can't be read; a warning tells of it.
// Without that line values are read one after another, from the top again after the last.
#pragma once

#include <fstream>
#include <string>

#include "config/data_generator.h"

namespace orvo {

class FileDataGenerator : public DataGenerator {
 public:
  // Throws UserError if the file can't be opened, its first line is malformed, a record isn't of
  // its width, or the config has timing and the file no such line.
  FileDataGenerator(const JsonPlace& config, std::string kind);

  const std::string& path() const { return path_; }

 protected:
  // These throw OrvoError where the file holds no value of the type.
  int DoGetNextInt32(unsigned long step) override;
  double DoGetNextDouble(unsigned long step) override;
  short DoGetNextInt16(unsigned long step) override;
  unsigned char DoGetNextUInt8(unsigned long step) override;
  std::string DoGetNextString(unsigned long step) override;

 private:
  void Open(const JsonPlace& path);
  void ReadHeader(const JsonPlace& path, const std::string& line);
  void CheckWidths(const JsonPlace& path);
  void SeekRecord(unsigned long step);
  void SeekNext();
  template <class T>
  T ReadValue(unsigned long step);

  std::string path_;
  std::ifstream file_;
  unsigned long records_ = 0;
  unsigned long record_width_ = 0;  // characters, without the newline; 0 in sequential mode
  unsigned long header_length_ = 0;
};

}  // namespace orvo
