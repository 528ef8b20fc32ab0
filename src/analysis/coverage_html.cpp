// The page of the coverage report: a table of the files, and below it each source with its lines
// marked. One file without references to others. Names and sources come from anywhere, and stand in
// the page as text.
#include <fstream>

#include "analysis/coverage_files.h"
#include "analysis/elf_handler.h"

namespace orvo {
namespace {

double Percent(unsigned covered, unsigned total) {
  return static_cast<double>(covered) / total * 100;
}

// For a text between tags.
std::string HtmlText(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '&') {
      escaped += "&amp;";
    } else if (c == '<') {
      escaped += "&lt;";
    } else if (static_cast<unsigned char>(c) < ' ' && c != '\t') {
      escaped += "&#xFFFD;";  // control characters have no place in a page
    } else {
      escaped += c;
    }
  }
  return escaped;
}

// For a string of the script in single quotes. "<" too, which could end the script.
std::string ScriptText(std::string_view text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string escaped;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < ' ' || c == '\'' || c == '\\' || c == '<') {
      escaped += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    } else {
      escaped += c;
    }
  }
  return escaped;
}

void WriteLine(std::ostream& page, size_t number, const char* kind, char mark,
               const std::string& text) {
  page << "<span class=\"" << kind << "\"><b>" << number << ' ' << mark << "</b>" << HtmlText(text)
       << "\n</span>";
}

// The section of one file, to which its row of the table leads. `line` stands at its first line.
void WriteSource(std::ostream& page, unsigned index, LinesStatus::const_iterator line,
                 const LinesStatus& all) {
  const std::string name = line->first.first;
  const std::string path = FindSource(name);
  const std::vector<std::string> source = ReadSource(path);
  page << "<details id=\"source" << index << "\"><summary>" << HtmlText(name) << "</summary>\n";
  if (source.empty()) {
    page << "<p>Source not found: neither at this path, nor in the working directory.</p>\n";
  } else if (path != name) {
    page << "<p>Source: " << HtmlText(path) << " in the working directory.</p>\n";
  }
  page << "<pre>";
  size_t number = 1;  // behind a line of any number there is a next one
  const auto write_up_to = [&](size_t end) {
    for (; number < end && number <= source.size(); ++number)
      WriteLine(page, number, "plain", ' ', source[number - 1]);
  };
  bool too_short = false;
  for (; line != all.end() && line->first.first == name; ++line) {
    write_up_to(line->first.second);
    number = line->first.second;
    too_short |= number > source.size();
    WriteLine(page, number, line->second ? "covered" : "uncovered", line->second ? '+' : '-',
              number <= source.size() ? source[number - 1] : std::string());
    ++number;
  }
  write_up_to(source.size() + 1);
  page << "</pre>\n";
  if (too_short && !source.empty())
    page << "<p>The source has fewer lines than the program: it is another version.</p>\n";
  page << "</details>\n";
}

}  // namespace

const std::string ElfHandler::kCoverageReportFilePart1 = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>Code coverage</title>
<style>
body { font-family: sans-serif; margin: 2em; }
#reportTable { border-collapse: collapse; }
#reportTable th, #reportTable td { border: 1px solid #bbb; padding: 0.3em 0.8em; text-align: left; }
#reportTable td:last-child { text-align: right; }
summary { cursor: pointer; font-family: monospace; padding: 0.2em 0; }
pre { border: 1px solid #bbb; margin: 0; overflow-x: auto; }
pre span { display: block; min-width: max-content; }
pre b { color: #666; display: inline-block; font-weight: normal; margin-right: 1em;
        min-width: 5em; text-align: right; user-select: none; white-space: pre; }
.covered { background: #d6f5d6; }
.uncovered { background: #fbd9d3; }
</style>
</head>
<body>
<table id="reportTable">
<tr><th>File Name</th><th>%</th></tr>
</table>
<p id="summary">Code Coverage Percent:</p>
)";

// "nan" is how the host may print the percentage of no lines.
const std::string ElfHandler::kCoverageReportFileScript = R"(
<script>
window.onload = function() {
  loadData();
  var source = document.getElementById(location.hash.slice(1));
  if (source) source.open = true;
};
var nan = NaN;
var index = 1;
var data = new Map([)";

const std::string ElfHandler::kCoverageReportFilePart2 = R"(]);

function addRow(value, key, map) {
  var source = document.getElementById("source" + index);
  var row = document.getElementById("reportTable").insertRow(index++);
  var link = document.createElement("a");
  link.textContent = key;
  link.href = "#" + source.id;
  link.onclick = function() { source.open = true; };
  row.insertCell(0).appendChild(link);
  row.insertCell(1).textContent = value + "%";
}

function loadData() {
  data.forEach(addRow);
  var summary = document.getElementById("summary");
  )";

const std::string ElfHandler::kCoverageReportFileEnd = "\n}\n</script>\n\n</body>\n</html>";

bool ElfHandler::WriteHtmlReportFile(const FileTable& files, unsigned total, unsigned covered) {
  percent_total_ = Percent(covered, total);
  std::ofstream page(kCoverageReportFileName, std::ios::trunc);
  if (!page) return false;
  page << kCoverageReportFilePart1;
  unsigned index = 1;
  for (const auto& [name, counts] : files)
    WriteSource(page, index++, lines_status_.lower_bound({name, 0}), lines_status_);
  page << kCoverageReportFileScript;
  for (const auto& [name, counts] : files) {
    const auto& [covered_in_file, lines_in_file] = counts;
    page << "['" << ScriptText(name) << "', '" << Percent(covered_in_file, lines_in_file) << "'], ";
  }
  page << kCoverageReportFilePart2 << "summary.innerHTML = 'Code Coverage Percent: ' + "
       << percent_total_ << " + '%';\n"
       << kCoverageReportFileEnd;
  page.close();
  return page.good();
}

}  // namespace orvo
