#include "runner/args_manager.h"

// Without it the library includes <regex>, of which GCC 12 warns when sanitisers are on.
#define CXXOPTS_NO_REGEX true
#include <algorithm>
#include <cctype>
#include <cxxopts.hpp>
#include <filesystem>
#include <iostream>
#include <limits>
#include <type_traits>
#include <vector>

#include "analysis/trace_options.h"
#include "control/listen_address.h"
#include "mcu/platform.h"
#include "runner/errors.h"
#include "runner/output_files.h"
#include "runner/text.h"

namespace orvo {
namespace {

constexpr char kHelp[] = "help";
constexpr char kUartOutput[] = "uart_output";

// The group without a name; the help prints named groups behind it.
constexpr char kMainGroup[] = "";

struct OptionRow {
  const char* specifier;
  const char* help;
  std::shared_ptr<cxxopts::Value> value;
};

// A number whose error names the option, what was given and what is expected.
template <class T>
class Number : public cxxopts::values::standard_value<T> {
 public:
  Number(const char* option, T* field)
      : cxxopts::values::standard_value<T>(field), option_(option) {}

  void parse(const std::string& text) const override {
    try {
      cxxopts::values::standard_value<T>::parse(text);
    } catch (const cxxopts::exceptions::exception&) {
      throw UserError("--" + option_ + ": not a number from 0 to " +
                      std::to_string(std::numeric_limits<T>::max()) + ": '" + text + "'");
    }
  }
  std::shared_ptr<cxxopts::Value> clone() const override { return std::make_shared<Number>(*this); }

 private:
  std::string option_;
};

template <class T>
std::shared_ptr<cxxopts::Value> To(T& field) {
  return cxxopts::value(field);
}

template <class T>
std::shared_ptr<cxxopts::Value> NumberTo(const char* option, T& field) {
  return std::make_shared<Number<T>>(option, &field);
}

void AddOptions(cxxopts::Options& options, const char* group, const std::vector<OptionRow>& rows) {
  cxxopts::OptionAdder add = options.add_options(group);
  for (const OptionRow& row : rows) add(row.specifier, row.help, row.value, "");
}

// The library takes the value of an option with an implicit value only behind "=". Here the
// argument behind -u is its value too, unless it is an option, and so is a destination that
// follows without a blank; "-uy" stays two options.
std::vector<std::string> JoinUartOutput(int argc, char** argv) {
  const std::string value_of_uart_output = std::string("--") + kUartOutput + "=";
  std::vector<std::string> arguments;
  if (argc == 0) arguments.emplace_back();  // the library skips the program's name
  for (int i = 0; i < argc; ++i) {
    const std::string argument = argv[i];
    const bool names_it = argument == "-u" || argument == std::string("--") + kUartOutput;
    if (i > 0 && names_it && i + 1 < argc && argv[i + 1][0] != '-') {
      arguments.push_back(value_of_uart_output + argv[++i]);
    } else if (i > 0 && argument.starts_with("-u") && argument.find(':') != std::string::npos) {
      arguments.push_back(value_of_uart_output + argument.substr(2));
    } else {
      arguments.push_back(argument);
    }
  }
  return arguments;
}

// A file that can't be opened switches its feature off, which the user should hear of.
void WarnUnlessOpen(bool open, const std::string& path, const char* consequence) {
  if (!open && !path.empty())
    std::cerr << "Warning: can't open " << path << ", " << consequence << std::endl;
}

// Hexadecimal, all of the text.
unsigned StartPc(const std::string& text) {
  try {
    return HexToInt(text);
  } catch (const UserError& error) {
    throw UserError("--start-pc: " + error.message());
  }
}

std::string ChipName(std::string name) {
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return std::tolower(c); });
  if (name == "mcu") return "nrf52832";
  if (name == "stm32f4") return "stm32f411";
  return name;
}

}  // namespace

bool ArgsManager::Parse(int argc, char** argv) {
  argv0 = argc > 0 ? argv[0] : "";
  std::string start_pc_text;

  // clang-format off
  const std::vector<OptionRow> rows = {
      {"c,capstone",            "Orvo version", NumberTo("capstone", capstone)},
      {kHelp,                   "Print help", cxxopts::value<bool>()->default_value("false")->implicit_value("true")},
      {"w,wait_for_connection", "Wait for an sdk connection before starting", To(wait_for_connection)},
      {"g,gdb",                 "Run with dgb flag", To(gdb)},
      {"gdb-port",              "Select port of the gdb server (default is 5555, 0 will generate a random free port)", NumberTo("gdb-port", gdb_port)},
      {"gpio",                  "Print gpio change level events", To(gpio)},
      {"sdk-port",              "Select port (default is 8000, 0 will generate a random free port)", NumberTo("sdk-port", sdk_port)},
      {"listen",                "Address on which all servers listen (default is all addresses)", To(listen)},
      {"vcd",                   "Write the waveforms of the pins to a file", To(vcd)},
      {"code-coverage",         "Create code coverage report", To(code_coverage)},
      {"coverage-lcov",         "Write the code coverage to a file for lcov too", To(coverage_lcov)},
      {"t,trace",               "Print traces (regs/interrupts/functions)", To(trace)},
      {"trace-dest",            "Forwards the trace report to a destination file", To(trace_dest)},
      {"d,input-dump",          "Input the trace report to the program", To(input_dump)},
      {"start-tick",            "Tick number that the trace will be printed from", NumberTo("start-tick", start_tick)},
      {"start-pc",              "Program counter that the trace will be printed from", To(start_pc_text)},
      {"s,sudo_mode",           "Sudo mode: enables changing and accessing read/write only registers", To(sudo_mode)},
      {"p,pc_pos",              "Program counter position", NumberTo("pc_pos", pc_pos)},
      {"k,times",               "Number of times the program counter will hit the position", NumberTo("times", times)},
      {"objdump",               "Obj Dump file", To(objdump)},
      {"o,output",              "Output dumpfile file", To(output)},
      {"u,uart_output",         "Print uart", To(uart_output)->implicit_value("")},
      {"y,pty",                 "Enable uart communication over pty", To(pty)},
      {"sp",                    "Find the maximum stack depth", To(sp)},
      {"m,mcu",                 "Define mcu type (default is nrf52832)", To(mcu)},
      {"hci",                   "Radio in HCI mode", To(hci)},
      {"i, image",              "Set image file", To(image)},
      {"mips",                  "Print MIPS before exit", To(mips)},
      {"check-board",           "Check board.json and scenario.json, and do not run", To(check_board)},
  };
  // clang-format on

  try {
    cxxopts::Options options(argv0);
    options.custom_help("[OPTION...]").positional_help("positional parameters");
    AddOptions(options, kMainGroup, rows);

    const std::vector<std::string> arguments = JoinUartOutput(argc, argv);
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments) pointers.push_back(argument.c_str());
    const auto parsed = options.parse(static_cast<int>(pointers.size()), pointers.data());
    if (parsed.count(kHelp) != 0) {
      std::cout << options.help({kMainGroup}) << std::endl;
      return false;
    }
    uart_output_given = parsed.count(kUartOutput) != 0;
  } catch (const cxxopts::exceptions::exception& error) {
    throw UserError(error.what());
  }

  code_coverage = code_coverage || !coverage_lcov.empty();
  RefuseToOverwrite(*this, InputFiles(*this));
  RefuseSharedOutputs(*this);
  trace_stream.rdbuf()->pubsetbuf(trace_buffer.data(),
                                  static_cast<std::streamsize>(trace_buffer.size()));
  // Emptied by EmptyTraceFile(), once it is known that no data file of the scenario is meant.
  trace_stream.open(trace_dest, std::ios::app);
  // Only a regular file: a directory opens, and a pipe without a writer blocks for ever.
  if (std::filesystem::is_regular_file(input_dump)) {
    dump_stream.open(input_dump);
  } else {
    dump_stream.setstate(std::ios::failbit);
  }
  WarnUnlessOpen(trace_stream.is_open(), trace_dest, "the trace goes to standard output");
  WarnUnlessOpen(dump_stream.is_open(), input_dump, "the trace is not compared");
  if (!start_pc_text.empty()) start_pc = StartPc(start_pc_text);
  mcu = ChipName(mcu);
  if (!IsPlatformSupported(mcu)) throw UserError("Platform isn't supported : " + mcu);
  SetOutputType(uart_output);
  WarnAboutIdleOptions(*this);
  ListenAddress(listen, 0);
  return true;
}

void ArgsManager::EmptyTraceFile() const {
  std::error_code not_a_file;  // a device or a pipe
  if (trace_stream.is_open()) std::filesystem::resize_file(trace_dest, 0, not_a_file);
}

void ArgsManager::SetOutputType(const std::string& text) {
  const size_t colon = text.find(':');
  if (colon == std::string::npos) return;
  const std::string kind = text.substr(0, colon);
  if (kind == "file") {
    uart_output_type = kFile;
  } else if (kind == "tcp-port") {
    uart_output_type = kTcpPort;
  } else {
    throw UserError(
        "Uart dest is not valid. Should be in format: file:<file-path> or tcp-port:<port>");
  }
}

}  // namespace orvo
