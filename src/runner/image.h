// Firmware files: raw binaries and Intel HEX, read as a sequence of (address, word) pairs.
// Anything else, ELF files included, is refused.
#pragma once

#include <fstream>
#include <memory>
#include <string>

namespace orvo {

class Image {
 public:
  Image(std::string path, unsigned flash_base);
  virtual ~Image() = default;

  // Picks the class by the last four characters, ".bin" or ".hex"; throws UserError otherwise.
  static std::unique_ptr<Image> CreateImage(const std::string& path, unsigned flash_base);

  // Opens the file; throws UserError when it can't, or when nothing stands in it.
  virtual void Load();
  // Goes to the first pair.
  virtual void StartRead() = 0;
  // Gives the next word and its absolute address; false at the end.
  virtual bool GetNextData(unsigned* address, unsigned* value) = 0;
  virtual void Close();
  // Bytes of data in the file, as far as it was read: wholly after the last pair.
  virtual unsigned long Size() const = 0;
  // Gives up the words that are left, so that the size is known.
  virtual void SkipToEnd() {}

 protected:
  // Opens a regular file that isn't empty. Errors begin with `failure` and the path.
  void Open(const std::string& failure);

  std::string path_;
  std::ifstream stream_;
  unsigned flash_base_;
};

}  // namespace orvo
