// Numbers and bytes as text, and the search for files.
#pragma once

#include <string>

namespace orvo {

// Lower-case hexadecimal without padding or prefix.
std::string IntToHex(unsigned value);
// Reads hexadecimal digits, with or without "0x"; throws UserError on anything else.
unsigned HexToInt(const std::string& text);
// Each byte of the text as two lower-case hexadecimal digits, and back.
std::string StringToHex(const std::string& text);
std::string HexToString(const std::string& hex);

// The real path of a readable file, or an empty string.
std::string GetFilePath(const std::string& path);
// The first of `first`, `second`, and `second` in the directory of argv0 that opens, as real path;
// an empty string when none does.
std::string GetFilePath(const std::string& argv0, const std::string& first,
                        const std::string& second);

}  // namespace orvo
