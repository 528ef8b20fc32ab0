// Line tables read with libdw of elfutils: those that libelfin doesn't know, DWARF 5 and compressed
// sections.
#pragma once

#include <functional>
#include <string>

namespace orvo {

// Where the rows of functions go that the linker dropped: it leaves their code at address 0, in the
// midst of real code on chips whose flash begins there. Nothing runs here (ARMv7-M ARM, B3.1,
// "system, device").
inline constexpr unsigned kDroppedCode = 0xf0000000;

// Calls `add` for each row. Throws std::runtime_error for a file that can't be read, isn't ARM's,
// or has no debug information.
void ReadDwarfLines(
    const std::string& path,
    const std::function<void(unsigned address, const std::string& file, unsigned line)>& add);

}  // namespace orvo
