// The key table: a key is base[_cc][_operands][_writeback], made from the printed mnemonic, and
// selects the functions of one instruction form.
#pragma once

#include <array>
#include <string>
#include <unordered_map>

#include "core/chain.h"
#include "core/form.h"

namespace orvo {

// The functions of one key, by the shape, the size and the condition that decoding found. Shapes
// and conditions without a variant of their own share the general function.
class Variants {
 public:
  explicit Variants(Function any) { functions_.fill(any); }

  Function general() const { return functions_[0]; }
  // `chained` goes on to the next instruction by itself (core/chain.h); null without such a form.
  void Set(Shape shape, unsigned size_bytes, Function function, Function chained) {
    functions_[Place(shape, size_bytes)] = function;
    chained_[Place(shape, size_bytes)] = chained;
  }
  Function at(Shape shape, unsigned size_bytes) const {
    return functions_[Place(shape, size_bytes)];
  }
  // Conditional branches have a chained form for each condition, 1 to 14.
  void SetConditions(const std::array<Function, 15>& chained) { by_condition_ = chained; }
  Function ChainedAt(Shape shape, unsigned size_bytes, unsigned cc) const {
    if (shape == Shape::kImmediate && cc < by_condition_.size() && by_condition_[cc] != nullptr)
      return by_condition_[cc];
    return chained_[Place(shape, size_bytes)];
  }

 private:
  static constexpr size_t Place(Shape shape, unsigned size_bytes) {
    return 2 * static_cast<unsigned>(shape) + (size_bytes == 4 ? 1 : 0);
  }

  std::array<Function, 2 * static_cast<unsigned>(Shape::kCount)> functions_;
  std::array<Function, 2 * static_cast<unsigned>(Shape::kCount)> chained_{};
  std::array<Function, 15> by_condition_{};
};

// The shapes for which a family has variants.
template <Shape... shapes>
struct Shapes {
  template <unsigned flags, class Family>
  static Variants Of(Family family) {
    Variants variants(family.template operator()<Form{flags}>());
    (Add<flags, shapes>(variants, family), ...);
    return variants;
  }

 private:
  template <unsigned flags, Shape shape, class Family>
  static void Add(Variants& variants, Family) {
    constexpr Function narrow = Family{}.template operator()<Form{flags, shape, 2}>();
    constexpr Function wide = Family{}.template operator()<Form{flags, shape, 4}>();
    constexpr bool may_branch = (flags & kMayBranch) != 0;
    variants.Set(shape, 2, narrow, &Chained<narrow, 2, may_branch>);
    variants.Set(shape, 4, wide, &Chained<wide, 4, may_branch>);
  }
};
using NoShapes = Shapes<>;
using DataShapes =
    Shapes<Shape::kRegister, Shape::kImmediate, Shape::kLsl, Shape::kLsr, Shape::kAsr>;
using SumShapes = Shapes<Shape::kRegister, Shape::kImmediate, Shape::kLsl, Shape::kLsr,
                         Shape::kAsr, Shape::kStackSum, Shape::kStackStep>;
using RegisterOrImmediate = Shapes<Shape::kRegister, Shape::kImmediate>;
using RegisterShape = Shapes<Shape::kRegister>;
using ImmediateShape = Shapes<Shape::kImmediate>;
using FieldShape = Shapes<Shape::kField>;
using MemoryShapes = Shapes<Shape::kBase, Shape::kStack, Shape::kIndex, Shape::kLiteral>;
using BaseShape = Shapes<Shape::kBase>;
using ListShape = Shapes<Shape::kList>;

// By condition, 1 to 14.
using BranchPairs = std::array<Function, 15>;

class InstructionTable {
 public:
  // Throws OrvoError when the key has functions already: a mistake in the rows.
  void Add(const std::string& key, const Variants& variants);
  // Null for a key that no row names.
  const Variants* Find(const std::string& key) const;
  // Functions that stand for a comparison and the conditional branch behind it (core/branch_pair.h).
  void AddBranchPairs(Function comparison, const BranchPairs& pairs);
  // Null for a function without such pairs.
  const BranchPairs* FindBranchPairs(Function comparison) const;
  size_t size() const { return mnemonic_2_arm_function_.size(); }
  const std::unordered_map<std::string, Variants>& rows() const {
    return mnemonic_2_arm_function_;
  }

 private:
  std::unordered_map<std::string, Variants> mnemonic_2_arm_function_;
  std::unordered_map<Function, BranchPairs> branch_pairs_;
};

// Names an instruction function template for a row of the table.
#define FAMILY(name) []<Form form>() -> Function { return &name<form>; }

// One key and its conditional twin.
template <class S, unsigned flags = 0, class Family>
void AddPair(InstructionTable& table, const std::string& base, const std::string& suffix,
             Family family) {
  table.Add(base + suffix, S::template Of<flags>(family));
  table.Add(base + "_cc" + suffix, S::template Of<flags | kConditional>(family));
}

// base_2, base_cc_2
template <class S, unsigned flags = 0, class Family>
void AddTwoOperandForms(InstructionTable& table, const std::string& base, Family family) {
  AddPair<S, flags>(table, base, "_2", family);
}

// base_3, base_cc_3
template <class S, unsigned flags = 0, class Family>
void AddThreeOperandForms(InstructionTable& table, const std::string& base, Family family) {
  AddPair<S, flags | kThreeOperands>(table, base, "_3", family);
}

// base_4, base_cc_4
template <class S, unsigned flags = 0, class Family>
void AddFourOperandForms(InstructionTable& table, const std::string& base, Family family) {
  AddPair<S, flags>(table, base, "_4", family);
}

// base_2, base_3, base_cc_2, base_cc_3
template <class S, unsigned flags = 0, class Family>
void AddForms(InstructionTable& table, const std::string& base, Family family) {
  AddTwoOperandForms<S, flags>(table, base, family);
  AddThreeOperandForms<S, flags>(table, base, family);
}

// The rows, by chapter of the manual.
void AddArithmetic(InstructionTable& table);
void AddLogic(InstructionTable& table);
void AddShifts(InstructionTable& table);
void AddMultiplications(InstructionTable& table);
void AddBitFields(InstructionTable& table);
void AddParallelArithmetic(InstructionTable& table);
void AddLoadsAndStores(InstructionTable& table);
void AddBranches(InstructionTable& table);
void AddSystemInstructions(InstructionTable& table);
void AddFloatingPoint(InstructionTable& table);
// Parts of chapters in files of their own, which the chapter adds:
void AddDualLoadsAndStores(InstructionTable& table);    // loads and stores
void AddRegisterLists(InstructionTable& table);         // loads and stores
void AddStackInstructions(InstructionTable& table);     // loads and stores
void AddExclusives(InstructionTable& table);            // loads and stores
void AddSpecialRegisterMoves(InstructionTable& table);  // system instructions
void AddFloatConversions(InstructionTable& table);      // floating point
void AddFloatMoves(InstructionTable& table);            // floating point

}  // namespace orvo
