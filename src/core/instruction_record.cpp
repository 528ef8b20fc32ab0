#include "core/instruction_record.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "core/conditions.h"
#include "core/globals.h"
#include "core/registers.h"
#include "runner/errors.h"

namespace orvo {
namespace {

// Mnemonics whose barrel shifter sets C.
constexpr std::string_view kCarryFollowsShifter[] = {"movs", "mvns", "ands", "orrs", "orns",
                                                     "eors", "bics", "teq",  "tst"};

OperandRecord RecordOf(const Operand& operand) {
  OperandRecord record;
  record.type = operand.type;
  const bool is_register = operand.type == OperandType::kRegister;
  if (is_register) record.s_id = operand.reg * 2 + 51;
  if ((is_register && operand.reg != kSp && operand.reg < kRegisterCount) ||
      operand.type == OperandType::kSystemRegister)
    record.word = &registers_->word(operand.reg);
  return record;
}

}  // namespace

void FillRecord(const Disassembly& disassembly, my_insn_t* insn) {
  insn->size = static_cast<unsigned short>(disassembly.parts.size_bytes);
  insn->cc = disassembly.parts.cc;
  insn->cc_mask = ConditionMask(insn->cc);
  insn->address = disassembly.address;
  insn->bytes = disassembly.bytes;
  const std::string& mnemonic = disassembly.parts.mnemonic;
  std::copy_n(mnemonic.begin(), std::min(mnemonic.size(), insn->mnemonic.size() - 1),
              insn->mnemonic.begin());
  insn->operands = disassembly.operands;
  insn->op_count = static_cast<unsigned char>(insn->operands.size());
  optimize_and_validate_instruction(insn);
}

void optimize_and_validate_instruction(my_insn_t* insn) {
  insn->op_ptr.fill(nullptr);
  insn->rec_ptr.fill(nullptr);
  insn->op_records.clear();
  for (const Operand& operand : insn->operands) {
    if (operand.type == OperandType::kMemory && operand.mem.scale != 1)
      throw OrvoError("Arm instructions: get_op scale");
    insn->op_records.push_back(RecordOf(operand));
  }
  std::array<char, 32> clean = insn->mnemonic;
  normalize_mnemonic_name(clean.data(), clean.size());
  const std::string_view name(clean.data());
  insn->pc_read_unaligned = name == "add" || name == "sub";
  insn->shifter_keeps_carry =
      std::none_of(std::begin(kCarryFollowsShifter), std::end(kCarryFollowsShifter),
                   [&](std::string_view start) { return name.substr(0, start.size()) == start; });
  const size_t direct = std::min(insn->operands.size(), insn->op_ptr.size());
  for (size_t n = 0; n < direct; ++n) {
    insn->op_ptr[n] = &insn->operands[n];
    insn->rec_ptr[n] = &insn->op_records[n];
  }
}

void print_arm_instruction(const my_insn_t* insn) {
  std::printf("Arm instruction: %s", insn->mnemonic.data());
  for (const Operand& operand : insn->operands) {
    switch (operand.type) {
      case OperandType::kRegister: std::printf(" %u (reg)", operand.reg); break;
      case OperandType::kImmediate: std::printf(" %d (imm)", operand.imm); break;
      case OperandType::kMemory: std::printf(" %d (mem)", operand.mem.displacement); break;
      case OperandType::kSystemRegister: std::printf(" %u (sysreg)", operand.reg); break;
      default: break;
    }
  }
  std::printf("\n");
}

}  // namespace orvo
