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

}  // namespace orvo
