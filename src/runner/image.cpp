#include "runner/image.h"

#include <filesystem>

#include "runner/bin_image.h"
#include "runner/errors.h"
#include "runner/hex_image.h"

namespace orvo {

Image::Image(std::string path, unsigned flash_base)
    : path_(std::move(path)), flash_base_(flash_base) {}

std::unique_ptr<Image> Image::CreateImage(const std::string& path, unsigned flash_base) {
  if (path.ends_with(".hex")) return std::make_unique<HexImage>(path, flash_base);
  if (path.ends_with(".bin")) return std::make_unique<BinImage>(path, flash_base);
  throw UserError("Image: Unsupported image file (" + path + ": neither .bin nor .hex)");
}

void Image::Load() { Open("Image: Unable to open hex file: "); }

void Image::Close() {
  if (stream_.is_open()) stream_.close();
}

void Image::Open(const std::string& failure) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path_, error);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    throw UserError(failure + path_ + " (not a regular file)");
  stream_.open(path_, std::ios::binary);
  if (!stream_) throw UserError(failure + path_);
  if (stream_.peek() == std::ifstream::traits_type::eof())
    throw UserError("Image file is empty: " + path_);
}

}  // namespace orvo
