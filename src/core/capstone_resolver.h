// The disassembler library, and the one place that knows its numbers. What it returns is turned
// into the my_insn_t of this core: operand types, register ids, the owner of a memory index's
// shift, system registers, and the forms that no Cortex-M4 decodes.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/mnemonic.h"
#include "core/my_insn.h"

struct cs_insn;

namespace orvo {

class Registers;

// One disassembled instruction, free of the library's numbers.
struct Disassembly {
  MnemonicParts parts;
  std::string operand_text;
  unsigned address = 0;
  std::array<unsigned char, 16> bytes{};  // zero beyond the instruction's size
  std::vector<Operand> operands;
};

class CapstoneResolver {
 public:
  // Throws OrvoError "Capstone not found" when the library can't be opened.
  CapstoneResolver();
  ~CapstoneResolver();
  CapstoneResolver(const CapstoneResolver&) = delete;
  CapstoneResolver& operator=(const CapstoneResolver&) = delete;

  // Decodes the instruction at `bytes`, of which `available` may be read. False when nothing that
  // a Cortex-M4 has stands there.
  //
  // Conditions inside an IT block come from the decode of its `it`: the first decode of an address
  // is conditional if the instruction before it, decoded earlier, left its block open. An address
  // that is reached first by a branch decodes as a plain instruction.
  bool Decode(const unsigned char* bytes, size_t available, unsigned address, Disassembly* out);

  // Operands with their register values, for the tracing modes.
  static void print_insn_detail(const Disassembly& insn, const Registers& registers);

 private:
  void SetItState(unsigned it_state);
  bool TryLength(const unsigned char* bytes, size_t length, unsigned address);
  bool Translate(Disassembly* out) const;

  size_t handle_ = 0;
  cs_insn* insn_ = nullptr;
  // Whether the library's handle may remember an open IT block. How many of its slots are left is
  // set before each decode: not every instruction takes one.
  bool handle_in_block_ = false;
  // Remaining IT state by the address that continues an open block.
  std::unordered_map<unsigned, unsigned> open_blocks_;
};

}  // namespace orvo
