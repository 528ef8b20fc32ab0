// Branches. Source: ARMv7-M ARM, A7.7, "B", "BL", "BX", "BLX (register)", "CBNZ, CBZ", "TBB, TBH".
// Every target is or-ed with the base of flash, register targets included: firmware that was
// linked for the alias of flash at 0 goes on at the flash address. A register target in RAM of
// such a chip lands above the program and faults.

#include "core/branch_pair.h"
#include "core/instruction_table.h"
#include "core/pc_write.h"
#include "memory/memory.h"

namespace orvo {
namespace {

template <Form f>
[[gnu::always_inline]] inline unsigned Size() {
  return f.size_bytes != 0 ? f.size_bytes : CurrentInstruction().size;
}

// The target of one-operand branches; labels are absolute addresses already.
template <Form f>
[[gnu::always_inline]] inline unsigned Target() {
  if constexpr (f.shape == Shape::kImmediate) {
    return CurrentInstruction().imm;
  } else if constexpr (f.shape == Shape::kRegister) {
    return *CurrentInstruction().rm;
  } else {
    return get_op<0, kValue>();
  }
}

// B <label>; BL <label>; BX Rm; BLX Rm
template <Form f>
void jump() {
  if (SkippedByCondition<f>()) return;
  const unsigned target = Target<f>();
  if constexpr (f.Has(kLink)) {
    registers_->lr() = (registers_->pc() + Size<f>() + 1) | flash_address_;
  }
  registers_->pc() = target | flash_address_;
  if constexpr (f.Has(kExchange)) ReturnFromExceptionIfNeeded();
}

template <size_t... n>
std::array<Function, 15> ConditionalBranches(std::index_sequence<n...>) {
  return {nullptr, &ChainedBranch<n + 1>...};
}

// CBZ Rn, <label>; CBNZ Rn, <label>
template <Form f, bool branch_on_zero>
void cbz() {
  unsigned value;
  unsigned target;
  if constexpr (f.shape == Shape::kImmediate) {
    value = *CurrentInstruction().rn;
    target = CurrentInstruction().imm;
  } else {
    value = get_op<0, kValue>();
    target = get_op<1, kValue>();
  }
  if ((value == 0) == branch_on_zero) {
    registers_->pc() = target | flash_address_;
  } else {
    Advance<f>();
  }
}

// TBB [Rn, Rm]; TBH [Rn, Rm, LSL #1]
// Deliberate: the 4 bytes that pc is ahead of the instruction count with any base register, so
// that a table that is not addressed by pc is read 4 bytes too high.
template <Form f, class T>
void tbb() {
  constexpr unsigned kPcAhead = 4;
  const unsigned address = get_op<0, kAddressRawPc>() + kPcAhead;
  const unsigned entry = memory_->Read<T, true>(address).value;
  registers_->pc() += entry * 2 + kPcAhead;
}

template <bool branch_on_zero>
constexpr auto kCompareAndBranch =
    []<Form form>() -> Function { return &cbz<form, branch_on_zero>; };
template <class T>
constexpr auto kTableBranch = []<Form form>() -> Function { return &tbb<form, T>; };

}  // namespace

void AddBranches(InstructionTable& table) {
  table.Add("b_1", ImmediateShape::Of<kMayBranch>(FAMILY(jump)));
  Variants conditional = ImmediateShape::Of<kMayBranch | kConditional>(FAMILY(jump));
  conditional.SetConditions(ConditionalBranches(std::make_index_sequence<14>()));
  table.Add("b_cc_1", conditional);
  AddPair<ImmediateShape, kMayBranch | kLink>(table, "bl", "_1", FAMILY(jump));
  AddPair<RegisterShape, kMayBranch | kExchange>(table, "bx", "_1", FAMILY(jump));
  AddPair<RegisterShape, kMayBranch | kLink | kExchange>(table, "blx", "_1", FAMILY(jump));
  // Inside an IT block these have no function: they cannot stand there, or, as the table branches
  // at its end, are not supported.
  table.Add("cbz_2", ImmediateShape::Of<kMayBranch>(kCompareAndBranch<true>));
  table.Add("cbnz_2", ImmediateShape::Of<kMayBranch>(kCompareAndBranch<false>));
  table.Add("tbb_1", NoShapes::Of<0>(kTableBranch<unsigned char>));
  table.Add("tbh_1", NoShapes::Of<0>(kTableBranch<unsigned short>));
}

}  // namespace orvo
