// Bit fields, extension, packing, reversal, counting and saturation of single words. Source:
// ARMv7-M ARM, A7.7, under the headings that stand beside the assembly.

#include <array>
#include <bit>

#include "core/instruction_table.h"

namespace orvo {
namespace {

// masks[n] has the n+1 low bits set.
constexpr std::array<unsigned, 32> masks = [] {
  std::array<unsigned, 32> table{};
  for (unsigned n = 0; n < 32; ++n) table[n] = ~0u >> (31 - n);
  return table;
}();

// What signExtend() puts above a field of n bits.
// Deliberate: between the multiples of four the masks leave gaps, and none is a plain ~masks[n].
constexpr std::array<unsigned, 32> sign_masks = {
    0xffffffff, 0xfffffff7, 0xfffffff3, 0xfffffff1, 0xfffffff0, 0xffffff70, 0xffffff30, 0xffffff10,
    0xffffff00, 0xfffff700, 0xfffff300, 0xfffff100, 0xfffff000, 0xffff7000, 0xffff3000, 0xffff1000,
    0xffff0000, 0xfff70000, 0xfff30000, 0xfff10000, 0xfff00000, 0xff700000, 0xff300000, 0xff100000,
    0xff000000, 0xf7000000, 0xf3000000, 0xf1000000, 0xf0000000, 0x70000000, 0x30000000, 0x10000000,
};

// Deliberate: the bit that decides is one above the field's top bit. A field of 32 bits has none
// above it and stays as it is.
unsigned signExtend(unsigned value, unsigned bits) {
  if (bits > 31) return value;
  return (value >> bits & 1u) != 0 ? value | sign_masks[bits] : value & masks[bits];
}

struct Field {
  unsigned lsb;
  unsigned width_bits;  // 1 to 32

  unsigned Mask() const {
    return static_cast<unsigned>(static_cast<unsigned long>(masks[width_bits - 1]) << lsb);
  }
};

// The field that operands N and N+1 name.
template <unsigned N, Form f>
Field ReadField() {
  if constexpr (f.shape == Shape::kAny) {
    return {get_op<N, kValue>(), get_op<N + 1, kValue>()};
  } else {
    return {CurrentInstruction().imm, CurrentInstruction().shift_amount};
  }
}

// Operand 1 of a form with a field behind it.
template <Form f>
unsigned FieldSource() {
  if constexpr (f.shape == Shape::kAny) {
    return get_op<1, kValue>();
  } else {
    return *CurrentInstruction().rn;
  }
}

// Operand 0, of which all but the field stays.
template <Form f>
unsigned FieldDestination() {
  if constexpr (f.shape == Shape::kAny) {
    return get_op<0, kValue>();
  } else {
    return *CurrentInstruction().rd;
  }
}

// UBFX Rd, Rn, #lsb, #width           "UBFX"
template <Form f>
void _ubfx_4_() {
  if (SkippedByCondition<f>()) return;
  const Field field = ReadField<2, f>();
  WriteAndAdvance<f>(FieldSource<f>() >> (field.lsb & 31) & masks[field.width_bits - 1]);
}

// SBFX Rd, Rn, #lsb, #width           "SBFX"
template <Form f>
void sbfx_4() {
  if (SkippedByCondition<f>()) return;
  const Field field = ReadField<2, f>();
  WriteAndAdvance<f>(signExtend(FieldSource<f>() >> (field.lsb & 31), field.width_bits));
}

// BFC Rd, #lsb, #width                "BFC"
template <Form f>
void bfc_3() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(FieldDestination<f>() & ~ReadField<1, f>().Mask());
}

// BFI Rd, Rn, #lsb, #width            "BFI"
template <Form f>
void bfi_4() {
  if (SkippedByCondition<f>()) return;
  const Field field = ReadField<2, f>();
  const unsigned mask = field.Mask();
  const unsigned inserted = FieldSource<f>() << (field.lsb & 31) & mask;
  WriteAndAdvance<f>((FieldDestination<f>() & ~mask) | inserted);
}

// UXTB, UXTH Rd, Rm, <rotation>       "UXTB", "UXTH"
// The rotation arrives through the operand's shift, here and below.
template <unsigned mask, Form f>
void uxt() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(Second<f>() & mask);
}

// SXTB, SXTH Rd, Rm, <rotation>       "SXTB", "SXTH"
template <class Part, Form f>
void sxt() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(static_cast<unsigned>(static_cast<Part>(Second<f>())));
}

// UXTAB, UXTAH Rd, Rn, Rm, <rotation> "UXTAB", "UXTAH"
template <unsigned mask, Form f>
void uxta() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>((Second<f>() & mask) + First<f>());
}

// SXTAB, SXTAH Rd, Rn, Rm, <rotation> "SXTAB", "SXTAH"
// Deliberate: the mask is on the first source, not on the rotated one as in uxtab, and the masked
// value is not sign-extended.
template <unsigned mask, Form f>
void sxta() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>((First<f>() & mask) + Second<f>());
}

// SXTB16 Rd, Rm, <rotation>           "SXTB16"
// Deliberate: Rd is the source; Rm and its rotation are not read.
template <Form f>
void sxtb16() {
  if (SkippedByCondition<f>()) return;
  const unsigned source = First<f>();
  const unsigned low = static_cast<unsigned>(static_cast<signed char>(source)) & 0xffff;
  const unsigned high = static_cast<unsigned>(static_cast<signed char>(source >> 16));
  WriteAndAdvance<f>(high << 16 | low);
}

// CLZ Rd, Rm                          "CLZ"
template <Form f>
void clz_2() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(static_cast<unsigned>(std::countl_zero(Second<f>())));
}

constexpr std::array<unsigned char, 256> kReversedBytes = [] {
  std::array<unsigned char, 256> table{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    unsigned reversed = 0;
    for (unsigned bit = 0; bit < 8; ++bit) reversed |= (byte >> bit & 1u) << (7 - bit);
    table[byte] = static_cast<unsigned char>(reversed);
  }
  return table;
}();

unsigned ReverseBitOrder(unsigned v) {
  return static_cast<unsigned>(kReversedBytes[v & 0xff]) << 24 |
         static_cast<unsigned>(kReversedBytes[v >> 8 & 0xff]) << 16 |
         static_cast<unsigned>(kReversedBytes[v >> 16 & 0xff]) << 8 | kReversedBytes[v >> 24];
}

unsigned rev(unsigned v) { return v << 24 | (v << 8 & 0xff0000) | (v >> 8 & 0xff00) | v >> 24; }

unsigned rev16(unsigned v) { return (v << 8 & 0xff00ff00) | (v >> 8 & 0x00ff00ff); }

// Deliberate: everything from 128 on counts as negative, not only what has bit 7 set.
unsigned revsh(unsigned v) {
  if (v < 128) return v << 8;
  return (v << 8 & 0xffff) | (v >> 8 & 0xff) | 0xffff0000;
}

// RBIT Rd, Rm                         "RBIT"
template <Form f>
void rbit_2() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(ReverseBitOrder(Second<f>()));
}

// REV Rd, Rm                          "REV"
template <Form f>
void rev_2() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(rev(Second<f>()));
}

// REV16 Rd, Rm                        "REV16"
template <Form f>
void rev16_2() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(rev16(Second<f>()));
}

// REVSH Rd, Rm                        "REVSH"
template <Form f>
void revsh_2() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>(revsh(Second<f>()));
}

// PKHBT Rd, Rn, Rm, LSL #n            "PKHBT, PKHTB"
template <Form f>
void pkhbt_3() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>((First<f>() & 0xffff) | (Second<f>() & 0xffff0000));
}

// PKHTB Rd, Rn, Rm, ASR #n            "PKHBT, PKHTB"
template <Form f>
void pkhtb_3() {
  if (SkippedByCondition<f>()) return;
  WriteAndAdvance<f>((Second<f>() & 0xffff) | (First<f>() & 0xffff0000));
}

// USAT Rd, #bits, Rn, <shift>         "USAT"
template <Form f>
void usat_3() {
  if (SkippedByCondition<f>()) return;
  const int mask = static_cast<int>((1u << (First<f>() & 31)) - 1);
  const int value = static_cast<int>(Second<f>());
  if (value < 0 || value > mask) updateCPSROnlyQ(true);
  WriteAndAdvance<f>(static_cast<unsigned>(value < 0 ? 0 : value > mask ? mask : value));
}

// Families with a parameter besides the form, for the rows below.
template <unsigned mask>
constexpr auto kUxt = []<Form form>() -> Function { return &uxt<mask, form>; };
template <class Part>
constexpr auto kSxt = []<Form form>() -> Function { return &sxt<Part, form>; };
template <unsigned mask>
constexpr auto kUxta = []<Form form>() -> Function { return &uxta<mask, form>; };
template <unsigned mask>
constexpr auto kSxta = []<Form form>() -> Function { return &sxta<mask, form>; };

}  // namespace

void AddBitFields(InstructionTable& table) {
  // clang-format off
  AddFourOperandForms<FieldShape>    (table, "ubfx",   FAMILY(_ubfx_4_));
  AddFourOperandForms<FieldShape>    (table, "sbfx",   FAMILY(sbfx_4));
  AddFourOperandForms<FieldShape>    (table, "bfi",    FAMILY(bfi_4));
  AddThreeOperandForms<FieldShape>   (table, "bfc",    FAMILY(bfc_3));
  AddTwoOperandForms<RegisterShape>  (table, "uxtb",   kUxt<0xff>);
  AddTwoOperandForms<RegisterShape>  (table, "uxth",   kUxt<0xffff>);
  AddTwoOperandForms<RegisterShape>  (table, "sxtb",   kSxt<signed char>);
  AddTwoOperandForms<RegisterShape>  (table, "sxth",   kSxt<short>);
  AddTwoOperandForms<RegisterShape>  (table, "sxtb16", FAMILY(sxtb16));
  AddThreeOperandForms<RegisterShape>(table, "uxtah",  kUxta<0xffff>);
  AddForms<RegisterShape>            (table, "sxtab",  kSxta<0xff>);
  AddForms<RegisterShape>            (table, "sxtah",  kSxta<0xffff>);
  AddTwoOperandForms<RegisterShape>  (table, "clz",    FAMILY(clz_2));
  AddTwoOperandForms<RegisterShape>  (table, "rbit",   FAMILY(rbit_2));
  AddTwoOperandForms<RegisterShape>  (table, "rev",    FAMILY(rev_2));
  AddTwoOperandForms<RegisterShape>  (table, "rev16",  FAMILY(rev16_2));
  AddTwoOperandForms<RegisterShape>  (table, "revsh",  FAMILY(revsh_2));
  AddThreeOperandForms<RegisterShape>(table, "pkhbt",  FAMILY(pkhbt_3));
  AddThreeOperandForms<NoShapes>     (table, "pkhtb",  FAMILY(pkhtb_3));
  AddThreeOperandForms<NoShapes>     (table, "usat",   FAMILY(usat_3));
  // clang-format on
  // Deliberate: the plain key has the conditional function too. Its condition always holds; it
  // moves on the state of an IT block that is still open.
  constexpr unsigned kBothForms = kThreeOperands | kConditional;
  table.Add("uxtab_3", RegisterShape::Of<kBothForms>(kUxta<0xff>));
  table.Add("uxtab_cc_3", RegisterShape::Of<kBothForms>(kUxta<0xff>));
}

}  // namespace orvo
