// The decoder's tracing modes, -c 1 and -c 2: a line, or the operands with their values before and
// after, for every instruction executed. Meant for tracing, not for speed.
#pragma once

#include <string>

#include "core/capstone_resolver.h"
#include "core/my_insn.h"

namespace orvo {

// Saves what the modes print about an address and returns the table entry that prints it.
Function TraceFunction(unsigned mode, unsigned offset, const Disassembly& disassembly,
                       const std::string& key, Function function);
void ForgetTracedInstructions();

// Address, machine code, key and operands; then xPSR and tick.
void PrintInstruction(const Disassembly& disassembly, const std::string& key);

// The table entries.
void LineMode();
void VerboseMode();

}  // namespace orvo
