#include "core/flags.h"

#include "runner/errors.h"

namespace orvo {
namespace {

unsigned GeBit(unsigned lane) {
  if (lane > 3) throw OrvoError("Error updateCPSROnlyGp got invalid gpio bit number");
  return xpsr::Ge(lane);
}

}  // namespace

void updateCPSROnlyGp8(unsigned lane, bool on) { SetStatusBit(GeBit(lane), on); }

bool getCPSROnlyGp(unsigned lane) { return (registers_->status() & GeBit(lane)) != 0; }

void updateCPSRFromImmOnlyC(unsigned short imm12) {
  if ((imm12 & 0xc00) == 0) return;
  const unsigned unrotated = (imm12 & 0x7fu) | 0x80u;
  const unsigned amount = imm12 >> 7;  // 8 to 31
  updateCPSROnlyC(((unrotated >> amount | unrotated << (32 - amount)) >> 31) != 0);
}

}  // namespace orvo
