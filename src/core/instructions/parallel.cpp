// Saturating and parallel arithmetic. Source: ARMv7-M ARM, A7.7, under the headings that stand
// beside the assembly. A lane is a byte or a half of both operands; lanes are signed but in uadd8.

#include <algorithm>

#include "core/instruction_table.h"

namespace orvo {
namespace {

template <unsigned bits>
int Saturated(long value, bool set_q) {
  constexpr long kMax = (1L << (bits - 1)) - 1;
  const long clamped = std::clamp(value, -kMax - 1, kMax);
  if (set_q && clamped != value) updateCPSROnlyQ(true);
  return static_cast<int>(clamped);
}

// The sum at double width, clamped to the range of a lane.
int AddWithSaturation_8(int a, int b, bool set_q) { return Saturated<8>(long{a} + b, set_q); }
int AddWithSaturation_16(int a, int b, bool set_q) { return Saturated<16>(long{a} + b, set_q); }
int AddWithSaturation_32(int a, int b, bool set_q) { return Saturated<32>(long{a} + b, set_q); }

// Lane by lane; what the operation gives is cut to its lane.
template <class Lane, class Operation>
unsigned ForEachLane(unsigned a, unsigned b, Operation operation) {
  constexpr unsigned kBits = 8 * sizeof(Lane);
  unsigned result = 0;
  for (unsigned shift = 0; shift < 32; shift += kBits) {
    const int lane = operation(static_cast<Lane>(a >> shift), static_cast<Lane>(b >> shift));
    result |= (static_cast<unsigned>(lane) & ((1u << kBits) - 1)) << shift;
  }
  return result;
}

int Low(unsigned value) { return static_cast<short>(value); }
int High(unsigned value) { return static_cast<short>(value >> 16); }
unsigned Pack(int high, int low) {
  return static_cast<unsigned>(high) << 16 | (static_cast<unsigned>(low) & 0xffff);
}

// QADD Rd, Rm, Rn                     "QADD"
template <Form f>
void qadd_3() {
  if (SkippedByCondition<f>()) return;
  const int a = static_cast<int>(First<f>());
  const int b = static_cast<int>(Second<f>());
  WriteAndAdvance<f>(static_cast<unsigned>(AddWithSaturation_32(a, b, true)));
}

// QADD16 Rd, Rn, Rm                   "QADD16"
template <Form f>
void qadd16() {
  if (SkippedByCondition<f>()) return;
  const auto add = [](short a, short b) { return AddWithSaturation_16(a, b, false); };
  WriteAndAdvance<f>(ForEachLane<short>(First<f>(), Second<f>(), add));
}

// QADD8 Rd, Rn, Rm                    "QADD8"
template <Form f>
void qadd8() {
  if (SkippedByCondition<f>()) return;
  const auto add = [](signed char a, signed char b) { return AddWithSaturation_8(a, b, false); };
  WriteAndAdvance<f>(ForEachLane<signed char>(First<f>(), Second<f>(), add));
}

// QSUB Rd, Rm, Rn                     "QSUB"
// Deliberate, and in the lanes of qsub16 and qsub8 too: the second operand is negated at its own
// width before it is added, so that the most negative value stays negative.
template <Form f>
void qsub_3() {
  if (SkippedByCondition<f>()) return;
  const int a = static_cast<int>(First<f>());
  const int minus_b = static_cast<int>(0u - Second<f>());
  WriteAndAdvance<f>(static_cast<unsigned>(AddWithSaturation_32(a, minus_b, true)));
}

// QSUB16 Rd, Rn, Rm                   "QSUB16"
template <Form f>
void qsub16() {
  if (SkippedByCondition<f>()) return;
  const auto subtract = [](short a, short b) {
    return AddWithSaturation_16(a, static_cast<short>(-b), false);
  };
  WriteAndAdvance<f>(ForEachLane<short>(First<f>(), Second<f>(), subtract));
}

// QSUB8 Rd, Rn, Rm                    "QSUB8"
template <Form f>
void qsub8() {
  if (SkippedByCondition<f>()) return;
  const auto subtract = [](signed char a, signed char b) {
    return AddWithSaturation_8(a, static_cast<signed char>(-b), false);
  };
  WriteAndAdvance<f>(ForEachLane<signed char>(First<f>(), Second<f>(), subtract));
}

// QASX Rd, Rn, Rm                     "QASX"
template <Form f>
void qasx() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const unsigned b = Second<f>();
  const int low = AddWithSaturation_16(Low(a), -High(b), false);
  const int high = AddWithSaturation_16(High(a), Low(b), false);
  WriteAndAdvance<f>(Pack(high, low));
}

// QSAX Rd, Rn, Rm                     "QSAX"
template <Form f>
void qsax() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const unsigned b = Second<f>();
  const int low = AddWithSaturation_16(Low(a), High(b), false);
  const int high = AddWithSaturation_16(High(a), -Low(b), false);
  WriteAndAdvance<f>(Pack(high, low));
}

// QDADD Rd, Rm, Rn                    "QDADD"
// Q tells of either step.
template <Form f>
void qdadd() {
  if (SkippedByCondition<f>()) return;
  const int a = static_cast<int>(First<f>());
  const int b = static_cast<int>(Second<f>());
  const int doubled = AddWithSaturation_32(b, b, true);
  WriteAndAdvance<f>(static_cast<unsigned>(AddWithSaturation_32(a, doubled, true)));
}

// SHSUB16 Rd, Rn, Rm                  "SHSUB16"
template <Form f>
void shsub() {
  if (SkippedByCondition<f>()) return;
  const auto halve = [](short a, short b) { return (a - b) >> 1; };
  WriteAndAdvance<f>(ForEachLane<short>(First<f>(), Second<f>(), halve));
}

// SHASX Rd, Rn, Rm                    "SHASX"
template <Form f>
void shasx() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const unsigned b = Second<f>();
  WriteAndAdvance<f>(Pack((High(a) + Low(b)) >> 1, (Low(a) - High(b)) >> 1));
}

// SHSAX Rd, Rn, Rm                    "SHSAX"
template <Form f>
void shsax() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const unsigned b = Second<f>();
  WriteAndAdvance<f>(Pack((High(a) - Low(b)) >> 1, (Low(a) + High(b)) >> 1));
}

// UADD8 Rd, Rn, Rm                    "UADD8"
template <Form f>
void uadd8_3() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const unsigned b = Second<f>();
  unsigned result = 0;
  for (unsigned lane = 0; lane < 4; ++lane) {
    const unsigned sum = (a >> 8 * lane & 0xff) + (b >> 8 * lane & 0xff);
    updateCPSROnlyGp8(lane, sum > 0xff);
    result |= (sum & 0xff) << 8 * lane;
  }
  WriteAndAdvance<f>(result);
}

// SEL Rd, Rn, Rm                      "SEL"
template <Form f>
void sel_3() {
  if (SkippedByCondition<f>()) return;
  const unsigned a = First<f>();
  const unsigned b = Second<f>();
  unsigned result = 0;
  for (unsigned lane = 0; lane < 4; ++lane) {
    result |= (getCPSROnlyGp(lane) ? a : b) & 0xffu << 8 * lane;
  }
  WriteAndAdvance<f>(result);
}

}  // namespace

void AddParallelArithmetic(InstructionTable& table) {
  AddThreeOperandForms<RegisterShape>(table, "qadd", FAMILY(qadd_3));
  AddThreeOperandForms<RegisterShape>(table, "qadd16", FAMILY(qadd16));
  AddThreeOperandForms<RegisterShape>(table, "qadd8", FAMILY(qadd8));
  AddThreeOperandForms<RegisterShape>(table, "qsub", FAMILY(qsub_3));
  AddThreeOperandForms<RegisterShape>(table, "qsub16", FAMILY(qsub16));
  AddThreeOperandForms<RegisterShape>(table, "qsub8", FAMILY(qsub8));
  AddThreeOperandForms<RegisterShape>(table, "qasx", FAMILY(qasx));
  AddThreeOperandForms<RegisterShape>(table, "qsax", FAMILY(qsax));
  AddThreeOperandForms<RegisterShape>(table, "shsub16", FAMILY(shsub));
  AddThreeOperandForms<RegisterShape>(table, "shasx", FAMILY(shasx));
  AddThreeOperandForms<RegisterShape>(table, "shsax", FAMILY(shsax));
  AddThreeOperandForms<RegisterShape>(table, "uadd8", FAMILY(uadd8_3));
  AddThreeOperandForms<RegisterShape>(table, "sel", FAMILY(sel_3));
  // Deliberate: qdadd has no conditional key, so that within an IT block it has no function.
  table.Add("qdadd_3", RegisterShape::Of<kThreeOperands>(FAMILY(qdadd)));
}

}  // namespace orvo
