// Where branches lead, and pairs of exclusive accesses. Flash is full of undefined instructions, so
// that the other engine stops wherever it comes to.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <iostream>
#include <tuple>

#include "core/registers.h"
#include "engines.h"
#include "random_state.h"

namespace orvo {
namespace {

constexpr unsigned kValuesPerCode = 25;
constexpr unsigned kUndefined = 0xde00;  // udf #0
constexpr size_t kTableBytes = 64;
constexpr unsigned kNearestEntry = 40;  // leads behind the table

bool StartsWith(const std::string& text, const char* beginning) {
  return text.rfind(beginning, 0) == 0;
}

class Branches : public testing::Test {
 protected:
  unsigned Random() { return static_cast<unsigned>(random_()); }
  const Sample& Pick(const std::vector<const Sample*>& from) {
    return *from[Random() % from.size()];
  }

  // Mostly Thumb code in flash, away from the branch; below the values that return from exceptions.
  unsigned Target() {
    switch (Random() % 8) {
      case 0: return Random() % 0x8000 & ~1u;
      case 1: return (Random() & 0x3fffffff) | 0x20000000;
      default: return (0xb000 + Random() % 0x4000) | 1;
    }
  }
  bool WriteTarget(unsigned address, unsigned target) {
    const auto byte = [target](unsigned n) { return static_cast<unsigned char>(target >> 8 * n); };
    return engines_.Write(address, {byte(0), byte(1), byte(2), byte(3)});
  }
  bool WriteTable(unsigned address) {
    std::vector<unsigned char> table(kTableBytes);
    for (unsigned char& entry : table)
      entry = static_cast<unsigned char>(kNearestEntry + Random() % (256 - kNearestEntry));
    return engines_.Write(address, table);
  }

  // Gives the branch a target. False if its literal would lie in the code.
  bool Aim(const Sample& branch, MachineState& state) {
    values_.Aim(branch, state);
    const std::string& key = branch.key;
    const std::vector<Operand>& operands = branch.disassembly.operands;
    const unsigned pc = engines_.code_end() - 2 * static_cast<unsigned>(branch.code.size());
    const auto word = [&](unsigned id) -> unsigned& { return *WordOf(state, id); };
    if (StartsWith(key, "cb") && Random() % 2 != 0) word(operands[0].reg) = 0;
    if (StartsWith(key, "bx") || StartsWith(key, "blx")) word(operands[0].reg) = Target();
    if (StartsWith(key, "mov") || StartsWith(key, "add")) word(operands[1].reg) = Target();
    if (StartsWith(key, "tb")) {
      const MemoryOperand& table = operands[0].mem;
      word(table.index) = Random() % 16;
      return WriteTable(table.base == kPc ? pc + 4 : word(table.base));
    }
    const unsigned last = 4 * static_cast<unsigned>(operands.size()) - 4;
    if (StartsWith(key, "pop")) return WriteTarget(state.r[13] + last, Target());
    if (StartsWith(key, "ldmdb")) return WriteTarget(word(operands[0].reg) - 4, Target());
    if (StartsWith(key, "ldm")) return WriteTarget(word(operands[0].reg) + last - 4, Target());
    if (!StartsWith(key, "ldr")) return true;
    const MemoryOperand& memory = operands[1].mem;
    unsigned address = memory.base == kPc ? (pc + 4) & ~3u : word(memory.base);
    address += static_cast<unsigned>(memory.displacement);
    if (memory.index != kNoRegister) address += word(memory.index) << operands[0].shift_amount;
    return WriteTarget(address, Target() | 1);  // an even one raises a UsageFault here
  }

  void RunValues(const Sample& branch, const Code& code, size_t steps, const Sample* single,
                 const std::string& what, bool chained = false) {
    engines_.Load(code, Random() % 2 == 0, chained);
    for (unsigned n = 0; n < kValuesPerCode; ++n) {
      MachineState before = values_.State();
      if (Aim(branch, before)) engines_.Run(before, steps, Stop::kWhereRefused, single, what);
    }
  }

  // Behind instructions that leave its registers and memory alone.
  void LastInBlock(const Sample& branch) {
    const unsigned condition = Random() % 14;
    const unsigned mask = 1 + Random() % 15;
    const size_t length = 4 - static_cast<size_t>(std::countr_zero(mask));
    Code code{static_cast<unsigned short>(0xbf00 | condition << 4 | mask)};
    std::string what = "it " + std::to_string(condition) + "/" + std::to_string(mask);
    for (size_t n = 1; n <= length;) {
      const Sample& sample = n == length ? branch : Pick(samples_.undisputed);
      if (n < length && Disturbs(sample, branch)) continue;
      code.insert(code.end(), sample.code.begin(), sample.code.end());
      what += "; " + Text(sample);
      ++n;
    }
    RunValues(branch, code, length + 1, nullptr, what);
  }
  static bool Disturbs(const Sample& sample, const Sample& branch) {
    const auto& of_branch = branch.disassembly.operands;
    const auto disturbs = [&](const Operand& operand) {
      const auto is_used = [&operand](const Operand& used) {
        return operand.reg != 0 && (operand.reg == used.reg || operand.reg == used.mem.base ||
                                    operand.reg == used.mem.index);
      };
      return operand.type == OperandType::kMemory || operand.reg == kSp ||
             std::any_of(of_branch.begin(), of_branch.end(), is_used);
    };
    const auto& operands = sample.disassembly.operands;
    return IsListInstruction(sample.key) || StartsWith(sample.key, "sdiv") ||
           std::any_of(operands.begin(), operands.end(), disturbs);
  }

  // A comparison or another instruction that sets flags, and a branch forwards on its condition:
  // many of these run as one. Behind them a nop, at which they may go on.
  void ConditionalBranch(const Sample& branch) {
    if (branch.disassembly.operands[0].imm < static_cast<int>(branch.disassembly.address) + 8)
      return;
    const Sample& comparison = Pick(comparisons_);
    if (Disturbs(comparison, branch)) return;
    Code code = comparison.code;
    code.insert(code.end(), branch.code.begin(), branch.code.end());
    code.push_back(0xbf00);
    RunValues(branch, code, 3, nullptr, Text(comparison) + "; " + Text(branch), true);
  }

  // A pair of any width and offset, with something between, and a second store that has to fail.
  void ExclusivePair() {
    unsigned r[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    std::shuffle(std::begin(r), std::end(r), random_);
    const auto [base, loaded, value, status, again] = std::tie(r[0], r[1], r[2], r[3], r[4]);
    const unsigned width = Random() % 3;  // word, byte, halfword
    const unsigned offset = width == 0 ? Random() % 256 : 0;
    const unsigned narrow = 0xf00 | (3 + width) << 4;
    const unsigned kClrex = 0xf3bf8f2f, kNop = 0xf3af8000;
    const unsigned str = 0xf8c00000 | base << 16 | 4 * offset;
    const unsigned ldrex = width == 0 ? 0xe8500f00 | offset : 0xe8d0000f | narrow;
    const unsigned between[] = {kClrex, str | value << 12, str | loaded << 12, kNop};
    std::vector<unsigned> words{kClrex, ldrex | base << 16 | loaded << 12, between[Random() % 4]};
    for (const unsigned rd : {status, again})
      words.push_back((width == 0 ? 0xe8400000 | rd << 8 | offset : 0xe8c00000 | narrow | rd) |
                      base << 16 | value << 12);
    Code code;
    for (const unsigned word : words) {
      code.push_back(static_cast<unsigned short>(word >> 16));
      code.push_back(static_cast<unsigned short>(word));
    }
    engines_.Load(code, Random() % 2 == 0, Random() % 2 == 0);
    const std::string what = "exclusive pair of width " + std::to_string(width);
    for (unsigned n = 0; n < kValuesPerCode; ++n) {
      MachineState before = values_.State();
      before.r[base] = kRamMiddle + 4 * (Random() % 256);
      engines_.Run(before, words.size(), Stop::kBehindTheCode, nullptr, what);
    }
  }

  static std::vector<const Sample*> OfKeys(const std::vector<const Sample*>& samples,
                                           std::initializer_list<const char*> beginnings) {
    std::vector<const Sample*> found;
    for (const Sample* sample : samples) {
      for (const char* beginning : beginnings) {
        if (StartsWith(sample->key, beginning)) found.push_back(sample);
      }
    }
    return found;
  }

  std::mt19937_64 random_{run_options.seed};
  RandomState values_{random_};
  Engines engines_{[] { return kUndefined; }};
  const Samples& samples_ = SamplesOfThisRun();
  const std::vector<const Sample*> conditional_ = OfKeys(samples_.branches, {"b_cc"});
  const std::vector<const Sample*> comparisons_ =
      OfKeys(samples_.undisputed, {"cmp", "cmn", "tst", "teq", "adds", "subs", "ands"});
};

TEST_F(Branches, LeadToTheSamePlace) {
  const std::vector<const Sample*>& branches = samples_.branches;
  const unsigned long cases = run_options.cases / 2;
  size_t next = 0;
  while (engines_.cases() < cases && engines_.mismatches() < 200) {
    const Sample& branch = *branches[next++ % branches.size()];
    RunValues(branch, branch.code, 1, &branch, Text(branch));
    LastInBlock(Pick(samples_.block_ends));
    ConditionalBranch(Pick(conditional_));
    ExclusivePair();
  }
  std::cout << branches.size() << " branches, " << engines_.cases() << " cases compared, "
            << engines_.refused() << " refused by the other engine, " << engines_.mismatches()
            << " pieces of code differ\n";
  EXPECT_EQ(engines_.mismatches(), 0u);
  // Instructions with bits set that should be zero.
  EXPECT_LT(engines_.refused(), engines_.cases() / 4);
}

}  // namespace
}  // namespace orvo
