// Loads and stores of one register. Source: ARMv7-M ARM, A7.7, under the names of the instructions.
// A load moves its base before the access, a store after it.

#include <type_traits>

#include "core/instruction_table.h"
#include "core/instructions/memory_operand.h"
#include "core/pc_write.h"
#include "memory/memory.h"

namespace orvo {
namespace {

enum class Extend { kZero, kSign };

template <class T, Extend extend>
unsigned Extended(T value) {
  if constexpr (extend == Extend::kSign) {
    return static_cast<unsigned>(static_cast<int>(static_cast<std::make_signed_t<T>>(value)));
  } else {
    return value;
  }
}

// Gives operand 0 what was loaded. Returns whether that was pc, which is then settled.
bool WriteLoaded(unsigned value, unsigned address) {
  const unsigned id = get_reg_id<0>();
  // Deliberate: D15 is no pair here; its loads go to a word that nothing reads.
  if (id >= kD0 && id < kD15) {
    const unsigned s_id = CurrentInstruction().rec_ptr[0]->s_id;
    registers_->word(s_id) = value;
    registers_->word(s_id + 1) = memory_->get<true>(address + 4);
    return false;
  }
  WriteRegister(id, value);
  if (id == kPc) BXWritePC();
  return id == kPc;
}

// LDR{B|H|SB|SH} Rt, [Rn, #imm]{!}; [Rn], #imm; [Rn, Rm{, LSL #n}]; <label>
// VLDR Sd|Dd, [Rn, #imm]; <label>
template <Form f, class T, Extend extend>
void ldr() {
  if (SkippedByCondition<f>()) return;
  const unsigned address = AccessAddress<f, 1>();
  // First the base, so that `ldr r0, [r0, #4]!` ends with the loaded value in r0.
  WriteBack<f, 1>(address);
  const Memory::Loaded<T> loaded = memory_->Read<T, true>(address);
  // Outside all sections no register is written; MemManage comes before the next instruction.
  if (!loaded.ok) return Advance<f>();
  const unsigned value = Extended<T, extend>(loaded.value);
  if constexpr (f.shape == Shape::kAny) {
    if (WriteLoaded(value, address)) return;
  } else {
    *CurrentInstruction().rd = value;
  }
  MarkFloatingPoint<f>();
  Advance<f>();
}

template <class T>
void StoreOperand(unsigned address) {
  const OperandRecord& record = *CurrentInstruction().rec_ptr[0];
  if (IsDoubleRegister(record)) {
    memory_->set<true>(address, registers_->word(record.s_id));
    memory_->set<true>(address + 4, registers_->word(record.s_id + 1));
  } else {
    memory_->Write<T, true>(address, static_cast<T>(get_op_reg_0()));
  }
}

// STR{B|H} Rt, [Rn, #imm]{!}; [Rn], #imm; [Rn, Rm{, LSL #n}]
// VSTR Sd|Dd, [Rn, #imm]
template <Form f, class T>
void str() {
  if (SkippedByCondition<f>()) return;
  const unsigned address = AccessAddress<f, 1>();
  if constexpr (f.shape == Shape::kAny) {
    StoreOperand<T>(address);
  } else {
    memory_->Write<T, true>(address, static_cast<T>(*CurrentInstruction().rd));
  }
  WriteBack<f, 1>(address);
  MarkFloatingPoint<f>();
  Advance<f>();
}

template <class T, Extend extend = Extend::kZero>
constexpr auto kLoad = []<Form form>() -> Function { return &ldr<form, T, extend>; };
template <class T>
constexpr auto kStore = []<Form form>() -> Function { return &str<form, T>; };

using StoreShapes = Shapes<Shape::kBase, Shape::kStack, Shape::kIndex>;
using FloatLoadShapes = Shapes<Shape::kBase, Shape::kStack, Shape::kLiteral>;
using FloatStoreShapes = Shapes<Shape::kBase, Shape::kStack>;

constexpr unsigned kPreIndexed = kWriteback;
constexpr unsigned kPostIndexed = kWriteback | kThreeOperands;
constexpr unsigned kIgnoredStep = kThreeOperands;

// base_2, base_2_writeback and their _cc forms
template <class Family>
void AddPlainAndPreIndexed(InstructionTable& table, const std::string& base, Family family) {
  AddPair<MemoryShapes>(table, base, "_2", family);
  AddPair<BaseShape, kPreIndexed>(table, base, "_2_writeback", family);
}

// The above, base_3_writeback, base_cc_3_writeback and base_cc_3
template <class Family>
void AddLoad(InstructionTable& table, const std::string& base, Family family) {
  AddPlainAndPreIndexed(table, base, family);
  AddPair<BaseShape, kPostIndexed>(table, base, "_3_writeback", family);
  table.Add(base + "_cc_3", NoShapes::Of<kIgnoredStep | kConditional>(family));
}

// base_2, base_3, base_2_writeback, base_3_writeback and their _cc forms
template <class S, unsigned flags = 0, class Family>
void AddStore(InstructionTable& table, const std::string& base, Family family) {
  AddPair<S, flags>(table, base, "_2", family);
  AddPair<NoShapes, flags | kIgnoredStep>(table, base, "_3", family);
  AddPair<BaseShape, flags | kPreIndexed>(table, base, "_2_writeback", family);
  AddPair<BaseShape, flags | kPostIndexed>(table, base, "_3_writeback", family);
}

}  // namespace

void AddLoadsAndStores(InstructionTable& table) {
  AddLoad(table, "ldr", kLoad<unsigned>);
  AddLoad(table, "ldrb", kLoad<unsigned char>);
  AddLoad(table, "ldrh", kLoad<unsigned short>);
  AddPlainAndPreIndexed(table, "ldrs", kLoad<unsigned>);

  constexpr auto ldrsb = kLoad<unsigned char, Extend::kSign>;
  AddPlainAndPreIndexed(table, "ldrsb", ldrsb);
  AddPair<NoShapes, kIgnoredStep>(table, "ldrsb", "_3", ldrsb);
  AddPair<BaseShape, kPostIndexed>(table, "ldrsb", "_3_writeback", ldrsb);

  constexpr auto ldrsh = kLoad<unsigned short, Extend::kSign>;
  AddPlainAndPreIndexed(table, "ldrsh", ldrsh);
  AddPair<BaseShape, kPostIndexed>(table, "ldrsh", "_3_writeback", ldrsh);
  // Deliberate: this one form extends with zeros.
  table.Add("ldrsh_cc_3", NoShapes::Of<kIgnoredStep | kConditional>(kLoad<unsigned short>));

  AddPair<FloatLoadShapes, kFloatingPoint>(table, "vldr", "_2", kLoad<unsigned>);

  AddStore<StoreShapes>(table, "str", kStore<unsigned>);
  AddStore<StoreShapes>(table, "strb", kStore<unsigned char>);
  AddStore<StoreShapes>(table, "strh", kStore<unsigned short>);
  AddStore<FloatStoreShapes, kFloatingPoint>(table, "vstr", kStore<unsigned>);

  AddDualLoadsAndStores(table);
  AddRegisterLists(table);
  AddStackInstructions(table);
  AddExclusives(table);
}

}  // namespace orvo
