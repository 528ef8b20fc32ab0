// Where branches lead, and pairs of exclusive accesses. Flash is full of undefined instructions, so
// that the other engine stops wherever it comes to.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <iostream>

#include "comparability.h"
#include "core/registers.h"
#include "deliberate_differences.h"
#include "engines.h"
#include "random_state.h"
#include "run_options.h"

namespace orvo {
namespace {

constexpr size_t kSamplesPerKey = 60;
constexpr unsigned kValuesPerCode = 25;
constexpr unsigned kUndefined = 0xde00;      // udf #0
constexpr unsigned kNearestTableEntry = 40;  // leads behind the table
constexpr unsigned kTableEntries = 32;

bool StartsWith(const std::string& text, const char* beginning) {
  return text.rfind(beginning, 0) == 0;
}

class Branches : public testing::Test {
 protected:
  Branches() : samples_(CollectSamples(random_, kSamplesPerKey)) {
    for (const auto& [key, of_key] : samples_) {
      for (const Sample& sample : of_key) {
        const Comparable comparable = ComparabilityOf(sample);
        const bool disputed = HasDeliberateDifference(sample);
        if (IsBranch(comparable)) branches_.push_back(&sample);
        if (comparable == Comparable::kBranch && !disputed) last_in_block_.push_back(&sample);
        if (comparable == Comparable::kAnywhere && !disputed) undisputed_.push_back(&sample);
      }
    }
  }

  unsigned Random() { return static_cast<unsigned>(random_()); }
  const Sample& Pick(const std::vector<const Sample*>& from) {
    return *from[Random() % from.size()];
  }

  // Mostly Thumb code in flash; below the values that return from exceptions.
  unsigned Target() {
    switch (Random() % 8) {
      case 0:
        return Random() % TestMcu::kFlashSizeBytes & ~1u;
      case 1:
        return (Random() & 0x3fffffff) | 0x20000000;
      default:
        return (0xb000 + Random() % 0x4000) | 1;
    }
  }
  static std::vector<unsigned char> Bytes(unsigned word, size_t count) {
    std::vector<unsigned char> bytes;
    for (; count > 0; --count, word >>= 8) bytes.push_back(static_cast<unsigned char>(word));
    return bytes;
  }
  bool WriteTable(unsigned address, size_t entry_bytes) {
    std::vector<unsigned char> table;
    for (unsigned n = 0; n < kTableEntries; ++n) {
      const unsigned entry = kNearestTableEntry + Random() % (entry_bytes == 1 ? 216 : 0x1000);
      for (const unsigned char byte : Bytes(entry, entry_bytes)) table.push_back(byte);
    }
    return engines_.Write(address, table);
  }

  // Gives the branch a target. False if its literal would lie in the code.
  bool Aim(const Sample& sample, MachineState& state) {
    values_.Aim(sample, state);
    const std::vector<Operand>& operands = sample.disassembly.operands;
    const std::string& key = sample.key;
    if (StartsWith(key, "cb")) *WordOf(state, operands[0].reg) &= Random() % 2 != 0 ? 0 : ~0u;
    if (StartsWith(key, "bx") || StartsWith(key, "blx")) *WordOf(state, operands[0].reg) = Target();
    if (StartsWith(key, "mov")) *WordOf(state, operands[1].reg) = Target() & 0x3fffffff;
    if (StartsWith(key, "add")) *WordOf(state, operands[1].reg) = 0x2000 + Random() % 0x2000;
    const unsigned pc = engines_.code_end() - 2 * static_cast<unsigned>(sample.code.size());
    if (StartsWith(key, "tb")) {
      const MemoryOperand& table = operands[0].mem;
      *WordOf(state, table.index) = Random() % 16;
      if (table.base == kPc) return WriteTable(pc + 4, StartsWith(key, "tbb") ? 1 : 2);
      return WriteTable(*WordOf(state, table.base), 1 + Random() % 2);
    }
    const unsigned bytes = 4 * static_cast<unsigned>(operands.size());
    if (StartsWith(key, "pop")) return engines_.Write(state.r[13] + bytes - 4, Bytes(Target(), 4));
    if (StartsWith(key, "ldmdb"))
      return engines_.Write(*WordOf(state, operands[0].reg) - 4, Bytes(Target() | 1, 4));
    if (StartsWith(key, "ldm"))
      return engines_.Write(*WordOf(state, operands[0].reg) + bytes - 8, Bytes(Target() | 1, 4));
    if (!StartsWith(key, "ldr")) return true;
    const MemoryOperand& memory = operands[1].mem;
    unsigned address = memory.base == kPc ? (pc + 4) & ~3u : *WordOf(state, memory.base);
    address += static_cast<unsigned>(memory.displacement);
    if (memory.index != kNoRegister)
      address += *WordOf(state, memory.index) << operands[0].shift_amount;
    // An even one raises a UsageFault here.
    return engines_.Write(address, Bytes(Target() | 1, 4));
  }

  void Alone(const Sample& branch) {
    engines_.Load(branch.code, Random() % 2 == 0);
    RunValues(branch, 1, &branch, Text(branch));
  }

  // Last in a block, behind instructions that leave its registers alone.
  void LastInBlock() {
    const Sample& branch = Pick(last_in_block_);
    const unsigned mask = 1 + Random() % 15;
    const unsigned condition = Random() % 14;
    const unsigned length = 4 - static_cast<unsigned>(std::countr_zero(mask));
    Code code{static_cast<unsigned short>(0xbf00 | condition << 4 | mask)};
    std::string what = "it " + std::to_string(condition) + "/" + std::to_string(mask);
    const auto append = [&](const Sample& sample) {
      code.insert(code.end(), sample.code.begin(), sample.code.end());
      what += "; " + Text(sample);
    };
    for (unsigned n = 1; n < length;) {
      const Sample& sample = Pick(undisputed_);
      if (Disturbs(sample, branch)) continue;
      append(sample);
      ++n;
    }
    append(branch);
    engines_.Load(code, Random() % 2 == 0);
    RunValues(branch, length + 1, nullptr, what);
  }
  static bool Disturbs(const Sample& sample, const Sample& branch) {
    const auto uses = [](const Sample& of, unsigned id) {
      return std::any_of(of.disassembly.operands.begin(), of.disassembly.operands.end(),
                         [id](const Operand& operand) {
                           return operand.reg == id || operand.mem.base == id ||
                                  operand.mem.index == id;
                         });
    };
    return StartsWith(sample.key, "sdiv") ||
           std::any_of(sample.disassembly.operands.begin(), sample.disassembly.operands.end(),
                       [&](const Operand& operand) {
                         return operand.type == OperandType::kMemory || operand.reg == kSp ||
                                (operand.reg != 0 && uses(branch, operand.reg));
                       }) ||
           IsListInstruction(sample.key);
  }

  void RunValues(const Sample& branch, size_t steps, const Sample* single,
                 const std::string& what) {
    for (unsigned n = 0; n < kValuesPerCode; ++n) {
      MachineState before = values_.State();
      if (Aim(branch, before)) engines_.Run(before, steps, Stop::kWhereRefused, single, what);
    }
  }

  // A pair of any width and offset, with something between, and a second store that has to fail.
  void ExclusivePair() {
    unsigned r[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    std::shuffle(std::begin(r), std::end(r), random_);
    const auto [base, loaded, value, status, again] = std::tuple(r[0], r[1], r[2], r[3], r[4]);
    const unsigned width = Random() % 3;  // word, byte, halfword
    const unsigned offset = width == 0 ? Random() % 256 : 0;
    Code code;
    const auto append = [&](unsigned first, unsigned second) {
      code.push_back(static_cast<unsigned short>(first));
      code.push_back(static_cast<unsigned short>(second));
    };
    const auto strex = [&](unsigned rd) {
      if (width == 0) return append(0xe840 | base, value << 12 | rd << 8 | offset);
      append(0xe8c0 | base, value << 12 | 0xf00 | (3 + width) << 4 | rd);
    };
    append(0xf3bf, 0x8f2f);  // clrex
    width == 0 ? append(0xe850 | base, loaded << 12 | 0xf00 | offset)
               : append(0xe8d0 | base, loaded << 12 | 0xf0f | (3 + width) << 4);
    switch (Random() % 4) {
      case 0:
        append(0xf3bf, 0x8f2f);
        break;  // clrex
      case 1:
        append(0xf8c0 | base, value << 12 | 4 * offset);
        break;  // str: another value
      case 2:
        append(0xf8c0 | base, loaded << 12 | 4 * offset);
        break;  // or the same one
      default:
        append(0xf3af, 0x8000);  // nop.w
    }
    strex(status);
    strex(again);
    engines_.Load(code, Random() % 2 == 0);
    for (unsigned n = 0; n < kValuesPerCode; ++n) {
      MachineState before = values_.State();
      before.r[base] = kRamMiddle + 4 * (Random() % 256);
      engines_.Run(before, code.size() / 2, Stop::kBehindTheCode, nullptr,
                   "exclusive pair, width " + std::to_string(width));
    }
  }

  std::mt19937_64 random_{run_options.seed};
  RandomState values_{random_};
  Engines engines_{[] { return kUndefined; }};
  std::map<std::string, std::vector<Sample>> samples_;
  std::vector<const Sample*> branches_;
  std::vector<const Sample*> last_in_block_;
  std::vector<const Sample*> undisputed_;
};

TEST_F(Branches, LeadToTheSamePlace) {
  size_t next = 0;
  for (unsigned long round = 0;
       engines_.cases() < run_options.cases / 2 && engines_.mismatches() < 200; ++round) {
    switch (round % 4) {
      case 0:
      case 1:
        Alone(*branches_[next++ % branches_.size()]);
        break;
      case 2:
        LastInBlock();
        break;
      case 3:
        ExclusivePair();
        break;
    }
  }
  std::cout << branches_.size() << " branches, " << engines_.cases() << " cases compared, "
            << engines_.refused() << " refused by the other engine, " << engines_.mismatches()
            << " pieces of code differ\n";
  EXPECT_GT(next, branches_.size());
  EXPECT_EQ(engines_.mismatches(), 0u);
  // Instructions with bits set that should be zero.
  EXPECT_LT(engines_.refused(), engines_.cases() / 4);
}

}  // namespace
}  // namespace orvo
