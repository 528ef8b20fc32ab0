// Every function that was specialised for settled operands against the general function of its key:
// whatever the registers hold, both leave the same register file.

#include <gmock/gmock.h>

#include <random>
#include <set>

#include "core/capstone_resolver.h"
#include "core/decoder.h"
#include "core/instruction_record.h"
#include "core/instruction_table.h"
#include "support/core_bench.h"

namespace orvo {
namespace {

constexpr unsigned kPlainAddress = 0x2000;
constexpr unsigned kBlockAddress = 0x3000;

class ShapeVariants : public testing::Test {
 protected:
  // Decodes the instruction, after `it eq` if it is to be conditional, and executes both functions
  // of its key if there are two.
  void Compare(unsigned encoding, bool conditional) {
    unsigned address = kPlainAddress;
    if (conditional) {
      constexpr unsigned char kItEq[] = {0x08, 0xbf};
      Disassembly it;
      ASSERT_TRUE(resolver.Decode(kItEq, sizeof(kItEq), kBlockAddress, &it));
      address = kBlockAddress + sizeof(kItEq);
    }
    const bool wide = encoding > 0xffff;
    const unsigned first = wide ? encoding >> 16 : encoding;
    const unsigned char bytes[] = {
        static_cast<unsigned char>(first), static_cast<unsigned char>(first >> 8),
        static_cast<unsigned char>(encoding), static_cast<unsigned char>(encoding >> 8)};
    Disassembly disassembly;
    if (!resolver.Decode(bytes, wide ? 4 : 2, address, &disassembly)) return;
    const std::string key = GetMnemonicName(disassembly.parts);
    const Variants* variants = Instructions().Find(key);
    if (variants == nullptr) return;

    my_insn_t record;
    FillRecord(disassembly, &record);
    const Shape shape = SettleShape(record, disassembly.parts.writeback);
    const Function chosen = variants->at(shape, record.size);
    if (chosen == variants->general()) return;
    families.insert(key.substr(0, key.find('_')));

    const Registers before = RandomRegisters(address, key.rfind("sdiv", 0) == 0);
    const Registers expected = Execute(variants->general(), &record, before);
    const Registers actual = Execute(chosen, &record, before);
    for (unsigned id = 0; id < kRegisterCount; ++id) {
      ASSERT_EQ(actual.get(id), expected.get(id))
          << key << " " << disassembly.operand_text << ", register id " << id;
    }
  }

  void CompareBoth(unsigned encoding) {
    Compare(encoding, false);
    Compare(encoding, true);
  }

  // Those of the families for which no pair of functions was compared.
  std::set<std::string> NotCompared(std::set<std::string> expected) const {
    for (const std::string& family : families) expected.erase(family);
    return expected;
  }

  Registers Execute(Function function, my_insn_t* record, const Registers& before) {
    bench.registers() = before;
    *current_instruction_ = record;
    function();
    return bench.registers();
  }

  // Corners as often as anything; the one division that traps on the host can't come up.
  unsigned RandomWord(bool division) {
    constexpr unsigned kCorners[] = {0, 1, 31, 32, 33, 0xff, 0x100, 0x7fffffff, 0x8000, ~0u};
    if (random() % 2 == 0) return kCorners[random() % std::size(kCorners)];
    if (!division && random() % 8 == 0) return 0x80000000;
    return static_cast<unsigned>(random()) | (division ? 1u : 0u);
  }

  Registers RandomRegisters(unsigned pc, bool division) {
    Registers registers;
    registers.init(pc, 0x20001000);
    for (unsigned n = 0; n <= kR12 - kR0; ++n) registers.r(n) = RandomWord(division);
    registers.lr() = RandomWord(division);
    // Flags, Q and GE; and the IT state of a block's only instruction.
    registers.set_xpsr((static_cast<unsigned>(random()) & 0xf80f0000) | 0x0800);
    return registers;
  }

  CoreBench bench;
  CapstoneResolver resolver;
  std::mt19937 random{20240229};
  std::set<std::string> families;
};

TEST_F(ShapeVariants, SixteenBitInstructionsDoWhatTheirGeneralFunctionDoes) {
  constexpr std::pair<unsigned, unsigned> kDataProcessing[] = {
      {0x0000, 0x46ff},   // shifts, additions, immediates, logic, high registers
      {0xa000, 0xb0ff},   // adr, additions to sp
      {0xb200, 0xb2ff},   // extensions
      {0xba00, 0xbaff}};  // reversals
  for (const auto& [first, last] : kDataProcessing) {
    for (unsigned encoding = first; encoding <= last; ++encoding) {
      CompareBoth(encoding);
      if (HasFatalFailure()) return;
    }
  }
  EXPECT_THAT(NotCompared({"adds", "subs", "adcs", "sbcs", "rsbs",  "add",   "sub",  "adc",  "sbc",
                           "rsb",  "cmp",  "cmn",  "movs", "mov",   "mvns",  "mvn",  "ands", "and",
                           "orrs", "orr",  "eors", "eor",  "bics",  "bic",   "tst",  "lsls", "lsl",
                           "lsrs", "lsr",  "asrs", "asr",  "rors",  "ror",   "muls", "mul",  "uxtb",
                           "uxth", "sxtb", "sxth", "rev",  "rev16", "revsh", "adr"}),
              testing::IsEmpty());
}

TEST_F(ShapeVariants, ThirtyTwoBitInstructionsDoWhatTheirGeneralFunctionDoes) {
  struct Space {
    unsigned first;  // of the first halfwords
    unsigned count;
    unsigned second_mask;
  };
  constexpr Space kDataProcessing[] = {
      {0xea00, 0x200, 0xffff},   // shifted registers
      {0xf000, 0x400, 0x7fff},   // immediates and bit fields; the rest are branches
      {0xfa00, 0x100, 0xffff},   // shifts, extensions, parallel arithmetic
      {0xfb00, 0x100, 0xffff}};  // multiplications, divisions
  for (const Space& space : kDataProcessing) {
    for (unsigned n = 0; n < 60'000; ++n) {
      const unsigned first = space.first + static_cast<unsigned>(random()) % space.count;
      // Half of the second halfwords have the fields that most encodings of a space fix.
      unsigned second = static_cast<unsigned>(random()) & space.second_mask;
      if (space.first >= 0xfa00 && n % 2 == 0) second |= 0xf000;
      CompareBoth(first << 16 | second);
      if (HasFatalFailure()) return;
    }
  }
  EXPECT_THAT(
      NotCompared({"adds",   "add",    "addw",  "subs",   "sub",     "subw",   "adcs",   "adc",
                   "sbcs",   "sbc",    "rsbs",  "rsb",    "cmp",     "cmn",    "movs",   "mov",
                   "movw",   "movt",   "mvns",  "mvn",    "ands",    "and",    "orrs",   "orr",
                   "orns",   "orn",    "eors",  "eor",    "bics",    "bic",    "tst",    "teq",
                   "lsls",   "lsl",    "lsrs",  "lsr",    "asrs",    "asr",    "rors",   "ror",
                   "rrxs",   "rrx",    "mul",   "mla",    "mls",     "umull",  "smull",  "umlal",
                   "smlal",  "udiv",   "sdiv",  "smulbb", "smlabb",  "smlabt", "smlatb", "smlatt",
                   "smuad",  "smuadx", "smusd", "smusdx", "smlsd",   "smlsdx", "smlald", "smlaldx",
                   "ubfx",   "sbfx",   "bfi",   "bfc",    "uxtb",    "uxth",   "sxtb",   "sxth",
                   "sxtb16", "uxtab",  "uxtah", "sxtab",  "sxtah",   "clz",    "rbit",   "rev",
                   "rev16",  "revsh",  "pkhbt", "qadd",   "qadd16",  "qadd8",  "qsub",   "qsub16",
                   "qsub8",  "qasx",   "qsax",  "qdadd",  "shsub16", "shasx",  "shsax",  "uadd8",
                   "sel"}),
      testing::IsEmpty());
}

}  // namespace
}  // namespace orvo
