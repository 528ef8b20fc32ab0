// Loads and stores of register lists. Source: ARMv7-M ARM, A7.7, "LDM", "LDMDB", "STM", "STMDB",
// "VLDM", "VSTM". No fault is tested for: what stands outside all sections loads as 0.

#include "core/instruction_table.h"
#include "core/instructions/memory_operand.h"
#include "core/instructions/word_list.h"
#include "memory/memory.h"

namespace orvo {
namespace {

template <Form f>
unsigned Base() {
  if constexpr (f.shape == Shape::kList) {
    return *CurrentInstruction().rn;
  } else {
    return get_op<0, kAddress>();
  }
}

template <Form f>
void WriteBase(unsigned value) {
  if constexpr (f.shape == Shape::kList) {
    *CurrentInstruction().rn = value;
  } else {
    set_reg<0>(value);
  }
}

// Loads the list from the address on; returns the address behind it.
unsigned LoadList(const my_insn_t& insn, unsigned address) {
  for (size_t n = 1; n < insn.op_records.size(); ++n) {
    const OperandRecord& record = insn.op_records[n];
    if (IsDoubleRegister(record)) {
      registers_->word(record.s_id) = memory_->get<true>(address);
      registers_->word(record.s_id + 1) = memory_->get<true>(address + kWordBytes);
      address += 2 * kWordBytes;
    } else {
      WriteRegister(get_reg_id(static_cast<int>(n)), memory_->get<true>(address));
      address += kWordBytes;
    }
  }
  return address;
}

unsigned StoreList(const my_insn_t& insn, unsigned address) {
  for (size_t n = 1; n < insn.op_records.size(); ++n) {
    const OperandRecord& record = insn.op_records[n];
    if (IsDoubleRegister(record)) {
      memory_->set<true>(address, registers_->word(record.s_id));
      memory_->set<true>(address + 4, registers_->word(record.s_id + 1));
      address += 2 * kWordBytes;
    } else {
      memory_->set<true>(address, get_op(static_cast<int>(n)));
      address += kWordBytes;
    }
  }
  return address;
}

// LDM{DB} Rn{!}, <list>; VLDM{IA|DB} Rn{!}, <list>
// Deliberate: pc in the list is a register like any other, the load of it does not branch.
template <Form f>
void ldm() {
  if (SkippedByCondition<f>()) return;
  const my_insn_t& insn = CurrentInstruction();
  const unsigned entries = insn.op_count - 1u;
  unsigned address = Base<f>();
  // Deliberate: 4 bytes per entry even for D registers, so that vldmdb of them starts too high.
  if constexpr (f.Has(kDecrementBefore)) address -= entries * kWordBytes;
  if (f.shape == Shape::kList && LoadFromRam(insn, 1, address)) {
    address += entries * kWordBytes;
  } else {
    address = LoadList(insn, address);
  }
  if constexpr (f.Has(kWriteback)) {
    // Decrementing forms leave the base at the element transferred last.
    const unsigned last_bytes =
        IsDoubleRegister(insn.op_records.back()) ? 2 * kWordBytes : kWordBytes;
    WriteBase<f>(f.Has(kDecrementBefore) ? address - last_bytes : address);
  }
  MarkFloatingPoint<f>();
  Advance<f>();
}

// STM{DB} Rn{!}, <list>; VSTM{IA|DB} Rn{!}, <list>
template <Form f>
void stm() {
  if (SkippedByCondition<f>()) return;
  const my_insn_t& insn = CurrentInstruction();
  const unsigned entries = insn.op_count - 1u;
  unsigned address = Base<f>();
  if constexpr (f.Has(kDecrementBefore)) {
    address -= entries * kWordBytes;
    if (entries != 0 && IsDoubleRegister(insn.op_records[1])) address -= entries * kWordBytes;
    // Decrementing forms move the base before the stores, the others after them.
    if constexpr (f.Has(kWriteback)) WriteBase<f>(address);
  }
  if (f.shape == Shape::kList && StoreToRam(insn, 1, address)) {
    address += entries * kWordBytes;
  } else {
    address = StoreList(insn, address);
  }
  if constexpr (f.Has(kWriteback) && !f.Has(kDecrementBefore)) WriteBase<f>(address);
  MarkFloatingPoint<f>();
  Advance<f>();
}

// base, base_writeback and their _cc forms
template <class S, unsigned flags = 0, class Family>
void AddList(InstructionTable& table, const std::string& base, Family family) {
  AddPair<S, flags>(table, base, "", family);
  AddPair<S, flags | kWriteback>(table, base, "_writeback", family);
}

// The same without the unconditional plain form, which no encoding makes.
template <class Family>
void AddDecrementingFloatList(InstructionTable& table, const std::string& base, Family family) {
  constexpr unsigned all = kFloatingPoint | kDecrementBefore;
  table.Add(base + "_cc", NoShapes::Of<all | kConditional>(family));
  AddPair<NoShapes, all | kWriteback>(table, base, "_writeback", family);
}

}  // namespace

void AddRegisterLists(InstructionTable& table) {
  AddList<ListShape, kMayBranch>(table, "ldm", FAMILY(ldm));
  AddPair<ListShape, kMayBranch | kDecrementBefore>(table, "ldmdb", "", FAMILY(ldm));
  AddList<ListShape, kFloatingPoint>(table, "vldmia", FAMILY(ldm));
  AddDecrementingFloatList(table, "vldmdb", FAMILY(ldm));

  AddList<ListShape>(table, "stm", FAMILY(stm));
  AddList<ListShape, kDecrementBefore>(table, "stmdb", FAMILY(stm));
  AddList<ListShape, kFloatingPoint>(table, "vstmia", FAMILY(stm));
  AddDecrementingFloatList(table, "vstmdb", FAMILY(stm));
}

}  // namespace orvo
