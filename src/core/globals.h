// The process-wide variables of the simulation. The Program constructor sets them once; the
// instruction functions, which take no arguments, read them without a lock.
#pragma once

#include <memory>

#include "core/my_insn.h"

namespace orvo {

class Interrupts;
class Mcu;
class Memory;
class MemoryExclusiveness;
class Registers;

// Hidden from other modules, so that an access is one instruction in a position-independent
// executable that exports its functions.
#pragma GCC visibility push(hidden)

inline Mcu* mcu_ = nullptr;
inline Registers* registers_ = nullptr;
inline Interrupts* interrupts_ = nullptr;
inline Memory* memory_ = nullptr;
// Address of the Mcu slot that points to the decoded instruction now executing.
inline my_insn_t** current_instruction_ = nullptr;
// Base address of flash, and the host bytes of the section "Flash".
inline unsigned flash_address_ = 0;
inline unsigned char* flash_memory_ = nullptr;
// Addresses of the Mcu slots of the two decode tables, both indexed by program offset in bytes.
inline Function** pc_offset_2_arm_function_ = nullptr;
inline my_insn_t** pc_offset_2_my_insn_struct_ = nullptr;
// Length of the loaded program in bytes: the highest image offset written in flash.
inline unsigned program_len_ = 0;
inline MemoryExclusiveness* memory_exclusiveness_ = nullptr;
inline bool code_cover_report_ = false;

#pragma GCC visibility pop

}  // namespace orvo
