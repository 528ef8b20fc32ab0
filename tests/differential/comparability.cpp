#include "comparability.h"

#include <algorithm>
#include <string_view>

#include "core/registers.h"

namespace orvo {
namespace {

bool StartsWithAny(std::string_view text, std::initializer_list<std::string_view> beginnings) {
  return std::any_of(beginnings.begin(), beginnings.end(), [&](std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
  });
}

bool IsPc(const Operand& operand) {
  return operand.type == OperandType::kRegister && operand.reg == kPc;
}

bool IsSp(const Operand& operand) {
  return operand.type == OperandType::kRegister && operand.reg == kSp;
}

const Operand* MemoryOf(const std::vector<Operand>& operands) {
  for (const Operand& operand : operands) {
    if (operand.type == OperandType::kMemory) return &operand;
  }
  return nullptr;
}

// Two destinations in one register, or a base that is also loaded or stored: UNPREDICTABLE.
bool ClashesOfRegisters(const std::string& key, const std::vector<Operand>& operands,
                        bool writeback) {
  if (StartsWithAny(key, {"umull", "umlal", "smull", "smlal", "smlald"}))
    return operands[0].reg == operands[1].reg;
  if (StartsWithAny(key, {"ldrd", "strd"})) {
    const unsigned base = operands[2].mem.base;
    return (key[0] == 'l' && operands[0].reg == operands[1].reg) ||
           (writeback && (operands[0].reg == base || operands[1].reg == base));
  }
  if (const Operand* memory = MemoryOf(operands); memory != nullptr && writeback)
    return operands[0].reg == memory->mem.base;
  if (StartsWithAny(key, {"ldm", "stm"})) {
    return std::any_of(operands.begin() + 1, operands.end(),
                       [&](const Operand& entry) { return entry.reg == operands[0].reg; });
  }
  return false;
}

// Stack pointers keep two zero bits there, not here: only well-known uses of sp are compared.
bool UsesSpOddly(const std::string& key, const std::vector<Operand>& operands) {
  if (StartsWithAny(key, {"push", "pop", "vpush", "vpop"})) {
    return std::any_of(operands.begin(), operands.end(), IsSp);
  }
  if (!std::any_of(operands.begin(), operands.end(), IsSp)) return false;
  const bool adjusts = StartsWithAny(key, {"add_", "sub_", "addw", "subw"}) &&
                       operands.back().type == OperandType::kImmediate &&
                       (operands.back().imm & 3) == 0;
  return !adjusts;
}

// Whether it may take the flow of control elsewhere.
bool SetsPc(const Sample& sample) {
  const std::vector<Operand>& operands = sample.disassembly.operands;
  if (StartsWithAny(sample.key, {"b_", "bl_", "bx_", "blx_", "cbz", "cbnz", "tbb", "tbh"}))
    return true;
  if (StartsWithAny(sample.key, {"pop", "ldm"})) return IsPc(operands.back());
  if (StartsWithAny(sample.key, {"mov_2", "add_2"}))
    return sample.code.size() == 1 && IsPc(operands[0]);
  return StartsWithAny(sample.key, {"ldr_"}) && IsPc(operands[0]);
}

Comparable ComparabilityOfBranch(const Sample& sample) {
  const std::vector<Operand>& operands = sample.disassembly.operands;
  const std::string& key = sample.key;
  const bool writes_pc = StartsWithAny(key, {"pop", "ldm", "ldr", "mov", "add"});
  if (!writes_pc && std::any_of(operands.begin(), operands.end(), IsPc)) return Comparable::kNo;
  if (StartsWithAny(key, {"mov", "add"}) && IsPc(operands[1])) return Comparable::kNo;
  if (StartsWithAny(key, {"tbb", "tbh"}) &&
      (operands[0].mem.base == kSp || operands[0].mem.index == kPc))
    return Comparable::kNo;
  // Into its own code: it would run for ever.
  const int distance = operands.back().imm - static_cast<int>(sample.disassembly.address);
  if (operands.back().type == OperandType::kImmediate && !writes_pc && distance <= 0 &&
      distance >= -64)
    return Comparable::kNo;
  const bool alone = StartsWithAny(key, {"b_cc", "cbz", "cbnz", "tbb", "tbh"});
  return alone ? Comparable::kBranchAlone : Comparable::kBranch;
}

// An immediate constant made of zero bytes, a list of one, and other encodings that the manual
// calls UNPREDICTABLE.
bool IsUnpredictable(const Sample& sample) {
  const std::vector<Operand>& operands = sample.disassembly.operands;
  const std::string& key = sample.key;
  if (StartsWithAny(key, {"bx_", "blx_"})) return (sample.code[0] & 7) != 0;
  const bool lists = StartsWithAny(key, {"ldm", "stm", "push", "pop"});
  if (lists && sample.code.size() == 2) {
    const bool counts_base = !StartsWithAny(key, {"push", "pop"});
    return operands.size() < (counts_base ? 3u : 2u);
  }
  return false;
}

}  // namespace

Comparable ComparabilityOf(const Sample& sample) {
  const std::string& key = sample.key;
  const std::vector<Operand>& operands = sample.disassembly.operands;
  // System instructions have tests of their own, exclusive accesses come in pairs; `it` comes with
  // a block.
  if (StartsWithAny(key, {"bkpt", "svc", "udf", "trap", "wf", "sev", "cps", "msr", "mrs", "ldrex",
                          "strex", "clrex", "it", "hint", "ldmdb_cc"}))
    return Comparable::kNo;
  // Deliberate: vldmdb counts words for double registers and leaves its base at the last element,
  // and lists of single registers end the run. load_store_multiple_test.cpp has them.
  if (StartsWithAny(key, {"vldmdb"})) return Comparable::kNo;
  // Deliberate: a single load knows D0 to D14 only.
  if (StartsWithAny(key, {"vldr"}) && operands[0].reg == kD15) return Comparable::kNo;
  if (StartsWithAny(key, {"vpush", "vpop"}) && operands[0].reg >= kS0) return Comparable::kNo;
  if (StartsWithAny(key, {"vmrs", "vmsr"}) &&
      sample.disassembly.operand_text.find("fpscr") == std::string::npos)
    return Comparable::kNo;
  const bool sets_pc = SetsPc(sample);
  if (!sets_pc && std::any_of(operands.begin(), operands.end(), IsPc)) {
    const bool literal_base = StartsWithAny(key, {"addw_3", "subw_3"}) && !IsPc(operands[0]);
    if (!literal_base) return Comparable::kNo;
  }
  if (UsesSpOddly(key, operands) ||
      ClashesOfRegisters(key, operands, sample.disassembly.parts.writeback) ||
      IsUnpredictable(sample))
    return Comparable::kNo;
  if (const Operand* memory = MemoryOf(operands); memory != nullptr) {
    const bool pc_store = memory->mem.base == kPc && StartsWithAny(key, {"str", "vstr"});
    if (pc_store || memory->mem.index == kPc || memory->mem.index == kSp) return Comparable::kNo;
    if (memory->mem.base == kPc && sample.disassembly.parts.writeback) return Comparable::kNo;
  }
  if (sets_pc) return ComparabilityOfBranch(sample);
  // UNPREDICTABLE in an IT block: the narrow movs of a register.
  if (sample.code.size() == 1 && sample.code[0] < 0x40) return Comparable::kAlone;
  // The other engine forgets the block at a barrier, and follows the rounding mode that vmsr sets.
  if (StartsWithAny(key, {"isb", "dsb", "dmb", "vmsr"})) return Comparable::kAlone;
  // qdadd has no conditional key.
  if (StartsWithAny(key, {"qdadd"})) return Comparable::kAlone;
  return Comparable::kAnywhere;
}

}  // namespace orvo
