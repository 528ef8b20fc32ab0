// The register file of the core. Words are indexed by the operand numbers of decoded instructions,
// so that an operand's register id is the array index.
#pragma once

#include <array>
#include <ostream>
#include <vector>

#include "time/interrupts.h"

namespace tinyxml2 {
class XMLDocument;
}

namespace orvo {

enum RegisterId : unsigned {
  kNoRegister = 0,
  kApsrNzcv = 2,  // destination of `vmrs apsr_nzcv, fpscr`
  kFpscr = 6,
  kLr = 10,
  kPc = 11,
  kSp = 12,  // read and written through its banks, kMsp and kPsp: nothing is stored here
  kD0 = 14,  // D0 to D15 alias two S registers each
  kD15 = 29,
  kFaultmask = 18,
  kR0 = 66,
  kR12 = 78,
  kS0 = 79,
  kS31 = 110,
  kXpsr = 256,  // its word lacks the flags and the IT state, see Registers::status()
  kIpsr = 269,
  kMsp = 272,
  kPsp = 273,
  kPrimask = 274,
  kBasepri = 275,
  kControl = 278,
  kRegisterCount = 282,
};

namespace xpsr {
inline constexpr unsigned kN = 1u << 31;
inline constexpr unsigned kZ = 1u << 30;
inline constexpr unsigned kC = 1u << 29;
inline constexpr unsigned kV = 1u << 28;
inline constexpr unsigned kQ = 1u << 27;
inline constexpr unsigned kThumb = 1u << 24;
inline constexpr unsigned kExceptionNumber = 0x1ff;
inline constexpr unsigned kItLowBits = 3u << 25;      // IT[1:0]
inline constexpr unsigned kItHighBits = 0x3fu << 10;  // IT[7:2]
inline constexpr unsigned kNzcv = kN | kZ | kC | kV;
constexpr unsigned Ge(unsigned lane) { return 1u << (16 + lane); }
}  // namespace xpsr

namespace control {
inline constexpr unsigned kUnprivileged = 1u << 0;  // nPRIV
inline constexpr unsigned kProcessStack = 1u << 1;  // SPSEL
inline constexpr unsigned kFpContext = 1u << 2;     // FPCA
}  // namespace control

// N, Z, C and V as instructions leave them: one that sets flags only stores here what it has at
// hand, and does not wait for the flags before it. xPSR is put together when it is read.
struct ConditionFlags {
  long nz = 1;  // N is bit 63, Z whether the low 32 bits are 0: a result with its sign extended
  bool c = false;
  bool v = false;

  bool n() const { return nz < 0; }
  bool z() const { return static_cast<unsigned>(nz) == 0; }
  // N, Z, C and V in bits 3 to 0.
  unsigned nzcv() const { return n() * 8u + z() * 4u + c * 2u + v; }

  void SetNZ(unsigned result) { nz = static_cast<int>(result); }
  // From bits 31 to 28 of a word, where xPSR and FPSCR have them.
  void Set(unsigned word) {
    nz = ((word & xpsr::kZ) != 0 ? 0l : 1l) | static_cast<long>(word & xpsr::kN) << 32;
    c = (word & xpsr::kC) != 0;
    v = (word & xpsr::kV) != 0;
  }
};

class alignas(64) Registers {
 public:
  // Back to the state after reset; the lowest stack pointer seen starts over.
  void init(unsigned pc, unsigned sp);

  unsigned& word(unsigned id) { return words_[id]; }
  unsigned word(unsigned id) const { return words_[id]; }
  // Like word(), with the banked stack pointer for id 12 and the whole of xPSR.
  unsigned get(unsigned id) const {
    if (id == kSp) return sp();
    return id == kXpsr ? xpsr() : words_[id];
  }

  unsigned& pc() { return words_[kPc]; }
  unsigned pc() const { return words_[kPc]; }
  unsigned& lr() { return words_[kLr]; }
  unsigned& r(unsigned n) { return words_[kR0 + n]; }
  unsigned& s(unsigned n) { return words_[kS0 + n]; }
  unsigned xpsr() const {
    return status() | flags_.nzcv() << 28 | (it_ & 3u) << 25 | (it_ & 0xfcu) << 8;
  }
  void set_xpsr(unsigned value) {
    status() = value & ~(xpsr::kNzcv | xpsr::kItLowBits | xpsr::kItHighBits);
    flags_.Set(value);
    it_ = static_cast<unsigned char>((value >> 25 & 3u) | (value >> 8 & 0xfcu));
  }
  ConditionFlags& flags() { return flags_; }
  const ConditionFlags& flags() const { return flags_; }
  // IT[7:0].
  unsigned char& it() { return it_; }
  // The rest of xPSR: exception number, Thumb, GE and Q.
  unsigned& status() { return words_[kXpsr]; }
  unsigned status() const { return words_[kXpsr]; }
  unsigned& fpscr() { return words_[kFpscr]; }
  // The low byte of CONTROL is also what exception entry and return know as the MCU's status:
  // process stack in use, floating point context active.
  unsigned& control() { return words_[kControl]; }
  unsigned control() const { return words_[kControl]; }

  // PSP if CONTROL selects it and the core is in thread mode, otherwise MSP.
  unsigned sp() const { return words_[SpId()]; }
  void SetSP(unsigned value) {
    if (track_sp_min_ && value < sp_min_) sp_min_ = value;
    words_[SpId()] = value;
  }
  // Handler mode, or thread mode with CONTROL bit 0 clear.
  bool IsPrivileged() const {
    return Interrupts::mode_ == kHandlerMode || (control() & control::kUnprivileged) == 0;
  }

  // With --sp on, SetSP() keeps the lowest value.
  void TrackStackDepth(bool on) { track_sp_min_ = on; }
  unsigned sp_start() const { return sp_start_; }
  unsigned sp_min() const { return sp_min_; }

  // "R<id>: 0x<word>" lines for ids 0 to 278.
  void serializeToFile(std::ostream* stream) const;
  // The registers by name, id and type, as a debugger's target description; and the ids in it,
  // ascending.
  static void serializeMetaDataToXml(tinyxml2::XMLDocument* document);
  static const std::vector<unsigned>& DescribedIds();

 private:
  unsigned SpId() const {
    return kMsp + (((control() >> 1) & 1u) & (Interrupts::mode_ == kThreadMode ? 1u : 0u));
  }

  // What changes with nearly every instruction stands apart from the rest of xPSR, so that it is
  // stored without being read.
  ConditionFlags flags_;
  unsigned char it_ = 0;
  std::array<unsigned, kRegisterCount> words_{};
  unsigned sp_min_ = 0;
  unsigned sp_start_ = 0;
  bool track_sp_min_ = false;
};

}  // namespace orvo
