// Intel HEX. Source: Intel, "Hexadecimal Object File Format", revision A.
//
//   : LL AAAA TT DD..DD CC     byte count, address, type, data, checksum
//
// The start address records (types 3 and 5) are skipped: the entry point comes from the vector
// table. Deliberate: checksums are not tested, and the segment base of type 2 and the linear base
// of type 4 add up when a file has both.
#pragma once

#include <string>

#include "runner/image.h"

namespace orvo {

class HexImage : public Image {
 public:
  using Image::Image;

  void Load() override;
  void StartRead() override;
  // Words follow each other within a record; the last one of a record whose length isn't a
  // multiple of 4 ends with the record and repeats bytes that were given before. Throws OrvoError
  // for a record of less than a word, UserError for a line that isn't a record and for a file
  // without an end record; both name the line.
  bool GetNextData(unsigned* address, unsigned* value) override;
  unsigned long Size() const override { return size_bytes_; }
  void SkipToEnd() override;

 private:
  // Goes to the next data record, or sets end_of_file_.
  void ReadLine();
  // Reads the next line that isn't blank into line_ and checks its form.
  void ReadRecord();
  // The value of `width` digits from `position` of the line on.
  unsigned Number(size_t position, size_t width) const;
  // The data field of a record that sets a base.
  unsigned Base() const;
  // "file:line: ", before the reason of an error.
  std::string Place() const;

  unsigned segment_base_ = 0;
  unsigned linear_base_ = 0;
  unsigned write_address_ = 0;
  unsigned position_ = 0;  // in the data field, in digits
  unsigned byte_count_ = 0;
  unsigned type_ = 0;
  bool end_of_file_ = false;
  std::string line_;
  unsigned line_number_ = 0;
  unsigned long size_bytes_ = 0;
};

}  // namespace orvo
