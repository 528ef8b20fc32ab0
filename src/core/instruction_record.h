// From a disassembled instruction to the record that instruction functions read.
#pragma once

#include "core/capstone_resolver.h"
#include "core/my_insn.h"

namespace orvo {

// Copies what the disassembler said and derives the rest. Throws OrvoError for a condition code or
// a memory scale that doesn't exist.
void FillRecord(const Disassembly& disassembly, my_insn_t* insn);

// Clears and sets the direct pointers, the operand records, and the two flags that come from the
// mnemonic.
void optimize_and_validate_instruction(my_insn_t* insn);

// "Arm instruction: " with the mnemonic and every operand, for debugging.
void print_arm_instruction(const my_insn_t* insn);

}  // namespace orvo
