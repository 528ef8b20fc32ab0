// From the text that the disassembler prints to the key of the instruction table.
#pragma once

#include <string>
#include <string_view>

namespace orvo {

// What of a disassembled instruction makes its key.
struct MnemonicParts {
  std::string mnemonic;  // as printed, such as "ldreq.w"
  unsigned size_bytes = 0;
  unsigned cc = 0;  // 0 and 15: no condition letters in the text
  unsigned op_count = 0;
  bool writeback = false;
};

// "." becomes "_", and "_w" goes: "ldr.w" gives "ldr", "vadd.f32" gives "vadd_f32".
void normalize_mnemonic_name(char* mnemonic, unsigned long size);

// base[_cc][_operands][_writeback]; "nop_<size>" and "it" by their beginnings.
std::string GetMnemonicName(const MnemonicParts& parts);

// Whether the text names a load or store of a register list, whose key carries no count: vpush and
// vldmia contain the same letters.
bool IsListInstruction(std::string_view text);

}  // namespace orvo
