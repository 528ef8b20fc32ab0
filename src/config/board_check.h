// What --check-board does: reads the board and the scenario of the current directory as a run
// would, and builds chip and devices from them, but goes on behind each mistake.
#pragma once

#include <ostream>
#include <string>

namespace orvo {

// Prints every problem in a line with file, component and key, or a line that there is none.
// Returns whether there is none. Throws OrvoError if the default board can't be loaded.
bool CheckBoard(const std::string& platform, const std::string& executable_path, std::ostream& out);

}  // namespace orvo
