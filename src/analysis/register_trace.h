// The register trace: a line per instruction, printed or compared with the lines of a recorded
// run. A recorded trace is in the format that is printed.
#pragma once

#include <array>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>

#include "core/registers.h"

namespace orvo {

class RegisterTrace {
 public:
  // Takes --start-pc and the --input-dump file.
  RegisterTrace();
  // Without a recorded run (null) every line is printed. With one, lines are compared: from the
  // first arrival at start_pc on, or from the beginning if it is 0, and printed before.
  RegisterTrace(unsigned start_pc, std::istream* recorded);

  // Prints or compares the line of the present state. Throws OrvoError with both lines when they
  // differ, and when the recorded run is over; standard error gets the number of the line.
  void Print(const Registers& registers, std::ostream& stream);
  // At the end of a run: warns if the recorded one goes on, or was never compared.
  void WarnAboutRest();
  // Valid until the next call.
  std::string_view Line(const Registers& registers);

 private:
  // S registers rarely change between two lines: the text of each is kept with its bits.
  struct FloatText {
    void Set(unsigned n, unsigned new_bits);
    unsigned bits;
    size_t size;
    std::array<char, 64> text;  // " s31=-" and the largest float: 39 digits, and 6 places
  };

  [[noreturn]] void ReportMismatch();
  void Append(std::string_view text) { line_ += text; }
  void AppendWord(std::string_view name, unsigned value);
  void AppendFloat(unsigned n, unsigned bits);

  unsigned start_pc_;
  std::istream* recorded_;
  bool check_log_;
  unsigned long compared_lines_ = 0;
  std::string line_;
  std::string recorded_line_;
  std::array<FloatText, 32> floats_;
};

}  // namespace orvo
