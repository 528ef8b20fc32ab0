// What decoding settles for the specialised functions (core/form.h), checked against the operands.
#pragma once

#include "core/form.h"

namespace orvo {

// Whether rd, rn, rm, ra, imm and shift_amount hold what the shape promises of these operands, the
// direct pointers lead to them, and everything points into the register file.
bool IsSettled(const my_insn_t& insn, Shape shape, bool writeback);

}  // namespace orvo
