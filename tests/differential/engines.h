// This core and the other engine side by side: the same flash, RAM and registers in both, and what
// differs after a piece of code.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "oracle.h"
#include "samples.h"
#include "support/core_bench.h"

namespace orvo {

// How the other engine comes to an end.
enum class Stop {
  kBehindTheCode,
  kWhereRefused,  // wherever a branch leads, if flash holds nothing but undefined instructions
};

class Engines {
 public:
  // Flash starts with what `fill` gives for each halfword.
  explicit Engines(const std::function<unsigned()>& fill);

  // Puts the code 64 bytes behind the last one, on either half of a word; what the last one covered
  // comes back. `chained`: instructions go on to the next one by themselves (core/chain.h).
  void Load(const Code& code, bool on_odd_halfword, bool chained);
  unsigned code_address() const { return code_address_; }
  // Behind the code loaded last.
  unsigned code_end() const { return code_end_; }
  // Into RAM, or into flash until the next Load(). False where there is neither, or the code.
  bool Write(unsigned address, const std::vector<unsigned char>& bytes);

  // One case with the code, which has at most so many steps. `single`: the instruction whose
  // deliberate differences apply, null for none.
  void Run(MachineState before, size_t steps, Stop stop, const Sample* single,
           const std::string& what);

  unsigned long cases() const { return cases_; }
  unsigned long refused() const { return refused_; }
  // Pieces of code.
  size_t mismatches() const { return mismatches_.size(); }

 private:
  unsigned char* OurFlash() { return bench_.memory().GetSectionByName("Flash")->bytes(); }
  unsigned char* OurRam() { return bench_.memory().GetSectionByName("Data RAM")->bytes(); }
  const unsigned char* Filled(const std::function<unsigned()>& fill);
  void WriteFlash(unsigned address, const unsigned char* bytes, size_t count);
  bool IsInCode(unsigned pc) const { return pc >= code_address_ && pc < code_end_; }
  void WriteOurs(const MachineState& state);
  MachineState ReadOurs();
  void Report(const MachineState& before, const std::string& what, const std::string& difference);

  CoreBench bench_;
  Oracle oracle_;
  unsigned code_address_;
  unsigned code_end_;
  std::vector<std::pair<unsigned, std::vector<unsigned char>>> covered_;
  unsigned long cases_ = 0;
  unsigned long refused_ = 0;
  std::map<std::string, unsigned> mismatches_;
};

// Assembly and machine code.
std::string Text(const Sample& sample);

}  // namespace orvo
