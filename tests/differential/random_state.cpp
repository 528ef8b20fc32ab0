#include "random_state.h"

#include <bit>
#include <iterator>

#include "core/registers.h"

namespace orvo {

unsigned RandomState::Word() {
  static constexpr unsigned kCorners[] = {
      0,      1,       2,          0x7f,       0x80,       0xff,       0x7fff,     0x8000,
      0xffff, 0x10000, 0x7fffffff, 0x80000000, 0x80000001, 0xfffffffe, 0xffffffff, 0x80008000};
  switch (random_() % 4) {
    case 0: return kCorners[random_() % std::size(kCorners)];
    case 1: return static_cast<unsigned>(random_() % 64);
    default: return static_cast<unsigned>(random_());
  }
}

unsigned RandomState::FloatWord() {
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

MachineState RandomState::State() {
  MachineState state;
  for (unsigned& word : state.r) word = Word();
  state.r[13] = kRamMiddle + 4 * static_cast<unsigned>(random_() % 64);
  for (unsigned& word : state.s) word = FloatWord();
  state.apsr = static_cast<unsigned>(random_()) & kApsrBits;
  state.fpscr = static_cast<unsigned>(random_()) & kFpscrBits;
  return state;
}

void RandomState::Aim(const Sample& sample, MachineState& state) {
  const auto aim = [&](unsigned id, unsigned value) {
    if (unsigned* word = WordOf(state, id); word != nullptr && id != kSp) *word = value;
  };
  const unsigned step = 4 * static_cast<unsigned>(random_() % 128);
  const bool any_alignment = sample.key.rfind("ldr_", 0) == 0 || sample.key.rfind("str_", 0) == 0 ||
                             sample.key.rfind("ldrh", 0) == 0 || sample.key.rfind("strh", 0) == 0;
  const unsigned base =
      kRamMiddle + step + (any_alignment ? static_cast<unsigned>(random_() % 4) : 0);
  const std::vector<Operand>& operands = sample.disassembly.operands;
  for (const Operand& operand : operands) {
    if (operand.type != OperandType::kMemory) continue;
    aim(operand.mem.index, static_cast<unsigned>(random_() % 256));
    aim(operand.mem.base, base);
  }
  const bool list =
      sample.key.find("ldm") != std::string::npos || sample.key.find("stm") != std::string::npos;
  if (list) aim(operands[0].reg, kRamMiddle + step);
}

unsigned* WordOf(MachineState& state, unsigned id) {
  if (id >= kR0 && id <= kR12) return &state.r[id - kR0];
  if (id == kSp) return &state.r[13];
  return id == kLr ? &state.r[14] : nullptr;
}

}  // namespace orvo
