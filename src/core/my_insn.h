// The cached decode of one instruction. The decoder fills it once per code address; instruction
// functions read nothing else of the machine code.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace orvo {

// An instruction function finds its record through current_instruction_ and moves pc itself.
using Function = void (*)();

enum class OperandType : unsigned {
  kNone = 0,
  kRegister = 1,
  kImmediate = 2,
  kMemory = 3,
  kFloat = 4,
  kSystemRegister = 67,
};

// The order of the shift functions; register-controlled shifts have no entry.
enum class ShiftType : unsigned { kNone = 0, kAsr = 1, kLsl = 2, kLsr = 3, kRor = 4, kRrx = 5 };

struct MemoryOperand {
  unsigned base = 0;   // register id, 0 for none
  unsigned index = 0;  // register id, 0 for none; its shift stands in operand 0
  int displacement = 0;
  int scale = 1;
};

struct Operand {
  OperandType type = OperandType::kNone;
  unsigned reg = 0;  // register id, system registers included
  int imm = 0;
  double fp = 0;
  MemoryOperand mem;
  ShiftType shift_type = ShiftType::kNone;
  unsigned shift_amount = 0;
};

// What an operand comes to in the register file.
struct OperandRecord {
  OperandType type = OperandType::kNone;
  unsigned s_id = 0;         // for a D register the id of its first S register: id * 2 + 51
  unsigned* word = nullptr;  // storage of a register operand; null for others and for sp
};

struct alignas(64) my_insn_t {
  // One cache line for the variants whose operands were settled at decode time (core/form.h).
  unsigned* rd = nullptr;       // destination, or the register that a store reads
  unsigned* rn = nullptr;       // first source or base
  unsigned* rm = nullptr;       // second source or index
  unsigned* ra = nullptr;       // third source
  unsigned imm = 0;             // immediate, displacement or branch target
  unsigned short size = 0;      // bytes, 2 or 4
  unsigned short cc_mask = 0;   // bit NZCV set: the condition holds for these flags
  unsigned char shift_amount = 0;
  bool pc_read_unaligned = false;    // the mnemonic is exactly "add" or "sub"
  bool shifter_keeps_carry = false;  // not one of the flag-setting moves, logic and tests

  unsigned char op_count = 0;
  unsigned cc = 0;
  Function* entry = nullptr;  // its place in the function table; what follows stands at [size]
  unsigned long address = 0;
  std::array<Operand*, 6> op_ptr{};
  std::array<OperandRecord*, 6> rec_ptr{};
  std::vector<Operand> operands;
  std::vector<OperandRecord> op_records;
  std::array<unsigned char, 16> bytes{};  // machine code; byte 0 is what `it` reads as its state
  std::array<char, 32> mnemonic{};        // as printed by the disassembler
};

}  // namespace orvo
