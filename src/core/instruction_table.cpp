#include "core/instruction_table.h"

#include "runner/errors.h"

namespace orvo {

void InstructionTable::Add(const std::string& key, const Variants& variants) {
  if (!mnemonic_2_arm_function_.emplace(key, variants).second)
    throw OrvoError("Instruction table: two functions for the key " + key);
}

const Variants* InstructionTable::Find(const std::string& key) const {
  const auto row = mnemonic_2_arm_function_.find(key);
  return row == mnemonic_2_arm_function_.end() ? nullptr : &row->second;
}

void InstructionTable::AddBranchPairs(Function comparison, const BranchPairs& pairs) {
  branch_pairs_.emplace(comparison, pairs);
}

const BranchPairs* InstructionTable::FindBranchPairs(Function comparison) const {
  const auto pairs = branch_pairs_.find(comparison);
  return pairs == branch_pairs_.end() ? nullptr : &pairs->second;
}

}  // namespace orvo
