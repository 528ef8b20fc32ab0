#include "runner/output_files.h"

#include <filesystem>
#include <utility>

#include "runner/errors.h"

namespace orvo {

namespace {

constexpr std::string_view kFilePrefix = "file:";

bool IsSameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  return std::filesystem::is_regular_file(a, error) && std::filesystem::equivalent(a, b, error);
}

}  // namespace

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
  const bool uart_to_file = args.uart_output_type == ArgsManager::kFile;
  const std::pair<const char*, std::string> outputs[] = {
      {"--uart_output", uart_to_file ? args.uart_output.substr(kFilePrefix.size()) : ""},
      {"--trace-dest", args.trace_dest},
      {"--output", args.output},
      {"--vcd", args.vcd},
      {"--coverage-lcov", args.coverage_lcov}};
  for (const auto& [option, path] : outputs) {
    for (const InputFile& input : inputs) {
      if (!IsSameFile(path, input.path)) continue;
      throw UserError(std::string(option) + " would overwrite " + input.meaning + ": " + path);
    }
  }
}

}  // namespace orvo
