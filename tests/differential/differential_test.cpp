// Random instructions with random values on this core and on an independent one.
//
//   differential [--cases=N] [--seed=S] [gtest options]
//
// The seed is printed; the same seed gives the same cases.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>
#include <string_view>

#include "core/decoder.h"
#include "core/instruction_table.h"
#include "deliberate_differences.h"
#include "oracle.h"
#include "samples.h"
#include "support/core_bench.h"

namespace orvo {
namespace {

unsigned long cases_to_run = 150'000;
unsigned long seed = 20240229;

constexpr size_t kSamplesPerKey = 60;
constexpr unsigned kValuesPerCode = 25;  // cases with one piece of code
constexpr unsigned kFirstCode = 0x1000;
constexpr unsigned kLastCode = 0x2000;
constexpr unsigned kRamMiddle = TestMcu::kRamStart + TestMcu::kRamSizeBytes / 2;
constexpr unsigned kMismatchesShown = 12;

using Samples = std::map<std::string, std::vector<Sample>>;

class Differential : public testing::Test {
 protected:
  Differential()
      : random_(seed),
        oracle_(Flash(), TestMcu::kFlashSizeBytes, TestMcu::kRamStart, TestMcu::kRamSizeBytes),
        samples_(CollectSamples(random_, kSamplesPerKey)) {
    for (const auto& [key, of_key] : samples_) {
      for (const Sample& sample : of_key) {
        all_.push_back(&sample);
        if (ComparabilityOf(sample) == Comparable::kAnywhere) {
          anywhere_.push_back(&sample);
          if (!HasDeliberateDifference(sample)) undisputed_.push_back(&sample);
        }
      }
    }
  }

  // Literals and jump targets come from random flash.
  const unsigned char* Flash() {
    MemorySection* flash = bench_.memory().GetSectionByName("Flash");
    for (unsigned n = 0; n < flash->size(); ++n)
      flash->bytes()[n] = static_cast<unsigned char>(random_());
    Oracle::PutOwnCode(flash->bytes());
    return flash->bytes();
  }
  unsigned char* OurRam() { return bench_.memory().GetSectionByName("Data RAM")->bytes(); }

  // --- Values ---------------------------------------------------------------------------------

  unsigned RandomWord() {
    static constexpr unsigned kCorners[] = {0,          1,          2,          0x7f,
                                            0x80,       0xff,       0x7fff,     0x8000,
                                            0xffff,     0x10000,    0x7fffffff, 0x80000000,
                                            0x80000001, 0xfffffffe, 0xffffffff, 0x80008000};
    switch (random_() % 4) {
      case 0: return kCorners[random_() % std::size(kCorners)];
      case 1: return static_cast<unsigned>(random_() % 64);
      default: return static_cast<unsigned>(random_());
    }
  }
  unsigned RandomFloatWord() {
    static constexpr unsigned kCorners[] = {
        0x00000000, 0x80000000, 0x3f800000, 0xbf800000, 0x7f800000, 0xff800000, 0x7fc00000,
        0x7f7fffff, 0xff7fffff, 0x00800000, 0x4f000000, 0xcf000000, 0x4f800000, 0x4effffff};
    switch (random_() % 4) {
      case 0: return kCorners[random_() % std::size(kCorners)];
      case 1: return std::bit_cast<unsigned>(static_cast<float>(static_cast<int>(random_() % 2000) - 1000));
      case 2: return (static_cast<unsigned>(random_()) & 0x8fffffff) | 0x38000000;  // near 1
      default: return static_cast<unsigned>(random_());
    }
  }
  MachineState RandomState() {
    MachineState state;
    for (unsigned& word : state.r) word = RandomWord();
    state.r[13] = kRamMiddle + 4 * static_cast<unsigned>(random_() % 64);
    for (unsigned& word : state.s) word = RandomFloatWord();
    state.apsr = static_cast<unsigned>(random_()) & kApsrBits;
    state.fpscr = static_cast<unsigned>(random_()) & kFpscrBits;
    return state;
  }
  // Bases point into RAM, indexes stay small.
  void PrepareAddresses(const Sample& sample, MachineState& state) {
    const auto aim = [&](unsigned id, unsigned value) {
      if (id >= kR0 && id <= kR12) state.r[id - kR0] = value;
      if (id == kLr) state.r[14] = value;
    };
    const unsigned step = 4 * static_cast<unsigned>(random_() % 128);
    const bool any_alignment = sample.key.rfind("ldr_", 0) == 0 || sample.key.rfind("str_", 0) == 0 ||
                               sample.key.rfind("ldrh", 0) == 0 || sample.key.rfind("strh", 0) == 0;
    const unsigned base = kRamMiddle + step + (any_alignment ? static_cast<unsigned>(random_() % 4) : 0);
    const std::vector<Operand>& operands = sample.disassembly.operands;
    for (const Operand& operand : operands) {
      if (operand.type != OperandType::kMemory) continue;
      aim(operand.mem.index, static_cast<unsigned>(random_() % 256));
      aim(operand.mem.base, base);
    }
    const bool list = sample.key.find("ldm") != std::string::npos ||
                      sample.key.find("stm") != std::string::npos;
    if (list) aim(operands[0].reg, kRamMiddle + step);
  }

  // --- Both engines ---------------------------------------------------------------------------

  void WriteOurs(const MachineState& state) {
    Registers& registers = bench_.registers();
    for (unsigned n = 0; n < 13; ++n) registers.r(n) = state.r[n];
    registers.word(kMsp) = state.r[13];
    registers.lr() = state.r[14];
    registers.xpsr() = state.apsr;
    registers.fpscr() = state.fpscr;
    for (unsigned n = 0; n < 32; ++n) registers.s(n) = state.s[n];
    registers.control() = 0;
    registers.pc() = code_address_;
  }
  MachineState ReadOurs() {
    Registers& registers = bench_.registers();
    MachineState state;
    for (unsigned n = 0; n < 13; ++n) state.r[n] = registers.r(n);
    state.r[13] = registers.sp();
    state.r[14] = registers.lr();
    state.pc = registers.pc() & ~1u;
    state.apsr = registers.xpsr() & kApsrBits;
    state.fpscr = registers.fpscr() & kFpscrBits;
    for (unsigned n = 0; n < 32; ++n) state.s[n] = registers.s(n);
    return state;
  }

  void Load(const std::vector<const Sample*>& instructions, const Code& prefix) {
    Code code = prefix;
    for (const Sample* sample : instructions)
      code.insert(code.end(), sample->code.begin(), sample->code.end());
    code_address_ += 64;
    if (code_address_ >= kLastCode) code_address_ = kFirstCode;
    if (random_() % 2 == 0) code_address_ ^= 2;
    bench_.Load(code, code_address_);
    code_bytes_ = 2 * static_cast<unsigned>(code.size());
    oracle_.WriteCode(code_address_,
                      bench_.memory().GetSectionByName("Flash")->bytes() + code_address_,
                      code_bytes_);
  }

  // One case. `steps` instructions; `single` is the instruction whose deliberate differences
  // apply, null for none.
  void RunCase(const MachineState& before, size_t steps, const Sample* single,
               const std::string& what) {
    oracle_.WriteState(before);
    if (!oracle_.Run(code_address_, code_address_ + code_bytes_)) {
      ++refused_[what];
      std::copy_n(OurRam(), TestMcu::kRamSizeBytes, oracle_.ram().begin());
      return;
    }
    MachineState expected = oracle_.ReadState();
    if (single != nullptr) ApplyDeliberateDifferences(*single, before, expected);
    WriteOurs(before);
    for (size_t n = 0; n < steps; ++n) bench_.Step();
    const MachineState ours = ReadOurs();
    ++run_;
    if (single != nullptr && !CumulativeFlagsCompare(*single)) {
      expected.fpscr = (expected.fpscr & ~0x1fu) | (ours.fpscr & 0x1f);
    }
    std::string difference = Differences(expected, ours);
    if (std::memcmp(OurRam(), oracle_.ram().data(), TestMcu::kRamSizeBytes) != 0) {
      difference += " memory";
      std::copy_n(OurRam(), TestMcu::kRamSizeBytes, oracle_.ram().begin());
    }
    if (!difference.empty()) Report(before, what, difference);
  }

  void Report(const MachineState& before, const std::string& what, const std::string& difference) {
    if (mismatches_[what]++ > 0 || mismatches_.size() > kMismatchesShown) return;
    std::string state;
    char word[32];
    for (unsigned n = 0; n < 15; ++n) {
      std::snprintf(word, sizeof(word), " r%u=%08x", n, before.r[n]);
      state += word;
    }
    std::snprintf(word, sizeof(word), " apsr=%08x fpscr=%08x", before.apsr, before.fpscr);
    ADD_FAILURE() << what << "\n " << difference << "\n  before:" << state << word;
  }

  static std::string Text(const Sample& sample) {
    std::string text = sample.disassembly.parts.mnemonic + " " + sample.disassembly.operand_text;
    for (const unsigned short half : sample.code) {
      char hex[8];
      std::snprintf(hex, sizeof(hex), " %04x", half);
      text += hex;
    }
    return text;
  }

  const Sample& Pick(const std::vector<const Sample*>& from) {
    return *from[random_() % from.size()];
  }

  void Alone(const Sample& sample) {
    Load({&sample}, {});
    const std::string what = Text(sample);
    for (unsigned n = 0; n < kValuesPerCode; ++n) {
      MachineState before = RandomState();
      PrepareAddresses(sample, before);
      if (IsDivisionThatTraps(sample, before)) continue;
      RunCase(before, 1, &sample, what);
    }
  }

  // One to four instructions in an IT block of any condition and pattern.
  void InBlock() {
    const unsigned condition = static_cast<unsigned>(random_() % 14);
    const unsigned mask = 1 + static_cast<unsigned>(random_() % 15);
    const unsigned length = 4 - static_cast<unsigned>(std::countr_zero(mask));
    const Code it{static_cast<unsigned short>(0xbf00 | condition << 4 | mask)};
    std::vector<const Sample*> instructions;
    std::string what = "it " + std::to_string(condition) + "/" + std::to_string(mask);
    for (unsigned n = 0; n < length; ++n) {
      instructions.push_back(&Pick(undisputed_));
      what += "; " + Text(*instructions.back());
    }
    RunCode(it, instructions, length + 1, what);
  }

  void Sequence() {
    std::vector<const Sample*> instructions;
    std::string what = "sequence";
    const size_t length = 2 + random_() % 8;
    for (size_t n = 0; n < length; ++n) {
      instructions.push_back(&Pick(undisputed_));
      what += "; " + Text(*instructions.back());
    }
    RunCode({}, instructions, length, what);
  }

  void RunCode(const Code& prefix, const std::vector<const Sample*>& instructions, size_t steps,
               const std::string& what) {
    Load(instructions, prefix);
    for (unsigned n = 0; n < kValuesPerCode; ++n) {
      MachineState before = RandomState();
      for (const Sample* sample : instructions) PrepareAddresses(*sample, before);
      if (std::any_of(instructions.begin(), instructions.end(), [](const Sample* sample) {
            return sample->key.rfind("sdiv", 0) == 0;
          }))
        continue;
      RunCase(before, steps, nullptr, what);
    }
  }

  // The smallest number by -1 ends the process here.
  static bool IsDivisionThatTraps(const Sample& sample, const MachineState& state) {
    if (sample.key.rfind("sdiv", 0) != 0) return false;
    const auto value = [&](const Operand& operand) {
      return operand.reg == kLr ? state.r[14] : state.r[operand.reg - kR0];
    };
    return value(sample.disassembly.operands[2]) == 0xffffffff &&
           value(sample.disassembly.operands[1]) == 0x80000000;
  }

  // Fused forms and conversions out of range round in another place than there.
  static bool CumulativeFlagsCompare(const Sample& sample) {
    return sample.key.rfind("vf", 0) != 0 && sample.key.rfind("vcvt", 0) != 0;
  }

  CoreBench bench_;
  std::mt19937_64 random_;
  Oracle oracle_;
  Samples samples_;
  std::vector<const Sample*> all_;
  std::vector<const Sample*> anywhere_;
  std::vector<const Sample*> undisputed_;  // anywhere, without deliberate differences
  unsigned code_address_ = kFirstCode;
  unsigned code_bytes_ = 0;
  unsigned long run_ = 0;
  std::map<std::string, unsigned> mismatches_;
  std::map<std::string, unsigned> refused_;
};

TEST_F(Differential, EveryKeyAloneInBlocksAndInSequences) {
  std::cout << "seed " << seed << ", " << samples_.size() << " keys, " << all_.size()
            << " encodings\n";
  // The rest: conditional keys, keys that no encoding makes, and those with tests of their own.
  ASSERT_GT(samples_.size(), 180u);
  size_t next = 0;
  for (unsigned long round = 0; run_ < cases_to_run && mismatches_.size() < 200; ++round) {
    switch (round % 4) {
      case 0:
      case 1: Alone(*all_[next++ % all_.size()]); break;
      case 2: InBlock(); break;
      case 3: Sequence(); break;
    }
  }
  unsigned long refused = 0;
  for (const auto& [what, count] : refused_) refused += count;
  std::cout << run_ << " cases compared, " << refused << " refused by the other engine, "
            << mismatches_.size() << " pieces of code differ\n";
  EXPECT_EQ(mismatches_.size(), 0u);
  // Mostly sequences that compute the base of a later access.
  EXPECT_LT(refused, run_);
}

bool TakeOption(std::string_view argument, std::string_view name, unsigned long* value) {
  if (argument.substr(0, name.size()) != name) return false;
  *value = std::strtoul(argument.data() + name.size(), nullptr, 0);
  return true;
}

}  // namespace
}  // namespace orvo

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  for (int n = 1; n < argc; ++n) {
    if (!orvo::TakeOption(argv[n], "--cases=", &orvo::cases_to_run) &&
        !orvo::TakeOption(argv[n], "--seed=", &orvo::seed)) {
      std::cerr << "unknown option " << argv[n] << "\n";
      return 2;
    }
  }
  return RUN_ALL_TESTS();
}
