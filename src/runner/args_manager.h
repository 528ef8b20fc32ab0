// The command line, parsed once at start-up and read from anywhere.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include "runner/singleton.h"

namespace orvo {

class ArgsManager {
 public:
  // What the text of -u/--uart_output selects.
  enum UartOutputType : unsigned { kStandardOutput = 0, kFile = 1, kTcpPort = 2 };

  bool gdb = false;
  bool wait_for_connection = false;
  bool sudo_mode = false;
  bool pty = false;
  bool hci = false;
  bool gpio = false;
  bool code_coverage = false;
  bool uart_output_given = false;
  bool sp = false;
  bool mips = false;
  bool check_board = false;
  std::string image;
  unsigned short sdk_port = 8000;
  unsigned short gdb_port = 5555;
  unsigned capstone = 0;
  unsigned start_tick = 0;
  unsigned start_pc = 0;
  unsigned times = 0;
  unsigned pc_pos = 0xffffffff;
  std::string argv0;
  std::string output = "/dev/null";
  std::string trace;
  std::string trace_dest;
  std::string vcd;
  std::string coverage_lcov;
  std::string input_dump;
  std::string uart_output;
  std::string objdump;
  std::string mcu = "nrf52832";
  std::string listen = "0.0.0.0";  // of all servers: control connection, UART, debugger
  unsigned uart_output_type = kStandardOutput;
  // 64 KiB at a time: a system call for each line costs more than the line. A run that ends in
  // another way than by SIGKILL writes the rest.
  std::vector<char> trace_buffer = std::vector<char>(65536);
  std::ofstream trace_stream;
  std::ifstream dump_stream;

  // Returns false when the help text was printed and the run must not go on. Throws on bad input.
  bool Parse(int argc, char** argv);
  // Removes what an earlier run left in the file of the trace. Before the trace begins.
  void EmptyTraceFile() const;
  // Derives uart_output_type. Throws UserError for a prefix other than "file" and "tcp-port".
  void SetOutputType(const std::string& text);

  static ArgsManager& Get() { return ISingelton<ArgsManager>::GetInstance(); }
};

}  // namespace orvo
