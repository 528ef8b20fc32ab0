#include "runner/hex_image.h"

#include <algorithm>
#include <charconv>
#include <iostream>

#include "runner/errors.h"
#include "runner/logger.h"

namespace orvo {
namespace {

// The layout of a record in characters.
constexpr size_t kByteCountPosition = 1;
constexpr size_t kByteCountWidth = 2;
constexpr size_t kAddressPosition = 3;
constexpr size_t kAddressWidth = 4;
constexpr size_t kTypePosition = 7;
constexpr size_t kTypeWidth = 2;
constexpr size_t kDataPosition = 9;
constexpr size_t kChecksumWidth = 2;
constexpr unsigned kDigitsPerByte = 2;
constexpr unsigned kDigitsPerWord = 8;
constexpr unsigned kBytesPerWord = 4;
constexpr unsigned kBytesPerBase = 2;

enum RecordType : unsigned {
  kData = 0,
  kEndOfFile = 1,
  kExtendedSegmentAddress = 2,
  kStartSegmentAddress = 3,
  kExtendedLinearAddress = 4,
  kStartLinearAddress = 5,
};

bool IsHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

}  // namespace

void HexImage::Load() {
  try {
    Open("Unable to open hex file: ");
  } catch (const UserError& error) {
    logger::debug("HexImage") << error.message();
    throw;
  }
}

void HexImage::StartRead() {
  stream_.clear();
  stream_.seekg(0);
  segment_base_ = linear_base_ = 0;
  line_number_ = 0;
  size_bytes_ = 0;
  end_of_file_ = false;
  ReadLine();
}

bool HexImage::GetNextData(unsigned* address, unsigned* value) {
  if (end_of_file_) return false;
  if (byte_count_ < kBytesPerWord)
    throw OrvoError("Parsing hex file was failed (" + Place() + "a data record of " +
                    std::to_string(byte_count_) + " bytes, less than a word)");
  *address = write_address_;
  // The text has the bytes in the order of memory.
  *value = __builtin_bswap32(Number(kDataPosition + position_, kDigitsPerWord));
  position_ += kDigitsPerWord;
  const unsigned consumed = position_ / kDigitsPerByte;
  if (consumed == byte_count_) {
    ReadLine();
  } else if (const unsigned left = byte_count_ - consumed; left >= kBytesPerWord) {
    write_address_ += kBytesPerWord;
  } else {
    write_address_ += left;
    position_ -= (kBytesPerWord - left) * kDigitsPerByte;
  }
  return true;
}

void HexImage::SkipToEnd() {
  while (!end_of_file_) ReadLine();
}

void HexImage::ReadLine() {
  for (;;) {
    ReadRecord();
    byte_count_ = Number(kByteCountPosition, kByteCountWidth);
    type_ = Number(kTypePosition, kTypeWidth);
    position_ = 0;
    write_address_ = segment_base_ + linear_base_ + Number(kAddressPosition, kAddressWidth);
    switch (type_) {
      case kData:
        size_bytes_ += byte_count_;
        return;
      case kEndOfFile:
        end_of_file_ = true;
        return;
      case kExtendedSegmentAddress:
        segment_base_ = Base() << 4;
        break;
      case kStartSegmentAddress:
      case kStartLinearAddress:
        break;
      case kExtendedLinearAddress:
        linear_base_ = Base() << 16;
        break;
      default:
        std::cerr << "Warning: " << Place() << "a record of unknown type " << type_
                  << " has no effect\n";
    }
  }
}

void HexImage::ReadRecord() {
  do {
    ++line_number_;
    if (!std::getline(stream_, line_))
      throw UserError("Image: " + Place() + "the file ends without an end-of-file record");
    line_.erase(line_.find_last_not_of(" \t\r") + 1);  // the end of a line may be CR LF
  } while (line_.empty());

  const auto fail = [this](const std::string& reason) {
    throw UserError("Image: " + Place() + reason);
  };
  if (line_[0] != ':') fail("not a HEX record, which begins with a colon");
  const auto garbage = std::find_if_not(line_.begin() + 1, line_.end(), IsHexDigit);
  if (garbage != line_.end())
    fail("no hexadecimal digit in column " + std::to_string(garbage - line_.begin() + 1));
  if (line_.size() % 2 == 0) fail("an odd number of hexadecimal digits");
  if (line_.size() < kDataPosition + kChecksumWidth)
    fail("a record shorter than its byte count, address, type and checksum");
  const size_t told = Number(kByteCountPosition, kByteCountWidth);
  const size_t there = (line_.size() - kDataPosition - kChecksumWidth) / kDigitsPerByte;
  if (told != there)
    fail("the byte count tells of " + std::to_string(told) + " bytes of data, but there are " +
         std::to_string(there));
}

unsigned HexImage::Number(size_t position, size_t width) const {
  unsigned value = 0;
  const char* begin = line_.data() + position;
  std::from_chars(begin, begin + width, value, 16);
  return value;
}

unsigned HexImage::Base() const {
  if (byte_count_ != kBytesPerBase)
    throw UserError("Image: " + Place() + "a base address of " + std::to_string(byte_count_) +
                    " bytes instead of 2");
  return Number(kDataPosition, kBytesPerBase * kDigitsPerByte);
}

std::string HexImage::Place() const { return path_ + ":" + std::to_string(line_number_) + ": "; }

}  // namespace orvo
