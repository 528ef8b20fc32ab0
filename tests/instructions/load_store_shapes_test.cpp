// The functions specialised for settled operands of loads, stores, branches and floating point
// against the general functions of their keys: from any registers and any memory both lead to the
// same registers and the same memory.

#include <gmock/gmock.h>

#include <cstring>
#include <random>
#include <set>

#include "core/capstone_resolver.h"
#include "core/decoder.h"
#include "core/instruction_record.h"
#include "core/instruction_table.h"
#include "runner/errors.h"
#include "support/core_bench.h"

namespace orvo {
namespace {

constexpr unsigned kAddress = 0x2000;
constexpr unsigned kRamBytes = 0x400;
constexpr unsigned kRamEnd = TestMcu::kRamStart + TestMcu::kRamSizeBytes;

class MemoryShapes : public testing::Test {
 protected:
  struct State {
    Registers registers;
    std::vector<unsigned char> start_of_ram;
    std::vector<unsigned char> end_of_ram;
    std::string error;
  };

  MemoryShapes() { std::cerr.setstate(std::ios::failbit); }  // warnings of unknown addresses
  ~MemoryShapes() override { std::cerr.clear(); }

  void Compare(unsigned encoding, bool conditional) {
    unsigned address = kAddress;
    if (conditional) {
      constexpr unsigned char kItEq[] = {0x08, 0xbf};
      Disassembly it;
      ASSERT_TRUE(resolver.Decode(kItEq, sizeof(kItEq), address, &it));
      address += sizeof(kItEq);
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
    keys.insert(key);

    SetRandomState(address);
    const State before = Save();
    const State expected = Execute(variants->general(), &record);
    Restore(before);
    const State actual = Execute(chosen, &record);
    ASSERT_EQ(actual.error, expected.error) << key << " " << disassembly.operand_text;
    for (unsigned id = 0; id < kRegisterCount; ++id) {
      ASSERT_EQ(actual.registers.get(id), expected.registers.get(id))
          << key << " " << disassembly.operand_text << ", register id " << id;
    }
    ASSERT_EQ(actual.start_of_ram, expected.start_of_ram) << key << disassembly.operand_text;
    ASSERT_EQ(actual.end_of_ram, expected.end_of_ram) << key << disassembly.operand_text;
  }

  // The state afterwards. An exception return of thread mode, which pop may find, is an error.
  State Execute(Function function, my_insn_t* record) {
    *current_instruction_ = record;
    std::string text;
    try {
      function();
    } catch (const OrvoError& error) {
      text = error.message();
    }
    State state = Save();
    state.error = text;
    return state;
  }

  void CompareRandom(unsigned first, unsigned mask, unsigned count) {
    for (unsigned n = 0; n < count; ++n) {
      const unsigned encoding = first | (static_cast<unsigned>(random()) & mask);
      Compare(encoding, n % 2 != 0);
      if (HasFatalFailure()) return;
    }
  }

  // Mostly addresses in RAM, some at its end, in flash, small enough for an index, or nowhere.
  unsigned RandomWord() {
    const unsigned word = static_cast<unsigned>(random());
    switch (random() % 8) {
      case 0:
        return kRamEnd - word % 24;
      case 1:
        return word % 0x4000;
      case 2:
        return word % 16;
      case 3:
        return 0x3f800000 + word % 0x1000;  // a float a little above 1
      case 4:
        return word;
      default:
        return TestMcu::kRamStart + 0x100 + word % 0x200;
    }
  }

  void SetRandomState(unsigned pc) {
    Registers& registers = bench.registers();
    registers = Registers();
    registers.init(pc, RandomWord());
    for (unsigned n = 0; n <= kR12 - kR0; ++n) registers.r(n) = RandomWord();
    for (unsigned n = 0; n < 32; ++n) registers.s(n) = RandomWord();
    registers.lr() = RandomWord();
    registers.fpscr() = static_cast<unsigned>(random()) & 0xf000009f;
    // The flags, and the IT state of a block's only instruction.
    registers.set_xpsr((static_cast<unsigned>(random()) & 0xf8000000) | 0x0800);
    for (unsigned char* byte : {RamFromStart(), RamToEnd()}) {
      for (unsigned n = 0; n < kRamBytes; n += 4) {
        const unsigned word = static_cast<unsigned>(random());
        std::memcpy(byte + n, &word, sizeof(word));
      }
    }
  }

  unsigned char* RamFromStart() { return bench.memory().GetSectionByName("Data RAM")->bytes(); }
  unsigned char* RamToEnd() { return RamFromStart() + TestMcu::kRamSizeBytes - kRamBytes; }

  State Save() {
    return {bench.registers(),
            {RamFromStart(), RamFromStart() + kRamBytes},
            {RamToEnd(), RamToEnd() + kRamBytes},
            ""};
  }
  void Restore(const State& state) {
    bench.registers() = state.registers;
    std::copy(state.start_of_ram.begin(), state.start_of_ram.end(), RamFromStart());
    std::copy(state.end_of_ram.begin(), state.end_of_ram.end(), RamToEnd());
  }

  CoreBench bench;
  CapstoneResolver resolver;
  std::mt19937 random{20240301};
  std::set<std::string> keys;
};

TEST_F(MemoryShapes, SixteenBitInstructionsDoWhatTheirGeneralFunctionDoes) {
  CompareRandom(0x4700, 0x00ff, 300);   // bx, blx
  CompareRandom(0x4800, 0x07ff, 1000);  // literals
  CompareRandom(0x5000, 0x0fff, 4000);  // register offsets
  CompareRandom(0x6000, 0x3fff, 6000);  // immediate offsets
  CompareRandom(0x9000, 0x0fff, 1000);  // stack offsets
  CompareRandom(0xb100, 0x0aff, 500);   // cbz, cbnz
  CompareRandom(0xb400, 0x09ff, 2000);  // push, pop
  CompareRandom(0xc000, 0x0fff, 2000);  // ldm, stm
  CompareRandom(0xd000, 0x0fff, 500);   // b<cond>
  CompareRandom(0xe000, 0x07ff, 300);   // b
  EXPECT_THAT(keys, testing::IsSupersetOf({"ldr_2",
                                           "ldr_cc_2",
                                           "ldrb_2",
                                           "ldrh_2",
                                           "ldrsb_2",
                                           "ldrsh_2",
                                           "str_2",
                                           "str_cc_2",
                                           "strb_2",
                                           "strh_2",
                                           "push",
                                           "push_cc",
                                           "pop",
                                           "pop_cc",
                                           "ldm",
                                           "ldm_writeback",
                                           "ldm_cc_writeback",
                                           "stm_writeback",
                                           "bx_1",
                                           "bx_cc_1",
                                           "blx_1",
                                           "cbz_2",
                                           "cbnz_2",
                                           "b_1",
                                           "b_cc_1"}));
}

TEST_F(MemoryShapes, ThirtyTwoBitInstructionsDoWhatTheirGeneralFunctionDoes) {
  CompareRandom(0xe8000000, 0x03bfffff, 10000);  // lists and double words
  CompareRandom(0xe8000000, 0x03ff5fff, 10000);
  CompareRandom(0xf8000000, 0x01ffffff, 15000);  // single loads and stores
  CompareRandom(0xf8000900, 0x017ff6ff, 10000);  // with an 8-bit offset
  CompareRandom(0xf0008000, 0x07ff5fff, 3000);   // branches
  EXPECT_THAT(keys, testing::IsSupersetOf({"ldr_2",
                                           "ldr_2_writeback",
                                           "ldr_3_writeback",
                                           "ldr_cc_3_writeback",
                                           "ldrb_2",
                                           "ldrb_3_writeback",
                                           "ldrh_2_writeback",
                                           "ldrh_3_writeback",
                                           "ldrsb_2",
                                           "ldrsb_2_writeback",
                                           "ldrsb_3_writeback",
                                           "ldrsh_2",
                                           "ldrsh_3_writeback",
                                           "ldrsh_cc_3_writeback",
                                           "str_2",
                                           "str_2_writeback",
                                           "str_3_writeback",
                                           "strb_3_writeback",
                                           "strh_2_writeback",
                                           "ldrd_3",
                                           "ldrd_3_writeback",
                                           "ldrd_4_writeback",
                                           "ldrd_cc_3",
                                           "strd_3",
                                           "strd_3_writeback",
                                           "strd_4_writeback",
                                           "ldm",
                                           "ldm_writeback",
                                           "ldmdb",
                                           "stm",
                                           "stmdb",
                                           "stmdb_writeback",
                                           "b_1",
                                           "b_cc_1",
                                           "bl_1"}));
}

TEST_F(MemoryShapes, FloatingPointInstructionsDoWhatTheirGeneralFunctionDoes) {
  CompareRandom(0xed100a00, 0x00cff0ff, 3000);  // vldr, vstr
  CompareRandom(0xed000a00, 0x00cff0ff, 3000);
  CompareRandom(0xee000a00, 0x00fff0ff, 20000);  // arithmetic, conversions, moves
  CompareRandom(0xeeb00a40, 0x004ff0bf, 10000);
  EXPECT_THAT(keys, testing::IsSupersetOf(
                        {"vldr_2",         "vldr_cc_2",      "vstr_2",          "vadd_f32_3",
                         "vadd_f32_cc_3",  "vsub_f32_3",     "vmul_f32_3",      "vdiv_f32_3",
                         "vmla_f32_3",     "vmls_f32_3",     "vnmla_f32_3",     "vnmls_f32_3",
                         "vnmul_f32_3",    "vfma_f32_3",     "vfms_f32_3",      "vfnma_f32_3",
                         "vfnms_f32_3",    "vabs_f32_2",     "vneg_f32_2",      "vsqrt_f32_2",
                         "vcmp_f32_2",     "vcmpe_f32_2",    "vcvt_s32_f32_2",  "vcvt_u32_f32_2",
                         "vcvt_f32_s32_2", "vcvt_f32_u32_2", "vcvtb_f16_f32_2", "vmov_2",
                         "vmov_cc_2",      "vmov_f32_2"}));
}

}  // namespace
}  // namespace orvo
