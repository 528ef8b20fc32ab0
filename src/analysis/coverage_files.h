// What the coverage reports share: the sources of the lines, and the tracefile for other tools.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace orvo {

using SourceLine = std::pair<std::string, unsigned>;  // file name, line
using LinesStatus = std::map<SourceLine, bool>;       // whether it ran

// Where a source file is that the debug information names: there, or in the working directory under
// as much of its name's end as exists. Empty if it is nowhere.
std::string FindSource(const std::string& name);

// The lines of a file without their ends; none if it can't be read or isn't a source by its size.
std::vector<std::string> ReadSource(const std::string& path);

// The tracefile of lcov (geninfo(1), "FILES"): each line has run once or not at all. False if it
// can't be written.
bool WriteLcovFile(const std::string& path, const LinesStatus& lines);

}  // namespace orvo
