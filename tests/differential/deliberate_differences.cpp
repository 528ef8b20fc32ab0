#include "deliberate_differences.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

#include "core/globals.h"
#include "core/registers.h"
#include "memory/memory.h"

namespace orvo {
namespace {

constexpr float kIocLimit = 3.4028235e38f;
constexpr unsigned kIoc = 1;
constexpr unsigned kUfc = 8;
constexpr unsigned kCumulative = 0x1f;

const std::vector<Operand>& Operands(const Sample& sample) { return sample.disassembly.operands; }

std::string_view Base(const Sample& sample) {
  const std::string_view key = sample.key;
  return key.substr(0, key.find('_'));
}

bool IsOneOf(std::string_view text, std::initializer_list<std::string_view> names) {
  for (const std::string_view name : names) {
    if (text == name) return true;
  }
  return false;
}

unsigned& Register(MachineState& state, unsigned id) {
  if (id == kSp) return state.r[13];
  if (id == kLr) return state.r[14];
  if (id >= kS0) return state.s[id - kS0];
  return state.r[id - kR0];
}

unsigned Value(const MachineState& state, const Operand& operand) {
  if (operand.type == OperandType::kImmediate) return static_cast<unsigned>(operand.imm);
  return Register(const_cast<MachineState&>(state), operand.reg);
}

unsigned Rotated(unsigned value, const Operand& operand) {
  return operand.shift_type == ShiftType::kRor ? std::rotr(value, static_cast<int>(operand.shift_amount))
                                               : value;
}

void SetBit(unsigned& word, unsigned bit, bool on) { word = on ? word | bit : word & ~bit; }

void KeepCarry(const MachineState& before, MachineState& result) {
  SetBit(result.apsr, xpsr::kC, (before.apsr & xpsr::kC) != 0);
}

void SetNZ(MachineState& state, unsigned value) {
  SetBit(state.apsr, xpsr::kN, (value >> 31) != 0);
  SetBit(state.apsr, xpsr::kZ, value == 0);
}

float Float(unsigned word) { return std::bit_cast<float>(word); }

// --- Integer ---------------------------------------------------------------------------------

bool LastIsImmediate(const Sample& sample) {
  return !Operands(sample).empty() && Operands(sample).back().type == OperandType::kImmediate;
}

bool LeavesCarryWithImmediate(const Sample& sample) {
  return LastIsImmediate(sample) && IsOneOf(Base(sample), {"movs", "orrs", "orns", "eors", "bics"});
}

bool TakesCarryFromImmediateValue(const Sample& sample) {
  return LastIsImmediate(sample) && IsOneOf(Base(sample), {"mvns", "tst", "teq"});
}

void CarryFromImmediateValue(const Sample& sample, const MachineState& before,
                             MachineState& result) {
  const unsigned immediate = static_cast<unsigned>(Operands(sample).back().imm);
  KeepCarry(before, result);
  if (immediate > 255) SetBit(result.apsr, xpsr::kC, (immediate >> 31) != 0);
}

bool ShiftsArithmeticallyByRegister(const Sample& sample) {
  return Base(sample) == "asrs" || (Base(sample) == "asr" && Operands(sample).size() >= 2);
}

void AsrKeepsCarryFrom32(const Sample& sample, const MachineState& before, MachineState& result) {
  if (Base(sample) == "asrs" && (Value(before, Operands(sample).back()) & 0xff) >= 32)
    KeepCarry(before, result);
}

bool ShiftsByItsDestination(const Sample& sample) {
  return IsOneOf(Base(sample), {"lsls", "lsrs", "asrs", "rors"}) &&
         Operands(sample).back().type == OperandType::kRegister &&
         Operands(sample).back().reg == Operands(sample)[0].reg;
}

void CarryTestsTheAmountAfterTheWrite(const Sample& sample, const MachineState& before,
                                      MachineState& result) {
  if ((Value(result, Operands(sample)[0]) & 0xff) == 0) {
    KeepCarry(before, result);
  } else if ((Value(before, Operands(sample).back()) & 0xff) == 0) {
    SetBit(result.apsr, xpsr::kC, false);  // no shift, no carry out
  }
}

bool OperandIsShiftedBy32(const Sample& sample) {
  if (Operands(sample).empty()) return false;
  const Operand& last = Operands(sample).back();
  return last.shift_type == ShiftType::kAsr && last.shift_amount == 32 &&
         IsOneOf(Base(sample),
                 {"movs", "mvns", "ands", "orrs", "orns", "eors", "bics", "tst", "teq"});
}

bool IsRrxOfFlags(const Sample& sample) { return Base(sample) == "rrxs"; }

void RrxsTakesCarryIfLowByteIsSet(const Sample& sample, const MachineState& before,
                                  MachineState& result) {
  if ((Value(before, Operands(sample).back()) & 0xff) == 0) KeepCarry(before, result);
}

bool HasRrxOperand(const Sample& sample) {
  return !Operands(sample).empty() && Operands(sample).back().shift_type == ShiftType::kRrx &&
         Base(sample) != "rrx" && Base(sample) != "rrxs";
}

// Only the old carry, in bit 31, is left of the operand.
void OperandOfRrxIsTheCarry(const Sample& sample, const MachineState& before,
                            MachineState& result) {
  const std::string_view base = Base(sample);
  const bool compares = IsOneOf(base, {"cmp", "cmn", "tst", "teq"});
  const bool logic_sets_carry =
      IsOneOf(base, {"movs", "mvns", "ands", "orrs", "orns", "eors", "bics", "tst", "teq"});
  // With flags, C is cleared first: the shift function sees an amount of 0, whose bit 0 is 0.
  const unsigned b = logic_sets_carry ? 0 : (before.apsr & xpsr::kC) << 2;
  const std::vector<Operand>& operands = Operands(sample);
  const bool unary = IsOneOf(base, {"mov", "movs", "mvn", "mvns"});
  const unsigned a = unary ? 0 : Value(before, operands[compares || operands.size() == 2 ? 0 : 1]);
  const unsigned carry_in = (before.apsr >> 29) & 1;
  const std::string_view name =
      base.back() == 's' && base.size() == 4 ? base.substr(0, 3) : base;
  unsigned value = 0;
  bool arithmetic = true;
  unsigned x = a, y = b, c = 0;
  if (name == "add" || name == "cmn") { y = b; c = 0; }
  else if (name == "sub" || name == "cmp") { y = ~b; c = 1; }
  else if (name == "rsb") { x = b; y = ~a; c = 1; }
  else if (name == "adc") { y = b; c = carry_in; }
  else if (name == "sbc") { y = ~b; c = carry_in; }
  else arithmetic = false;
  if (arithmetic) {
    const unsigned long wide = static_cast<unsigned long>(x) + y + c;
    value = static_cast<unsigned>(wide);
    if (compares || base.back() == 's') {
      SetNZ(result, value);
      SetBit(result.apsr, xpsr::kC, (wide >> 32) != 0);
      SetBit(result.apsr, xpsr::kV, (((x ^ value) & (y ^ value)) >> 31) != 0);
    }
  } else {
    if (name == "and" || name == "tst") value = a & b;
    if (name == "orr") value = a | b;
    if (name == "orn") value = a | ~b;
    if (name == "eor" || name == "teq") value = a ^ b;
    if (name == "bic") value = a & ~b;
    if (name == "mov") value = b;
    if (name == "mvn") value = ~b;
    if (logic_sets_carry) {
      SetNZ(result, value);
      SetBit(result.apsr, xpsr::kC, false);
    }
  }
  if (!compares) Register(result, operands[0].reg) = value;
}

bool IsSbfx(const Sample& sample) { return Base(sample) == "sbfx"; }

void SbfxTestsTheBitAboveItsField(const Sample& sample, const MachineState& before,
                                  MachineState& result) {
  static constexpr unsigned kSignMasks[32] = {
      0xffffffff, 0xfffffff7, 0xfffffff3, 0xfffffff1, 0xfffffff0, 0xffffff70, 0xffffff30,
      0xffffff10, 0xffffff00, 0xfffff700, 0xfffff300, 0xfffff100, 0xfffff000, 0xffff7000,
      0xffff3000, 0xffff1000, 0xffff0000, 0xfff70000, 0xfff30000, 0xfff10000, 0xfff00000,
      0xff700000, 0xff300000, 0xff100000, 0xff000000, 0xf7000000, 0xf3000000, 0xf1000000,
      0xf0000000, 0x70000000, 0x30000000, 0x10000000};
  const std::vector<Operand>& operands = Operands(sample);
  const unsigned width = static_cast<unsigned>(operands[3].imm);
  if (width > 31) return;  // the whole register
  const unsigned value = Value(before, operands[1]) >> operands[2].imm;
  const unsigned low = static_cast<unsigned>((2ul << width) - 1);
  const bool sign = ((value >> width) & 1) != 0;
  Register(result, operands[0].reg) = sign ? value | kSignMasks[width] : value & low;
}

bool IsSignedExtendAndAdd(const Sample& sample) {
  return IsOneOf(Base(sample), {"sxtab", "sxtah"});
}

void SxtaMasksTheAddend(const Sample& sample, const MachineState& before, MachineState& result) {
  const std::vector<Operand>& operands = Operands(sample);
  const unsigned mask = Base(sample) == "sxtab" ? 0xff : 0xffff;
  Register(result, operands[0].reg) = (Value(before, operands[1]) & mask) +
                                      Rotated(Value(before, operands[2]), operands[2]);
}

bool IsSxtb16(const Sample& sample) { return Base(sample) == "sxtb16"; }

void Sxtb16ReadsItsDestination(const Sample& sample, const MachineState& before,
                               MachineState& result) {
  const unsigned value = Value(before, Operands(sample)[0]);
  const auto lane = [&](unsigned byte) {
    return static_cast<unsigned>(static_cast<int>(static_cast<signed char>(value >> byte))) &
           0xffff;
  };
  Register(result, Operands(sample)[0].reg) = lane(0) | lane(16) << 16;
}

bool IsSmlal(const Sample& sample) { return Base(sample) == "smlal"; }

void SmlalExtendsTheSignOfTheLowWord(const Sample& sample, const MachineState& before,
                                     MachineState& result) {
  const std::vector<Operand>& operands = Operands(sample);
  const unsigned long low = static_cast<unsigned long>(
      static_cast<long>(static_cast<int>(Value(before, operands[0]))));
  const unsigned long accumulator =
      static_cast<unsigned long>(Value(before, operands[1])) << 32 | low;
  const long product = static_cast<long>(static_cast<int>(Value(before, operands[2]))) *
                       static_cast<int>(Value(before, operands[3]));
  const unsigned long sum = accumulator + static_cast<unsigned long>(product);
  Register(result, operands[0].reg) = static_cast<unsigned>(sum);
  Register(result, operands[1].reg) = static_cast<unsigned>(sum >> 32);
}

bool NeverSaturates(const Sample& sample) {
  return IsOneOf(Base(sample), {"smlabb", "smlabt", "smlatb", "smlatt"});
}

void KeepsQ(const Sample&, const MachineState& before, MachineState& result) {
  SetBit(result.apsr, xpsr::kQ, (before.apsr & xpsr::kQ) != 0);
}

bool IsQsub(const Sample& sample) { return Base(sample) == "qsub"; }

void QsubWrapsTheNegation(const Sample& sample, const MachineState& before, MachineState& result) {
  const std::vector<Operand>& operands = Operands(sample);
  if (Value(before, operands[2]) != 0x80000000) return;
  const long sum = static_cast<long>(static_cast<int>(Value(before, operands[1]))) +
                   std::numeric_limits<int>::min();
  const bool saturates = sum < std::numeric_limits<int>::min();
  KeepsQ(sample, before, result);
  if (saturates) result.apsr |= xpsr::kQ;
  Register(result, operands[0].reg) =
      saturates ? 0x80000000 : static_cast<unsigned>(static_cast<int>(sum));
}

bool IsQsub16Or8(const Sample& sample) { return IsOneOf(Base(sample), {"qsub8", "qsub16"}); }

template <class Lane>
unsigned SubtractByNegation(unsigned a, unsigned b) {
  constexpr unsigned kBits = 8 * sizeof(Lane);
  unsigned word = 0;
  for (unsigned bit = 0; bit < 32; bit += kBits) {
    const int negated = static_cast<Lane>(-static_cast<Lane>(b >> bit));
    const int sum = static_cast<Lane>(a >> bit) + negated;
    const int clamped = std::clamp<int>(sum, std::numeric_limits<Lane>::min(),
                                        std::numeric_limits<Lane>::max());
    word |= (static_cast<unsigned>(clamped) & ((1ul << kBits) - 1)) << bit;
  }
  return word;
}

void LanesNegateWithWrapAround(const Sample& sample, const MachineState& before,
                               MachineState& result) {
  const unsigned a = Value(before, Operands(sample)[1]);
  const unsigned b = Value(before, Operands(sample)[2]);
  Register(result, Operands(sample)[0].reg) = Base(sample) == "qsub8"
                                                  ? SubtractByNegation<signed char>(a, b)
                                                  : SubtractByNegation<short>(a, b);
}

bool IsRevsh(const Sample& sample) { return Base(sample) == "revsh"; }

void RevshTestsTheWholeWord(const Sample& sample, const MachineState& before,
                            MachineState& result) {
  const unsigned value = Value(before, Operands(sample)[1]);
  Register(result, Operands(sample)[0].reg) =
      value < 128 ? value << 8 : ((value << 8) & 0xffff) | ((value >> 8) & 0xff) | 0xffff0000;
}

// --- Floating point --------------------------------------------------------------------------

bool IsFloatArithmetic(const Sample& sample) {
  return sample.key.find("_f32") != std::string::npos &&
         IsOneOf(Base(sample), {"vadd", "vsub", "vmul", "vdiv", "vmla", "vmls", "vnmla", "vnmls",
                                "vnmul", "vfma", "vfms", "vfnma", "vfnms", "vsqrt"});
}

bool IsFused(const Sample& sample) {
  return IsOneOf(Base(sample), {"vfma", "vfms", "vfnma", "vfnms"});
}

void FusedRoundsTwice(const Sample& sample, const MachineState& before, MachineState& result) {
  const std::vector<Operand>& operands = Operands(sample);
  const float d = Float(Value(before, operands[0]));
  volatile float product = Float(Value(before, operands[1])) * Float(Value(before, operands[2]));
  const std::string_view base = Base(sample);
  volatile float value = base == "vfma"    ? d + product
                         : base == "vfms"  ? d - product
                         : base == "vfnma" ? -d - product
                                           : product - d;
  const float rounded = value;
  Register(result, operands[0].reg) = std::bit_cast<unsigned>(rounded);
}

void LargeResultsSetIoc(const Sample& sample, const MachineState&, MachineState& result) {
  if (std::fabs(Float(Register(result, Operands(sample)[0].reg))) >= kIocLimit)
    result.fpscr |= kIoc;
}

bool IsCompare(const Sample& sample) { return IsOneOf(Base(sample), {"vcmp", "vcmpe"}); }

void CompareTakesTheDifference(const Sample& sample, const MachineState& before,
                               MachineState& result) {
  const float a = Float(Value(before, Operands(sample)[0]));
  const float b = Float(Value(before, Operands(sample)[1]));
  const unsigned flags = std::isnan(a) || std::isnan(b) ? 0x30000001
                         : std::isinf(a) && a == b      ? 0x80000000
                         : a == b                       ? 0x60000000
                         : a > b                        ? 0x20000000
                                                        : 0x80000000;
  result.fpscr = (before.fpscr & kCumulative) | flags;
}

bool IsConversionToInteger(const Sample& sample) {
  return sample.key.rfind("vcvt_s32_f32", 0) == 0 || sample.key.rfind("vcvt_u32_f32", 0) == 0;
}

void ConversionsHaveTheLimitsOfSignedWords(const Sample& sample, const MachineState& before,
                                           MachineState& result) {
  const float value = Float(Value(before, Operands(sample)[1]));
  int word = 0;
  if (std::isnan(value)) {
    word = 0;
  } else if (value >= 2147483648.0f) {
    word = std::numeric_limits<int>::max();
  } else if (value < -2147483648.0f) {
    word = std::numeric_limits<int>::min();
  } else {
    word = static_cast<int>(value);
  }
  Register(result, Operands(sample)[0].reg) = static_cast<unsigned>(word);
}

bool IsConversionToHalf(const Sample& sample) { return Base(sample) == "vcvtb"; }

void HalfPrecisionIsTruncated(const Sample& sample, const MachineState& before,
                              MachineState& result) {
  const unsigned v = Value(before, Operands(sample)[1]);
  const unsigned half = ((((v & 0x7f800000) - 0x38000000) >> 13) & 0x7c00) |
                        ((v >> 13) & 0x3ff) | ((v >> 16) & 0x8000);
  unsigned& word = Register(result, Operands(sample)[0].reg);
  word = (Value(before, Operands(sample)[0]) & 0xffff0000) | half;
}

void KeepCarryRow(const Sample&, const MachineState& before, MachineState& result) {
  KeepCarry(before, result);
}

// --- Branches --------------------------------------------------------------------------------

bool WritesPcWithoutBranching(const Sample& sample) {
  const std::vector<Operand>& operands = Operands(sample);
  if (IsOneOf(Base(sample), {"ldm", "ldmdb"})) return operands.back().reg == kPc;
  return IsOneOf(Base(sample), {"mov", "add"}) && operands[0].reg == kPc;
}

void SizeIsAddedToPc(const Sample& sample, const MachineState&, MachineState& result) {
  result.pc += 2 * static_cast<unsigned>(sample.code.size());
}

bool ReadsTableAwayFromPc(const Sample& sample) {
  return IsOneOf(Base(sample), {"tbb", "tbh"}) && Operands(sample)[0].mem.base != kPc;
}

void TableIsReadFourBytesTooHigh(const Sample& sample, const MachineState& before,
                                 MachineState& result) {
  MachineState state = before;
  const MemoryOperand& table = Operands(sample)[0].mem;
  const unsigned base = Register(state, table.base);
  const unsigned index = Register(state, table.index);
  const unsigned entry = Base(sample) == "tbb" ? memory_->getByte<false>(base + index + 4)
                                               : memory_->getHalfWord<false>(base + 2 * index + 4);
  result.pc = before.pc + 4 + 2 * entry;
}

// clang-format off
constexpr DeliberateDifference kDifferences[] = {
    {"C is left alone by an immediate",            LeavesCarryWithImmediate,      KeepCarryRow},
    {"C comes from an immediate above 255",        TakesCarryFromImmediateValue,  CarryFromImmediateValue},
    {"C is kept by asr from 32 on",                ShiftsArithmeticallyByRegister, AsrKeepsCarryFrom32},
    {"C of a shift by its destination tests what was written", ShiftsByItsDestination, CarryTestsTheAmountAfterTheWrite},
    {"C is kept by an operand shifted asr #32",    OperandIsShiftedBy32,          KeepCarryRow},
    {"C follows rrxs only if the low byte is set", IsRrxOfFlags,                  RrxsTakesCarryIfLowByteIsSet},
    {"an operand with rrx loses its value",        HasRrxOperand,                 OperandOfRrxIsTheCarry},
    {"the sign of sbfx is one bit too high",       IsSbfx,                        SbfxTestsTheBitAboveItsField},
    {"sxtab and sxtah mask the other operand",     IsSignedExtendAndAdd,          SxtaMasksTheAddend},
    {"sxtb16 reads its destination",               IsSxtb16,                      Sxtb16ReadsItsDestination},
    {"smlal extends the sign of the low word",     IsSmlal,                       SmlalExtendsTheSignOfTheLowWord},
    {"smlabb and its kin never set Q",             NeverSaturates,                KeepsQ},
    {"qsub negates with wrap-around",              IsQsub,                        QsubWrapsTheNegation},
    {"qsub8 and qsub16 negate their lanes",        IsQsub16Or8,                   LanesNegateWithWrapAround},
    {"revsh tests the whole word",                 IsRevsh,                       RevshTestsTheWholeWord},
    {"fused forms round twice",                    IsFused,                       FusedRoundsTwice},
    {"a result of FLT_MAX or above sets IOC",      IsFloatArithmetic,             LargeResultsSetIoc},
    {"a comparison takes the difference first",    IsCompare,                     CompareTakesTheDifference},
    {"conversions have the limits of signed words", IsConversionToInteger,        ConversionsHaveTheLimitsOfSignedWords},
    {"half precision is truncated",                IsConversionToHalf,            HalfPrecisionIsTruncated},
    {"pc in mov, add and ldm gets the size added", WritesPcWithoutBranching,      SizeIsAddedToPc},
    {"a table away from pc is read 4 bytes too high", ReadsTableAwayFromPc,       TableIsReadFourBytesTooHigh},
};
// clang-format on

}  // namespace

bool HasDeliberateDifference(const Sample& sample) {
  for (const DeliberateDifference& row : kDifferences) {
    if (row.concerns(sample)) return true;
  }
  return false;
}

void ApplyDeliberateDifferences(const Sample& sample, const MachineState& before,
                                MachineState& result) {
  for (const DeliberateDifference& row : kDifferences) {
    if (row.concerns(sample)) row.apply(sample, before, result);
  }
}

}  // namespace orvo
