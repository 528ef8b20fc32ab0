#include "analysis/function_tracer.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string_view>

#include "runner/args_manager.h"
#include "runner/errors.h"

namespace orvo {
namespace {

// The value of hexadecimal digits.
unsigned HexToDec(std::string_view digits) {
  unsigned value = 0;
  if (std::from_chars(digits.begin(), digits.end(), value, 16).ec != std::errc())
    throw OrvoError("Internal error in call-trace during calc regex on dump file (address " +
                    std::string(digits) + ")");
  return value;
}

}  // namespace

FunctionTracer::FunctionTracer() {
  const std::string& path = ArgsManager::Get().objdump;
  if (path.empty()) return;
  std::ifstream listing;
  // Only a regular file: a pipe without a writer blocks for ever.
  if (std::filesystem::is_regular_file(path)) listing.open(path);
  if (!listing.is_open()) std::cerr << "Warning: can't open " << path << ", no function has a name\n";
  Read(listing);
  const bool wanted = ArgsManager::Get().trace.find("functions") != std::string::npos;
  if (wanted && listing.is_open() && functions_.empty())
    std::cerr << "Warning: " << path << " names no function, as \"00000400 <main>:\" does\n";
}

// Takes the lines of the form ([0-9a-fA-F]+) <(.*)>: and skips all others.
void FunctionTracer::Read(std::istream& listing) {
  constexpr std::string_view kBeforeName = " <";
  constexpr std::string_view kAfterName = ">:";
  std::string text;
  while (std::getline(listing, text)) {
    std::string_view line = text;
    if (line.ends_with('\r')) line.remove_suffix(1);
    const size_t digits = line.find_first_not_of("0123456789abcdefABCDEF");
    if (digits == 0 || digits == std::string_view::npos) continue;
    std::string_view name = line.substr(digits);
    if (!name.starts_with(kBeforeName) || !name.ends_with(kAfterName)) continue;
    name.remove_prefix(kBeforeName.size());
    name.remove_suffix(kAfterName.size());

    functions_[HexToDec(line.substr(0, digits))] = name;
  }
}

void FunctionTracer::TraceEnterToNewFunction(unsigned pc, std::ostream& stream) {
  if (functions_.empty()) return;
  const std::string& name = GetFunctionName(pc);
  if (name == last_name_) return;
  stream << "Enter function: " << name << std::endl;
  last_name_ = name;
}

const std::string& FunctionTracer::GetFunctionName(unsigned pc) const {
  static const std::string kNoName = "unkown";
  const auto found = functions_.find(pc);
  return found == functions_.end() ? kNoName : found->second;
}

}  // namespace orvo
