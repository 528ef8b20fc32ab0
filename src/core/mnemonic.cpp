#include "core/mnemonic.h"

#include <algorithm>
#include <cstring>

namespace orvo {
namespace {

constexpr unsigned kNoCondition = 0;
constexpr unsigned kAlways = 15;

bool StartsWith(const std::string& text, const char* beginning) {
  return text.rfind(beginning, 0) == 0;
}

bool Contains(std::string_view text, const char* part) {
  return text.find(part) != std::string_view::npos;
}

}  // namespace

bool IsListInstruction(std::string_view text) {
  return Contains(text, "pop") || Contains(text, "push") || Contains(text, "stm") ||
         Contains(text, "ldm");
}

void normalize_mnemonic_name(char* mnemonic, unsigned long size) {
  char* out = mnemonic;
  for (unsigned long in = 0; in < size && mnemonic[in] != '\0'; ++in) {
    const char c = mnemonic[in] == '.' ? '_' : mnemonic[in];
    const bool wide = c == '_' && in + 1 < size && mnemonic[in + 1] == 'w';
    if (wide) {
      ++in;
    } else {
      *out++ = c;
    }
  }
  if (out < mnemonic + size) *out = '\0';
}

std::string GetMnemonicName(const MnemonicParts& parts) {
  if (StartsWith(parts.mnemonic, "nop")) return "nop_" + std::to_string(parts.size_bytes);
  if (StartsWith(parts.mnemonic, "it")) return "it";

  std::string text = parts.mnemonic;
  normalize_mnemonic_name(text.data(), text.size());
  text.resize(std::strlen(text.c_str()));
  if (parts.cc != kAlways && parts.cc != kNoCondition) {
    const size_t head = std::min(text.find('_'), text.size());
    if (head >= 2) text.erase(head - 2, 2);
    text += "_cc";
  }
  if (!IsListInstruction(text)) text += "_" + std::to_string(parts.op_count);
  if (parts.writeback) text += "_writeback";
  return text;
}

}  // namespace orvo
