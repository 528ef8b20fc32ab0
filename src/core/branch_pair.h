// A comparison and the conditional branch behind it in one call of the run loop. Nothing can be
// told from two calls: the step between them is taken here, and only if nothing is due at it and
// no exception waits; otherwise the comparison runs alone and the loop goes on as ever.
#pragma once

#include "core/chain.h"
#include "core/form.h"
#include "core/instruction_table.h"

namespace orvo {

// B<cond> with its condition settled, and on to where it leads.
template <unsigned cc>
[[gnu::always_inline]] inline void ChainedBranchIf(my_insn_t* here) {
  if (InItBlock()) ItAdvance();
  if (Condition<cc>()) {
    registers_->pc() = here->imm | flash_address_;
    GoOnAtPc(here);
  } else {
    registers_->pc() += here->size;
    GoOnBehind(here, here->size);
  }
}

template <unsigned cc>
void ChainedBranch() {
  ChainedBranchIf<cc>(*current_instruction_);
}

template <Function comparison, unsigned size_bytes, unsigned cc>
void WithBranch() {
  const bool both = TakeQuietStep();
  my_insn_t* const insn = *current_instruction_;
  comparison();
  if (both) ChainedBranchIf<cc>(insn + size_bytes);  // records stand by byte offset
}

namespace branch_pair_detail {

template <Function comparison, unsigned size_bytes, size_t... n>
void Add(InstructionTable& table, std::index_sequence<n...>) {
  table.AddBranchPairs(&Chained<comparison, size_bytes, false>,
                       {nullptr, &WithBranch<comparison, size_bytes, n + 1>...});
}

}  // namespace branch_pair_detail

// Pairs of a family's forms of one number of operands with all conditions.
template <unsigned flags, Shape... shapes, class Family>
void AddBranchPairs(InstructionTable& table, Family) {
  constexpr auto conditions = std::make_index_sequence<14>();
  ((branch_pair_detail::Add<Family{}.template operator()<Form{flags, shapes, 2}>(), 2>(table,
                                                                                       conditions),
    branch_pair_detail::Add<Family{}.template operator()<Form{flags, shapes, 4}>(), 4>(
        table, conditions)),
   ...);
}

}  // namespace orvo
