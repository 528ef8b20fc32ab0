// An independent engine for the same instructions: the unicorn library's Cortex-M4.
#pragma once

#include <cstddef>
#include <vector>

#include "machine_state.h"

struct uc_struct;

namespace orvo {

class Oracle {
 public:
  // An end that is never reached.
  static constexpr unsigned kNowhere = 0xfffffffe;

  // The memory that both engines start with; throws std::runtime_error if the library fails.
  Oracle(const unsigned char* flash, size_t flash_bytes, unsigned ram_start, size_t ram_bytes);
  ~Oracle();
  Oracle(const Oracle&) = delete;
  Oracle& operator=(const Oracle&) = delete;

  void WriteCode(unsigned address, const unsigned char* bytes, size_t count);
  void WriteState(const MachineState& state);
  struct Outcome {
    MachineState state;
    bool reached_end;
  };
  // Executes from pc on, to the end or to an instruction that the engine refuses: undefined there,
  // or an access outside the memory.
  Outcome Run(unsigned pc, unsigned end);
  // The engine works on these bytes.
  std::vector<unsigned char>& ram() { return ram_; }

 private:
  MachineState ReadState();

  uc_struct* engine_ = nullptr;
  unsigned writes_ = 0;
  std::vector<unsigned char> flash_;
  std::vector<unsigned char> ram_;
};

}  // namespace orvo
