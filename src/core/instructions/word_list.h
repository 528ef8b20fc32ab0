// Register lists of which every entry is one plain word (Shape::kList): copied in one go where all
// the memory of the list lies in RAM.
#pragma once

#include <cstring>

#include "core/globals.h"
#include "core/my_insn.h"
#include "memory/memory.h"

namespace orvo {

inline constexpr unsigned kWordBytes = 4;

// Loads the registers of the operands from `first` on. False, with nothing done, if some word lies
// outside RAM or somebody observes RAM.
inline bool LoadFromRam(const my_insn_t& insn, size_t first, unsigned address) {
  const OperandRecord* record = insn.op_records.data() + first;
  const OperandRecord* const end = insn.op_records.data() + insn.op_records.size();
  const unsigned bytes = static_cast<unsigned>(end - record) * kWordBytes;
  const unsigned char* source = memory_->RamBytes(address, bytes);
  if (source == nullptr) return false;
  for (; record != end; ++record, source += kWordBytes) {
    std::memcpy(record->word, source, kWordBytes);
  }
  return true;
}

// Stores the registers of the operands from `first` on, upwards from the address; false as above.
inline bool StoreToRam(const my_insn_t& insn, size_t first, unsigned address) {
  const OperandRecord* record = insn.op_records.data() + first;
  const OperandRecord* const end = insn.op_records.data() + insn.op_records.size();
  const unsigned bytes = static_cast<unsigned>(end - record) * kWordBytes;
  unsigned char* target = memory_->RamBytes(address, bytes);
  if (target == nullptr) return false;
  for (; record != end; ++record, target += kWordBytes) {
    std::memcpy(target, record->word, kWordBytes);
  }
  return true;
}

}  // namespace orvo
