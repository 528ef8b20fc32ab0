// Exclusive accesses. Source: ARMv7-M ARM, A3.4 and A7.7, "LDREX", "STREX", "CLREX".
// The monitor (memory/memory_exclusiveness.h) accesses memory and writes the registers itself.

#include "core/instruction_table.h"
#include "memory/memory_exclusiveness.h"

namespace orvo {
namespace {

// LDREX{B|H} Rt, [Rn{, #imm}]
template <Form f, class T>
void ldrex() {
  if (SkippedByCondition<f>()) return;
  const unsigned address = get_op_mem<1, kAddress>();
  const unsigned id = get_reg_id<0>();
  if constexpr (sizeof(T) == sizeof(unsigned)) {
    memory_exclusiveness_->Ldrex(id, address);
  } else if constexpr (sizeof(T) == sizeof(unsigned short)) {
    memory_exclusiveness_->Ldrexh(id, address);
  } else {
    memory_exclusiveness_->Ldrexb(id, address);
  }
  Advance<f>();
}

// STREX{B|H} Rd, Rt, [Rn{, #imm}]
template <Form f, class T>
void strex() {
  if (SkippedByCondition<f>()) return;
  const unsigned address = get_op_mem<2, kAddress>();
  const T value = static_cast<T>(get_op<1, kValue>());
  const unsigned status_id = get_reg_id<0>();
  if constexpr (sizeof(T) == sizeof(unsigned)) {
    memory_exclusiveness_->Strex(status_id, value, address);
  } else if constexpr (sizeof(T) == sizeof(unsigned short)) {
    memory_exclusiveness_->Strexh(status_id, value, address);
  } else {
    memory_exclusiveness_->Strexb(status_id, value, address);
  }
  Advance<f>();
}

// CLREX
template <Form f>
void clrex() {
  if (SkippedByCondition<f>()) return;
  memory_exclusiveness_->Clrex();
  Advance<f>();
}

template <class T>
constexpr auto kLoad = []<Form form>() -> Function { return &ldrex<form, T>; };
template <class T>
constexpr auto kStore = []<Form form>() -> Function { return &strex<form, T>; };

}  // namespace

void AddExclusives(InstructionTable& table) {
  AddPair<NoShapes>(table, "ldrex", "_2", kLoad<unsigned>);
  AddPair<NoShapes>(table, "ldrexb", "_2", kLoad<unsigned char>);
  AddPair<NoShapes>(table, "ldrexh", "_2", kLoad<unsigned short>);
  AddPair<NoShapes>(table, "strex", "_3", kStore<unsigned>);
  AddPair<NoShapes>(table, "strexb", "_3", kStore<unsigned char>);
  AddPair<NoShapes>(table, "strexh", "_3", kStore<unsigned short>);
  AddPair<NoShapes>(table, "clrex", "_0", FAMILY(clrex));
}

}  // namespace orvo
