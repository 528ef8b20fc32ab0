// Code coverage: which source lines of the firmware ran. The lines come from the line tables of the
// firmware's ELF file (DWARF 2 to 5); the decoder tells of each address when it runs for the first
// time, so that a run costs the same with coverage as without. A row of a line table marks its
// first address: what a jump reaches in the middle of a row counts for no line.
#pragma once

#include <map>
#include <string>
#include <tuple>

#include "analysis/coverage_files.h"

namespace dwarf {
class line_table;
}

namespace orvo {

class ElfHandler {
 public:
  // Lines covered and lines in all, by file name.
  using FileTable = std::map<std::string, std::tuple<unsigned, unsigned>>;

  static constexpr char kCoverageReportFileName[] = "coverage_report.html";

  // Builds the maps anew; false, with a message on standard output, for a file that can't be read.
  // A file without debug information has no lines, and gets a warning.
  static bool Parse(const std::string& path);
  // Adds the rows of one table.
  static void DumpLines(const dwarf::line_table& table);
  // The instruction at the address was decoded, which happens once.
  static void MarkAddressAsCovered(unsigned address);
  // Counts, sets percent_total_, and writes the report, and the tracefile of --coverage-lcov. Warns
  // of a file that can't be written.
  static void CreateCoverageReport();
  // Writes coverage_report.html in the working directory; false if it can't be written.
  static bool WriteHtmlReportFile(const FileTable& files, unsigned total, unsigned covered);

  // Lines covered of all lines, of the last report; not a number if there are no lines.
  static inline double percent_total_ = 0;

 private:
  static const std::string kCoverageReportFilePart1;
  static const std::string kCoverageReportFileScript;
  static const std::string kCoverageReportFilePart2;
  static const std::string kCoverageReportFileEnd;

  // Both throw std::exception for what they can't read.
  static void ReadWithLibelfin(int file);
  static void ReadWithLibdw(const std::string& path);
  static void AddRow(unsigned address, const std::string& file, unsigned line);

  // Optimised code has several lines at one address: a call, and the first line of what was put in
  // its place.
  static inline std::multimap<unsigned, SourceLine> address_to_line_in_file_;
  static inline LinesStatus lines_status_;
};

}  // namespace orvo
