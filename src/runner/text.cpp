#include "runner/text.h"

#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <memory>

#include "runner/errors.h"

namespace orvo {
namespace {

constexpr char kDigits[] = "0123456789abcdef";

}  // namespace

std::string IntToHex(unsigned value) {
  char text[8];
  const auto end = std::to_chars(text, text + sizeof(text), value, 16).ptr;
  return {text, end};
}

unsigned HexToInt(const std::string& text) {
  const char* begin = text.data();
  const char* end = begin + text.size();
  if (text.starts_with("0x") || text.starts_with("0X")) begin += 2;
  unsigned value = 0;
  const auto [rest, error] = std::from_chars(begin, end, value, 16);
  if (error == std::errc::result_out_of_range)
    throw UserError("Hexadecimal number doesn't fit into 32 bits: '" + text + "'");
  if (error != std::errc() || rest != end)
    throw UserError("Not a hexadecimal number: '" + text + "'");
  return value;
}

std::string StringToHex(const std::string& text) {
  std::string hex;
  hex.reserve(2 * text.size());
  for (const unsigned char byte : text) {
    hex += kDigits[byte >> 4];
    hex += kDigits[byte & 15];
  }
  return hex;
}

std::string HexToString(const std::string& hex) {
  if (hex.size() % 2 != 0) throw UserError("Odd number of hexadecimal digits: " + hex);
  std::string text;
  text.reserve(hex.size() / 2);
  for (size_t i = 0; i < hex.size(); i += 2) {
    unsigned char byte = 0;
    const char* end = hex.data() + i + 2;
    if (std::from_chars(hex.data() + i, end, byte, 16).ptr != end)
      throw UserError("Not hexadecimal digits: " + hex);
    text += static_cast<char>(byte);
  }
  return text;
}

std::string GetFilePath(const std::string& path) {
  if (::access(path.c_str(), R_OK) != 0) return {};  // opening a FIFO would wait for its writer
  const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                         &std::free);
  return real == nullptr ? std::string() : std::string(real.get());
}

std::string GetFilePath(const std::string& argv0, const std::string& first,
                        const std::string& second) {
  const std::string directory = argv0.substr(0, argv0.find_last_of("\\/") + 1);
  for (const std::string& candidate : {first, second, directory + second}) {
    if (std::string path = GetFilePath(candidate); !path.empty()) return path;
  }
  return {};
}

}  // namespace orvo
