// Supervisor calls, breakpoints, events, hints and IT. Source: ARMv7-M ARM, A7.7, under the names
// of the instructions; B5.2, "CPS".

#include "core/instruction_table.h"
#include "mcu/mcu.h"
#include "time/interrupts.h"

namespace orvo {
namespace {

// SVC #imm
template <Form f>
void svc() {
  if (SkippedByCondition<f>()) return;
  interrupts_->RaiseInterrupt(kSvCall, true);
  Advance<f>();
}

// UDF #imm, and in place of whatever does not decode. Such a record is empty, its size 0: pc stays.
template <Form f>
void udf() {
  if (SkippedByCondition<f>()) return;
  interrupts_->RaiseInterrupt(kUsageFault, true);
  Advance<f>();
}

// BKPT #imm
template <Form f>
void bkpt() {
  if (SkippedByCondition<f>()) return;
  mcu_->Bkpt(get_op<0, kValue>());
  Advance<f>();
}

// WFE
template <Form f>
void wfe() {
  if (SkippedByCondition<f>()) return;
  const unsigned here = registers_->pc();
  mcu_->WaitForEvent();
  if (registers_->pc() == here) Advance<f>();  // not after a debugger's reset
}

// SEV
template <Form f>
void sev() {
  if (SkippedByCondition<f>()) return;
  mcu_->SendEvent();
  Advance<f>();
}

// WFI, DSB, DMB, ISB, PLD, unallocated hints. Deliberate: WFI does not wait, firmware spins in its
// idle loop instead.
template <Form f>
void _nop_() {
  if (SkippedByCondition<f>()) return;
  Advance<f>();
}

// NOP, whose key carries its size.
template <Form f, unsigned size_bytes>
void _nop_size() {
  if (SkippedByCondition<f>()) return;
  registers_->pc() += size_bytes;
}

// CPSID, CPSIE. Deliberate: PRIMASK stands in for FAULTMASK too, `cpsid f` is `cpsid i`.
template <Form f, unsigned primask>
void cps() {
  registers_->word(kPrimask) = primask;
  Advance<f>();
}

// IT{x{y{z}}} cond: the low byte of the encoding is the new state.
template <Form f>
void _it_() {
  SetItReg(CurrentInstruction().bytes[0]);
  Advance<f>();
}

template <unsigned size_bytes>
constexpr auto kNop = []<Form form>() -> Function { return &_nop_size<form, size_bytes>; };
template <unsigned primask>
constexpr auto kCps = []<Form form>() -> Function { return &cps<form, primask>; };

}  // namespace

void AddSystemInstructions(InstructionTable& table) {
  AddPair<NoShapes>(table, "svc", "_1", FAMILY(svc));
  AddPair<NoShapes>(table, "udf", "_1", FAMILY(udf));
  // The name that the disassembler gives to UDF #0xfe.
  AddPair<NoShapes>(table, "trap", "_0", FAMILY(udf));
  AddPair<NoShapes>(table, "bkpt", "_1", FAMILY(bkpt));
  AddPair<NoShapes>(table, "wfe", "_0", FAMILY(wfe));
  AddPair<NoShapes>(table, "sev", "_0", FAMILY(sev));
  for (const char* name : {"wfi", "dsb", "dmb", "isb"}) {
    AddPair<NoShapes>(table, name, "_0", FAMILY(_nop_));
  }
  AddPair<NoShapes>(table, "pld", "_1", FAMILY(_nop_));
  AddPair<NoShapes>(table, "hint", "_1", FAMILY(_nop_));
  AddPair<NoShapes>(table, "nop", "_2", kNop<2>);
  AddPair<NoShapes>(table, "nop", "_4", kNop<4>);
  table.Add("cpsid_0", NoShapes::Of<0>(kCps<1>));
  table.Add("cpsie_0", NoShapes::Of<0>(kCps<0>));
  table.Add("it", NoShapes::Of<0>(FAMILY(_it_)));
  AddSpecialRegisterMoves(table);
}

}  // namespace orvo
