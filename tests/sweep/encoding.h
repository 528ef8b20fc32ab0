// The encodings of ARMv7E-M with single-precision floating point as rows that can be read beside
// the manual, and what an encoding comes to by its row.
//
// Bits, from the highest: 0 and 1 are fixed, z and o are the manual's (0) and (1), - is of no
// account, letters are fields. A field's bits may stand apart; they are joined in their order.
//
// Names are the bases of our keys. {s}: "s" outside IT blocks; {S}: "s" if S is set; {a:x|y}: the
// text numbered by field a, none for UNDEFINED; {a?x}: x if a isn't 0; <c>: field c is the
// condition; = in front: the instruction takes no condition, ! nor may it stand in an IT block;
// ~: not what the manual has but what we make of it. No name: UNDEFINED, or without effect.
//
// Operands stand in the order of the assembly:
//   Rd rd Bd    core register of field d; rd is UNPREDICTABLE as sp and pc, Bd as pc
//   Sd Dd       floating point register of field d and its bit D
//   rm,lsl#i    with a shift; rm,shift has its type in t
//   #i*4 #i|32  an immediate, 32 for 0; also + - / and a:i, field i behind field a
//   #ThumbExpand(i) #VFPExpand(i)
//   [Bn,#i]     memory; +-#i is negative if U is 0; ! behind it for writeback; the operand ,#i
//               behind it is the step of a post-indexed access
//   Rn! Rn!W Rn!l  base of a list: moves, moves if W is set, moves if it isn't in the list
//   {l}         core registers of the bits l, lr if M is set, pc if P is
//   {Sd*i}      i registers from Sd on, one for 0
//   @i @+i      branch target in halfwords, signed or not, from pc + 4; ~J is NOT(J EOR S)
//   sys fpsys   special register of SYSm in y and the mask in k; of the floating point unit in y
//
// Of several rows that fit, the first counts: it is what the manual says under SEE.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "core/my_insn.h"

namespace orvo {

struct Row {
  const char* bits;
  const char* name;
  const char* operands = "";
  // What is UNPREDICTABLE beyond the registers and lists: "l=h i+w>31", any of them.
  const char* unpredictable = "";
};

std::vector<Row> NarrowRows();  // 16 bits
std::vector<Row> WideRows();    // 32 bits, the first halfword in front
std::vector<Row> FloatRows();

// Where an instruction is decoded.
struct Place {
  unsigned address = 0;
  bool in_block = false;
  unsigned condition = 14;  // of the block; 14 is AL
};

enum class Validity { kDefined, kUnpredictable, kUndefined };

// What an encoding is, by a row.
struct Reading {
  Validity validity = Validity::kDefined;
  std::string base;  // of the key
  std::string key;
  unsigned cc = 15;  // 1 EQ to 14 LE, 15 AL
  std::vector<Operand> operands;
  bool writeback = false;
};

class Encoding {
 public:
  Encoding(const Row& row);  // NOLINT: rows are encodings

  const Row& row() const { return row_; }
  unsigned size_bytes() const { return size_bytes_; }
  bool Fits(unsigned code) const { return (code & fixed_mask_) == fixed_; }
  // Whether some second halfword makes it fit.
  bool FitsFirstHalf(unsigned first) const {
    return (((first << 16) ^ fixed_) & fixed_mask_) >> 16 == 0;
  }
  // Whether the manual gives it a meaning, and not only we.
  bool IsOfTheManual() const { return *row_.name != '\0' && *row_.name != '~'; }
  // The code with the row's bits put in; `strictly`: (0) and (1) too.
  unsigned Filled(unsigned code, bool strictly) const;
  Reading Read(unsigned code, const Place& place) const;

 private:
  friend class RowReader;
  Row row_;
  unsigned size_bytes_;
  unsigned fixed_mask_ = 0, fixed_ = 0;
  unsigned should_mask_ = 0, should_ = 0;
  std::array<unsigned, 128> fields_{};  // masks by letter
};

}  // namespace orvo
