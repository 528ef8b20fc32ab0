// From machine code to keys, operands and shapes.

#include <gmock/gmock.h>

#include "core/capstone_resolver.h"
#include "core/conditions.h"
#include "core/form.h"
#include "core/instruction_record.h"
#include "core_state.h"
#include "runner/errors.h"

namespace orvo {
namespace {

using Code = std::vector<unsigned short>;

// Decodes instruction after instruction, in the order of their addresses.
class Decoding : public CoreState {
 protected:
  std::string KeyAt(unsigned address, const Code& code) {
    std::vector<unsigned char> bytes;
    for (const unsigned short half : code) {
      bytes.push_back(static_cast<unsigned char>(half));
      bytes.push_back(static_cast<unsigned char>(half >> 8));
    }
    disassembly = {};
    if (!resolver.Decode(bytes.data(), bytes.size(), address, &disassembly)) return "nothing";
    return GetMnemonicName(disassembly.parts);
  }

  CapstoneResolver resolver;
  Disassembly disassembly;
};

struct KeyCase {
  const char* key;
  Code code;
};

std::ostream& operator<<(std::ostream& out, const KeyCase& c) { return out << c.key; }

class Keys : public Decoding, public testing::WithParamInterface<KeyCase> {};

TEST_P(Keys, OfPlainEncodings) { EXPECT_EQ(KeyAt(0x100, GetParam().code), GetParam().key); }

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, Keys, testing::Values(
    KeyCase{"adds_3",           {0x1840}},          // adds r0, r0, r1
    KeyCase{"add_2",            {0x4408}},          // add r0, r1
    KeyCase{"add_3",            {0xeb01, 0x0082}},  // add.w r0, r1, r2, lsl #2
    KeyCase{"addw_3",           {0xf20f, 0x0004}},  // adr.w r0, #4
    KeyCase{"nop_2",            {0xbf00}},
    KeyCase{"nop_4",            {0xf3af, 0x8000}},
    KeyCase{"it",               {0xbf0c}},          // ite eq
    KeyCase{"b_cc_1",           {0xd0fe}},          // beq
    KeyCase{"b_1",              {0xe7fe}},
    KeyCase{"push",             {0xb510}},
    KeyCase{"pop",              {0xbd10}},
    KeyCase{"stmdb_writeback",  {0xe92d, 0x0010}},  // push.w {r4}
    KeyCase{"str_2_writeback",  {0xf84d, 0x8d04}},  // push.w {r8}
    KeyCase{"ldr_3_writeback",  {0xf852, 0x3b04}},  // ldr r3, [r2], #4
    KeyCase{"ldrsh_3_writeback",{0xf931, 0x0b04}},  // ldrsh r0, [r1], #4
    KeyCase{"vadd_f32_3",       {0xee30, 0x0a81}},
    KeyCase{"vcvt_s32_f32_2",   {0xeebd, 0x0ac0}},
    KeyCase{"vmrs_2",           {0xeef1, 0xfa10}},
    KeyCase{"vpush",            {0xed2d, 0x8b02}},
    KeyCase{"ldmdb",            {0xe910, 0x0006}},
    KeyCase{"cpsid_0",          {0xb672}},
    KeyCase{"trap_0",           {0xdefe}},
    KeyCase{"udf_1",            {0xde00}},
    KeyCase{"hint_1",           {0xbf50}},
    KeyCase{"msr_2",            {0xf380, 0x8808}},  // msr msp, r0
    KeyCase{"mrs_2",            {0xf3ef, 0x8005}},  // mrs r0, ipsr
    // Not of a Cortex-M4.
    KeyCase{"nothing",          {0xf3e0, 0x8020}},  // mrs r0, r8_usr
    KeyCase{"nothing",          {0xf380, 0x8720}},  // msr r10_usr
    KeyCase{"nothing",          {0xef00, 0x9da4}},  // vadd.f32 d9, d16, d20
    KeyCase{"nothing",          {0xedd0, 0x0b00}},  // vldr d16, [r0]
    KeyCase{"nothing",          {0xffff, 0xffff}},
    KeyCase{"nothing",          {0xe800}}));        // half of a 32-bit instruction
// clang-format on


TEST_F(Decoding, ConditionsOfABlockReachEveryInstructionInIt) {
  EXPECT_EQ(KeyAt(0x100, {0xbf0b}), "it");  // itete eq
  EXPECT_EQ(KeyAt(0x102, {0x1840}), "add_cc_3");
  EXPECT_EQ(disassembly.parts.cc, 1u);
  EXPECT_EQ(KeyAt(0x104, {0xeb01, 0x0002}), "add_cc_3");
  EXPECT_EQ(disassembly.parts.cc, 2u);
  EXPECT_EQ(KeyAt(0x108, {0x6808}), "ldr_cc_2");
  EXPECT_EQ(disassembly.parts.cc, 1u);
  EXPECT_EQ(KeyAt(0x10a, {0xee30, 0x0a81}), "vadd_f32_cc_3");
  EXPECT_EQ(disassembly.parts.cc, 2u);
  EXPECT_EQ(KeyAt(0x10e, {0x1840}), "adds_3");
}

TEST_F(Decoding, AddressInABlockThatIsReachedFirstByABranchIsPlain) {
  EXPECT_EQ(KeyAt(0x102, {0x1840}), "adds_3");
}

TEST_F(Decoding, HandlerBetweenItAndItsBlockSpoilsNeither) {
  EXPECT_EQ(KeyAt(0x100, {0xbf0c}), "it");  // ite eq
  EXPECT_EQ(KeyAt(0x200, {0x1840}), "adds_3");
  EXPECT_EQ(KeyAt(0x202, {0xbf18}), "it");  // it ne, in the handler
  EXPECT_EQ(KeyAt(0x204, {0x1840}), "add_cc_3");
  EXPECT_EQ(disassembly.parts.cc, 2u);
  EXPECT_EQ(KeyAt(0x102, {0x1840}), "add_cc_3");
  EXPECT_EQ(disassembly.parts.cc, 1u);
  EXPECT_EQ(KeyAt(0x104, {0x1840}), "add_cc_3");
  EXPECT_EQ(disassembly.parts.cc, 2u);
}

TEST_F(Decoding, ShiftOfAMemoryIndexStandsInOperandZero) {
  ASSERT_EQ(KeyAt(0x100, {0xf851, 0x0022}), "ldr_2");  // ldr.w r0, [r1, r2, lsl #2]
  EXPECT_EQ(disassembly.operands[0].shift_type, ShiftType::kLsl);
  EXPECT_EQ(disassembly.operands[0].shift_amount, 2u);
  EXPECT_EQ(disassembly.operands[1].shift_type, ShiftType::kNone);
}

TEST_F(Decoding, SystemRegistersHaveOurIds) {
  constexpr std::pair<unsigned short, unsigned> kRegisters[] = {
      {0x8800, kXpsr}, {0x8808, kMsp}, {0x8809, kPsp}, {0x8810, kPrimask}, {0x8811, kBasepri},
      {0x8813, 277},   {0x8814, kControl}};
  for (const auto& [second_half, id] : kRegisters) {
    ASSERT_EQ(KeyAt(0x100, {0xf380, second_half}), "msr_2");
    EXPECT_EQ(disassembly.operands[0].reg, id) << std::hex << second_half;
  }
}

TEST_F(Decoding, BytesBeyondTheInstructionAreZero) {
  KeyAt(0x100, {0xeb01, 0x0082});
  KeyAt(0x104, {0x1840, 0xffff});
  EXPECT_EQ(disassembly.bytes[2], 0);
  EXPECT_EQ(disassembly.bytes[3], 0);
}

struct ShapeCase {
  const char* name;
  Shape shape;
  Code code;
};

std::ostream& operator<<(std::ostream& out, const ShapeCase& c) { return out << c.name; }

class ShapeOf : public Decoding, public testing::WithParamInterface<ShapeCase> {};

TEST_P(ShapeOf, DecodedOperands) {
  KeyAt(0x100, GetParam().code);
  my_insn_t insn;
  FillRecord(disassembly, &insn);
  EXPECT_EQ(static_cast<int>(SettleShape(insn, disassembly.parts.writeback)),
            static_cast<int>(GetParam().shape));
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, ShapeOf, testing::Values(
    ShapeCase{"three_registers",   Shape::kRegister,  {0x1840}},
    ShapeCase{"immediate",         Shape::kImmediate, {0x1c48}},          // adds r0, r1, #1
    ShapeCase{"shifted_source",    Shape::kLsl,       {0xeb01, 0x0082}},
    ShapeCase{"shift_sets_carry",  Shape::kAny,       {0xea11, 0x0082}},  // ands r0, r1, r2, lsl #2
    ShapeCase{"rotated_source",    Shape::kAny,       {0xeb01, 0x00b2}},  // ror #2
    ShapeCase{"stack_step",        Shape::kStackStep, {0xb082}},          // sub sp, #8
    ShapeCase{"stack_sum",         Shape::kStackSum,  {0xa902}},          // add r1, sp, #8
    ShapeCase{"stack_pointer",     Shape::kAny,       {0x466f}},          // mov r7, sp
    ShapeCase{"pc_source",         Shape::kAny,       {0x4478}},          // add r0, pc
    ShapeCase{"base",              Shape::kBase,      {0x6848}},          // ldr r0, [r1, #4]
    ShapeCase{"stack",             Shape::kStack,     {0x9801}},          // ldr r0, [sp, #4]
    ShapeCase{"index",             Shape::kIndex,     {0x5888}},          // ldr r0, [r1, r2]
    ShapeCase{"literal",           Shape::kLiteral,   {0x4801}},          // ldr r0, [pc, #4]
    ShapeCase{"post_indexed",      Shape::kBase,      {0xf852, 0x3b04}},
    ShapeCase{"load_to_pc",        Shape::kAny,       {0xf85d, 0xfb04}},  // ldr pc, [sp], #4
    ShapeCase{"double_word",       Shape::kBase,      {0xe9d1, 0x0202}},  // ldrd r0, r2, [r1, #8]
    ShapeCase{"register_list",     Shape::kList,      {0xe891, 0x003c}},  // ldm r1, {r2-r5}
    ShapeCase{"list_to_pc",        Shape::kList,      {0xbd10}},          // pop {r4, pc}
    ShapeCase{"list_below_sp",     Shape::kAny,       {0xe92d, 0x0010}},  // stmdb sp!, {r4}
    ShapeCase{"list_of_doubles",   Shape::kAny,       {0xed2d, 0x8b02}},  // vpush {d8}
    ShapeCase{"float",             Shape::kRegister,  {0xee30, 0x0a81}},
    ShapeCase{"double_register",   Shape::kAny,       {0xed91, 0x0b00}}), // vldr d0, [r1]
    [](const auto& suite) { return std::string(suite.param.name); });
// clang-format on

TEST_F(Decoding, LiteralAddressComesFromTheAlignedPc) {
  KeyAt(0x102, {0x4801});  // ldr r0, [pc, #4] at 0x102
  my_insn_t insn;
  FillRecord(disassembly, &insn);
  ASSERT_EQ(SettleShape(insn, false), Shape::kLiteral);
  EXPECT_EQ(insn.imm, 0x108u);
}

TEST(Conditions, MaskHoldsTheFlagsThatPass) {
  EXPECT_EQ(ConditionMask(0), 0xffff);
  EXPECT_EQ(ConditionMask(15), 0xffff);
  EXPECT_EQ(ConditionMask(1) ^ ConditionMask(2), 0xffff);
  EXPECT_EQ(ConditionMask(3) ^ ConditionMask(4), 0xffff);
  EXPECT_EQ(ConditionMask(9) ^ ConditionMask(10), 0xffff);
  EXPECT_EQ(ConditionMask(11) ^ ConditionMask(12), 0xffff);
  EXPECT_EQ(ConditionMask(13) ^ ConditionMask(14), 0xffff);
  EXPECT_EQ(ConditionMask(1), 0xf0f0);   // EQ: Z
  EXPECT_EQ(ConditionMask(3), 0xcccc);   // HS: C
  EXPECT_EQ(ConditionMask(5), 0xff00);   // MI: N
  EXPECT_EQ(ConditionMask(7), 0xaaaa);   // VS: V
  EXPECT_EQ(ConditionMask(9), 0x0c0c);   // HI: C and not Z
  EXPECT_EQ(ConditionMask(11), 0xaa55);  // GE: N equals V
  EXPECT_THROW(ConditionMask(16), OrvoError);
}

}  // namespace
}  // namespace orvo
