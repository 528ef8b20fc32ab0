// Random instructions with random values on this core and on an independent one.
//
//   differential [--cases=N] [--seed=S] [gtest options]
//
// The seed is printed; the same seed gives the same cases.

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "core/registers.h"
#include "engines.h"
#include "random_state.h"

namespace orvo {
namespace {

constexpr unsigned kValuesPerCode = 25;  // cases with one piece of code

class Differential : public testing::Test {
 protected:
  const Sample& Pick(const std::vector<const Sample*>& from) {
    return *from[random_() % from.size()];
  }

  void Load(const std::vector<const Sample*>& instructions, Code code) {
    for (const Sample* sample : instructions)
      code.insert(code.end(), sample->code.begin(), sample->code.end());
    engines_.Load(code, random_() % 2 == 0, random_() % 2 == 0);
  }

  void Alone(const Sample& sample) {
    Load({&sample}, {});
    const std::string what = Text(sample);
    for (unsigned n = 0; n < kValuesPerCode; ++n) {
      MachineState before = values_.State();
      values_.Aim(sample, before);
      if (IsDivisionThatTraps(sample, before)) continue;
      engines_.Run(before, 1, Stop::kBehindTheCode, &sample, what);
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
      instructions.push_back(&Pick(samples_.undisputed));
      what += "; " + Text(*instructions.back());
    }
    RunCode(it, instructions, length + 1, what);
  }

  void Sequence() {
    std::vector<const Sample*> instructions;
    std::string what = "sequence";
    const size_t length = 2 + random_() % 8;
    for (size_t n = 0; n < length; ++n) {
      instructions.push_back(&Pick(samples_.undisputed));
      what += "; " + Text(*instructions.back());
    }
    RunCode({}, instructions, length, what);
  }

  void RunCode(const Code& prefix, const std::vector<const Sample*>& instructions, size_t steps,
               const std::string& what) {
    if (std::any_of(instructions.begin(), instructions.end(),
                    [](const Sample* sample) { return sample->key.rfind("sdiv", 0) == 0; }))
      return;
    Load(instructions, prefix);
    for (unsigned n = 0; n < kValuesPerCode; ++n) {
      MachineState before = values_.State();
      for (const Sample* sample : instructions) values_.Aim(*sample, before);
      engines_.Run(before, steps, Stop::kBehindTheCode, nullptr, what);
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

  std::mt19937_64 random_{run_options.seed};
  RandomState values_{random_};
  // Literals come from random flash.
  Engines engines_{[this] { return static_cast<unsigned>(random_()); }};
  const Samples& samples_ = SamplesOfThisRun();
};

TEST_F(Differential, EveryKeyAloneInBlocksAndInSequences) {
  std::cout << "seed " << run_options.seed << ", " << samples_.by_key.size() << " keys, "
            << samples_.straight.size() << " encodings\n";
  // The rest: conditional keys, keys that no encoding makes, and those with tests of their own.
  ASSERT_GT(samples_.by_key.size(), 180u);
  size_t next = 0;
  for (unsigned long round = 0; engines_.cases() < run_options.cases && engines_.mismatches() < 200;
       ++round) {
    switch (round % 4) {
      case 0:
      case 1: Alone(*samples_.straight[next++ % samples_.straight.size()]); break;
      case 2: InBlock(); break;
      case 3: Sequence(); break;
    }
  }
  std::cout << engines_.cases() << " cases compared, " << engines_.refused()
            << " refused by the other engine, " << engines_.mismatches()
            << " pieces of code differ\n";
  EXPECT_EQ(engines_.mismatches(), 0u);
  // Mostly sequences that compute the base of a later access.
  EXPECT_LT(engines_.refused(), engines_.cases());
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
    if (!orvo::TakeOption(argv[n], "--cases=", &orvo::run_options.cases) &&
        !orvo::TakeOption(argv[n], "--seed=", &orvo::run_options.seed)) {
      std::cerr << "unknown option " << argv[n] << "\n";
      return 2;
    }
  }
  return RUN_ALL_TESTS();
}
