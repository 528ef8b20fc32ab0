// Loads and stores of two registers at once. Source: ARMv7-M ARM, A7.7, "LDRD", "STRD".
// Both words count even outside all sections: such a load gives 0.

#include "core/instruction_table.h"
#include "core/instructions/memory_operand.h"
#include "memory/memory.h"

namespace orvo {
namespace {

// LDRD Rt, Rt2, [Rn, #imm]{!}; LDRD Rt, Rt2, [Rn], #imm
template <Form f>
void ldrd() {
  if (SkippedByCondition<f>()) return;
  const unsigned address = AccessAddress<f, 2>();
  const unsigned first = memory_->get<true>(address);
  const unsigned second = memory_->get<true>(address + 4);
  if constexpr (f.shape == Shape::kAny) {
    set_reg<0>(first);
    set_reg<1>(second);
  } else {
    *CurrentInstruction().rd = first;
    *CurrentInstruction().ra = second;
  }
  // The base comes last, unlike in the loads of one register.
  WriteBack<f, 2>(address);
  Advance<f>();
}

// STRD Rt, Rt2, [Rn, #imm]{!}; STRD Rt, Rt2, [Rn], #imm
template <Form f>
void strd() {
  if (SkippedByCondition<f>()) return;
  const unsigned address = AccessAddress<f, 2>();
  if constexpr (f.shape == Shape::kAny) {
    memory_->set<true>(address, get_op(0));
    memory_->set<true>(address + 4, get_op(1));
  } else {
    memory_->set<true>(address, *CurrentInstruction().rd);
    memory_->set<true>(address + 4, *CurrentInstruction().ra);
  }
  WriteBack<f, 2>(address);
  Advance<f>();
}

using DualShapes = Shapes<Shape::kBase, Shape::kStack>;

// base_3, base_4, base_3_writeback, base_4_writeback and their _cc forms
template <class Family>
void AddDual(InstructionTable& table, const std::string& base, Family family) {
  AddPair<DualShapes>(table, base, "_3", family);
  AddPair<NoShapes, kThreeOperands>(table, base, "_4", family);
  AddPair<BaseShape, kWriteback>(table, base, "_3_writeback", family);
  AddPair<BaseShape, kWriteback | kThreeOperands>(table, base, "_4_writeback", family);
}

}  // namespace

void AddDualLoadsAndStores(InstructionTable& table) {
  AddDual(table, "ldrd", FAMILY(ldrd));
  AddDual(table, "strd", FAMILY(strd));
}

}  // namespace orvo
