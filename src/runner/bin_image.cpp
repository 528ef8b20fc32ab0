#include "runner/bin_image.h"

namespace orvo {

void BinImage::Load() {
  Open("Unable to open bin file: ");
  stream_.seekg(0, std::ios::end);
  size_bytes_ = static_cast<unsigned long>(stream_.tellg());
}

void BinImage::StartRead() {
  stream_.clear();
  stream_.seekg(0);
  offset_ = 0;
}

bool BinImage::GetNextData(unsigned* address, unsigned* value) {
  if (!stream_) return false;
  *value = 0;
  stream_.read(reinterpret_cast<char*>(value), sizeof(*value));
  *address = flash_base_ + offset_;
  offset_ += sizeof(*value);
  return true;
}

}  // namespace orvo
