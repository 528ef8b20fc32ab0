#include "analysis/trace_options.h"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <string>

#include "runner/args_manager.h"

namespace orvo {
namespace {

constexpr const char* kWords[] = {"regs", "interrupts", "functions"};

bool Contains(const std::string& text, const char* word) {
  return text.find(word) != std::string::npos;
}

// Only what stands between separators, so that "regs,irq" is noticed too.
void WarnAboutUnknownWords(const std::string& trace) {
  constexpr char kSeparators[] = ", /+";
  size_t begin = 0;
  while ((begin = trace.find_first_not_of(kSeparators, begin)) != std::string::npos) {
    const size_t end = std::min(trace.find_first_of(kSeparators, begin), trace.size());
    const std::string word = trace.substr(begin, end - begin);
    if (std::none_of(std::begin(kWords), std::end(kWords),
                     [&](const char* known) { return Contains(word, known); })) {
      std::cerr << "Warning: -t/--trace knows regs, interrupts and functions, not '" << word << "'"
                << std::endl;
    }
    begin = end;
  }
}

}  // namespace

void WarnAboutIdleOptions(const ArgsManager& args) {
  const bool regs = Contains(args.trace, "regs");
  const bool functions = Contains(args.trace, "functions");
  const bool stop_point = args.pc_pos != 0xffffffff;
  const bool stops = stop_point && args.times != 0;
  const struct {
    bool idle;
    const char* text;
  } rows[] = {
      {!args.input_dump.empty() && !regs, "-d/--input-dump compares nothing without -t regs"},
      {!args.objdump.empty() && !functions, "--objdump has no effect without -t functions"},
      {functions && args.objdump.empty(), "-t functions prints nothing without --objdump"},
      {!args.trace_dest.empty() && args.trace.empty(), "--trace-dest has no effect without -t"},
      {args.start_pc != 0 && (args.input_dump.empty() || !regs),
       "--start-pc has no effect without -t regs and -d/--input-dump"},
      {args.start_tick != 0 && !regs && args.capstone == 0,
       "--start-tick has no effect without -t regs or -c"},
      {stop_point && args.times == 0, "-p/--pc_pos stops nothing without -k"},
      {args.times != 0 && !stop_point, "-k/--times stops nothing without -p"},
      {stops && args.pc_pos % 2 != 0, "no instruction begins at the odd address of -p/--pc_pos"},
      {args.output != "/dev/null" && !stops,
       "-o/--output writes no dump without the stop point of -p and -k"},
      {args.gdb_port != 5555 && !args.gdb, "--gdb-port has no effect without -g/--gdb"},
  };
  WarnAboutUnknownWords(args.trace);
  for (const auto& row : rows) {
    if (row.idle) std::cerr << "Warning: " << row.text << std::endl;
  }
}

}  // namespace orvo
