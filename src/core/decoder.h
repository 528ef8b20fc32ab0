// The lazy decoder: the first execution of a code address disassembles it, picks its function and
// leaves both in the decode tables; from then on the address costs one indirect call.
#pragma once

#include <string>

namespace orvo {

class InstructionTable;

// The rows of all instructions; built at first use.
const InstructionTable& Instructions();

// Fills the key table; called once before the decode tables are built (the spelling is the
// system's).
void InitMnemonic2ArmFunciton();
// Allocates the decode tables for program_len_ bytes and fills the function table with the
// decoder that -c/--capstone selects. Throws OrvoError for an unknown mode.
void InitPcOffset2ArmFunction();
// Whether instructions may go on to the next one by themselves (core/chain.h): for loops that don't
// look at each instruction. What stands at args.pc_pos is left to the loop all the same.
void AllowChaining(bool allowed);
// Frees the decode tables and leaves the Mcu's slots null.
void ReleaseDecodeTables();

// Entry of the function table before an address was executed; N is the value of -c/--capstone.
template <unsigned N>
void DisasmblyInstruction();

}  // namespace orvo
