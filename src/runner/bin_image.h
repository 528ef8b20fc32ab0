// A raw binary: the bytes of flash from its base on.
#pragma once

#include <string>

#include "runner/image.h"

namespace orvo {

class BinImage : public Image {
 public:
  using Image::Image;

  void Load() override;
  void StartRead() override;
  // A short last word is filled up with zero bytes. Deliberate: behind a last word that is whole
  // stands one more pair of value 0, at the end of the file.
  bool GetNextData(unsigned* address, unsigned* value) override;
  unsigned long Size() const override { return size_bytes_; }

 private:
  unsigned offset_ = 0;
  unsigned long size_bytes_ = 0;
};

}  // namespace orvo
