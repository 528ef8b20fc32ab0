#include "runner/output_files.h"

#include <filesystem>
#include <map>

#include "analysis/elf_handler.h"
#include "runner/errors.h"

namespace orvo {

namespace {

constexpr std::string_view kFilePrefix = "file:";

bool IsSameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  return std::filesystem::is_regular_file(a, error) && std::filesystem::equivalent(a, b, error);
}

struct OutputFile {
  const char* option;
  std::string path;  // empty: none
};

std::vector<OutputFile> OutputFiles(const ArgsManager& args) {
  const bool uart_to_file = args.uart_output.starts_with(kFilePrefix);
  return {{"--uart_output", uart_to_file ? args.uart_output.substr(kFilePrefix.size()) : ""},
          {"--trace-dest", args.trace_dest},
          {"--output", args.output},
          {"--vcd", args.vcd},
          {"--coverage-lcov", args.coverage_lcov},
          {"--code-coverage", args.code_coverage ? ElfHandler::kCoverageReportFileName : ""}};
}

// Where the file is or will be; empty for none, and for a device or pipe: several may write there.
std::filesystem::path FinalPlace(const std::string& path) {
  if (path.empty()) return {};
  std::error_code error;
  if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error))
    return {};
  return std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
}

}  // namespace

void RefuseSharedOutputs(const ArgsManager& args) {
  std::map<std::filesystem::path, const char*> options;
  for (const auto& [option, path] : OutputFiles(args)) {
    const std::filesystem::path place = FinalPlace(path);
    if (place.empty()) continue;
    if (const auto [other, is_new] = options.try_emplace(place, option); !is_new)
      throw UserError(std::string(other->second) + " and " + option + " would both write " + path);
  }
}

std::vector<InputFile> InputFiles(const ArgsManager& args) {
  return {{"the firmware image", args.image},
          {"the trace to compare with", args.input_dump},
          {"the listing of --objdump", args.objdump},
          {"the board", "board.json"},
          {"the board", "bsp.json"},
          {"the scenario", "scenario.json"},
          {"the program with debug information", ".zandor/program.elf"},
          {"the program with debug information", "program.elf"}};
}

void RefuseToOverwrite(const ArgsManager& args, const std::vector<InputFile>& inputs) {
  for (const auto& [option, path] : OutputFiles(args)) {
    for (const InputFile& input : inputs) {
      if (!IsSameFile(path, input.path)) continue;
      throw UserError(std::string(option) + " would overwrite " + input.meaning + ": " + path);
    }
  }
}

}  // namespace orvo
