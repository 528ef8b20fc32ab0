// The key table: a key is base[_cc][_operands][_writeback], made from the printed mnemonic, and
// selects the functions of one instruction form.
#pragma once

#include <array>
#include <string>
#include <unordered_map>

#include "core/form.h"

namespace orvo {

// The functions of one key, by the shape and the size that decoding found. Shapes without a
// variant of their own share the general function.
class Variants {
 public:
  explicit Variants(Function any) { functions_.fill(any); }

  Function general() const { return functions_[0]; }
  Function& at(Shape shape, unsigned size_bytes) {
    return functions_[2 * static_cast<unsigned>(shape) + (size_bytes == 4 ? 1 : 0)];
  }
  Function at(Shape shape, unsigned size_bytes) const {
    return functions_[2 * static_cast<unsigned>(shape) + (size_bytes == 4 ? 1 : 0)];
  }

 private:
  std::array<Function, 2 * static_cast<unsigned>(Shape::kCount)> functions_;
};

// The shapes for which a family has variants.
template <Shape... shapes>
struct Shapes {
  template <unsigned flags, class Family>
  static Variants Of(Family family) {
    Variants variants(family.template operator()<Form{flags}>());
    ((variants.at(shapes, 2) = family.template operator()<Form{flags, shapes, 2}>(),
      variants.at(shapes, 4) = family.template operator()<Form{flags, shapes, 4}>()),
     ...);
    return variants;
  }
};
using NoShapes = Shapes<>;
using DataShapes =
    Shapes<Shape::kRegister, Shape::kImmediate, Shape::kLsl, Shape::kLsr, Shape::kAsr>;
using RegisterOrImmediate = Shapes<Shape::kRegister, Shape::kImmediate>;
using RegisterShape = Shapes<Shape::kRegister>;
using ImmediateShape = Shapes<Shape::kImmediate>;
using FieldShape = Shapes<Shape::kField>;
using MemoryShapes = Shapes<Shape::kBase, Shape::kStack, Shape::kIndex, Shape::kLiteral>;
using BaseShape = Shapes<Shape::kBase>;
using ListShape = Shapes<Shape::kList>;

class InstructionTable {
 public:
  // Throws OrvoError when the key has functions already: a mistake in the rows.
  void Add(const std::string& key, const Variants& variants);
  // Null for a key that no row names.
  const Variants* Find(const std::string& key) const;
  size_t size() const { return mnemonic_2_arm_function_.size(); }
  const std::unordered_map<std::string, Variants>& rows() const {
    return mnemonic_2_arm_function_;
  }

 private:
  std::unordered_map<std::string, Variants> mnemonic_2_arm_function_;
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
