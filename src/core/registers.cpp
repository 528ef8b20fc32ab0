// The register file: its state after reset and its part of the dump.
#include "core/registers.h"

#include <iomanip>

namespace orvo {

namespace {
// The system registers above CONTROL have no line in the dump.
constexpr unsigned kLastDumpedId = kControl;
}  // namespace

void Registers::init(unsigned pc, unsigned sp) {
  set_xpsr(0);
  words_[kPrimask] = 0;
  words_[kFaultmask] = 0;
  words_[kBasepri] = 0;
  words_[kControl] = 0;
  words_[kPsp] = 0;
  words_[kMsp] = sp;
  words_[kLr] = 0xffffffff;
  words_[kPc] = pc;
  sp_start_ = sp;
  sp_min_ = sp;
}

void Registers::serializeToFile(std::ostream* stream) const {
  const std::ios_base::fmtflags flags = stream->flags();
  const char fill = stream->fill('0');
  *stream << "Regs:\n";
  for (unsigned id = 0; id <= kLastDumpedId; ++id) {
    const unsigned value = id == kXpsr ? xpsr() : words_[id];
    *stream << 'R' << std::dec << id << ": 0x" << std::hex << std::setw(8) << value << '\n';
  }
  stream->flags(flags);
  stream->fill(fill);
}

}  // namespace orvo
