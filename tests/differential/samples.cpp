#include "samples.h"

#include <algorithm>
#include <string_view>

#include "core/decoder.h"
#include "core/instruction_table.h"
#include "core/registers.h"

namespace orvo {
namespace {

constexpr unsigned kDecodeAddress = 0x1000;
// Second halfwords tried for each first halfword of the 32-bit encodings.
constexpr unsigned kTriesPerHalf = 1200;
// Encodings too rare for the sweep: vmrs, vmsr, clz, rbit and the like with all but a register
// fixed, and the saturating and dual forms.
constexpr unsigned short kRare[][2] = {
    {0xeef1, 0x0a10}, {0xeef1, 0x3a10}, {0xeef1, 0xfa10}, {0xeee1, 0x2a10}, {0xfab1, 0xf081},
    {0xfa91, 0xf0a1}, {0xfa91, 0xf081}, {0xfa91, 0xf091}, {0xfa91, 0xf0b1}, {0xf3af, 0x8000},
    {0xf3bf, 0x8f4f}, {0xf3bf, 0x8f5f}, {0xf3bf, 0x8f6f}, {0xea4f, 0x0031}, {0xea5f, 0x0031}};

bool StartsWithAny(std::string_view text, std::initializer_list<std::string_view> beginnings) {
  return std::any_of(beginnings.begin(), beginnings.end(), [&](std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
  });
}

bool IsPc(const Operand& operand) {
  return operand.type == OperandType::kRegister && operand.reg == kPc;
}

bool IsSp(const Operand& operand) {
  return operand.type == OperandType::kRegister && operand.reg == kSp;
}

const Operand* MemoryOf(const std::vector<Operand>& operands) {
  for (const Operand& operand : operands) {
    if (operand.type == OperandType::kMemory) return &operand;
  }
  return nullptr;
}

// Two destinations in one register, or a base that is also loaded or stored: UNPREDICTABLE.
bool ClashesOfRegisters(const std::string& key, const std::vector<Operand>& operands,
                        bool writeback) {
  if (StartsWithAny(key, {"umull", "umlal", "smull", "smlal", "smlald"}))
    return operands[0].reg == operands[1].reg;
  if (StartsWithAny(key, {"ldrd", "strd"})) {
    const unsigned base = operands[2].mem.base;
    return (key[0] == 'l' && operands[0].reg == operands[1].reg) ||
           (writeback && (operands[0].reg == base || operands[1].reg == base));
  }
  if (const Operand* memory = MemoryOf(operands); memory != nullptr && writeback)
    return operands[0].reg == memory->mem.base;
  if (StartsWithAny(key, {"ldm", "stm"})) {
    return std::any_of(operands.begin() + 1, operands.end(),
                       [&](const Operand& entry) { return entry.reg == operands[0].reg; });
  }
  return false;
}

// Stack pointers keep two zero bits there, not here: only well-known uses of sp are compared.
bool UsesSpOddly(const std::string& key, const std::vector<Operand>& operands) {
  if (StartsWithAny(key, {"push", "pop", "vpush", "vpop"})) {
    return std::any_of(operands.begin(), operands.end(), IsSp);
  }
  if (!std::any_of(operands.begin(), operands.end(), IsSp)) return false;
  const bool adjusts = StartsWithAny(key, {"add_", "sub_", "addw", "subw"}) &&
                       operands.back().type == OperandType::kImmediate &&
                       (operands.back().imm & 3) == 0;
  return !adjusts;
}

// An immediate constant made of zero bytes, a list of one, and other encodings that the manual
// calls UNPREDICTABLE.
bool IsUnpredictable(const Sample& sample) {
  const std::vector<Operand>& operands = sample.disassembly.operands;
  const std::string& key = sample.key;
  // The source register stands twice in the encoding.
  if (sample.code.size() == 2 && StartsWithAny(key, {"clz", "rbit", "rev"}))
    return (sample.code[0] & 15) != (sample.code[1] & 15);
  const bool lists = StartsWithAny(key, {"ldm", "stm", "push", "pop"});
  if (lists && sample.code.size() == 2) {
    const bool counts_base = !StartsWithAny(key, {"push", "pop"});
    return operands.size() < (counts_base ? 3u : 2u);
  }
  return false;
}

}  // namespace

Comparable ComparabilityOf(const Sample& sample) {
  const std::string& key = sample.key;
  const std::vector<Operand>& operands = sample.disassembly.operands;
  // System instructions, exclusive accesses and branches have tests of their own; `it` comes with
  // a block.
  if (StartsWithAny(key, {"b_", "bl_", "cbz", "cbnz", "bkpt", "svc", "udf", "trap", "wf", "sev", "cps", "msr", "mrs", "ldrex",
                          "strex", "clrex", "bx", "blx", "tbb", "tbh", "it", "hint", "ldmdb_cc"}))
    return Comparable::kNo;
  // Deliberate: vldmdb counts words for double registers and leaves its base at the last element,
  // and lists of single registers end the run. load_store_multiple_test.cpp has them.
  if (StartsWithAny(key, {"vldmdb"})) return Comparable::kNo;
  // Deliberate: a single load knows D0 to D14 only.
  if (StartsWithAny(key, {"vldr"}) && operands[0].reg == kD15) return Comparable::kNo;
  if (StartsWithAny(key, {"vpush", "vpop"}) && operands[0].reg >= kS0) return Comparable::kNo;
  if (StartsWithAny(key, {"vmrs", "vmsr"}) && sample.disassembly.operand_text.find("fpscr") ==
                                                  std::string::npos)
    return Comparable::kNo;
  if (std::any_of(operands.begin(), operands.end(), IsPc)) {
    const bool literal_base = StartsWithAny(key, {"addw_3", "subw_3"}) && !IsPc(operands[0]);
    if (!literal_base) return Comparable::kNo;
  }
  if (UsesSpOddly(key, operands) ||
      ClashesOfRegisters(key, operands, sample.disassembly.parts.writeback) ||
      IsUnpredictable(sample))
    return Comparable::kNo;
  if (const Operand* memory = MemoryOf(operands); memory != nullptr) {
    const bool pc_store = memory->mem.base == kPc && StartsWithAny(key, {"str", "vstr"});
    if (pc_store || memory->mem.index == kPc || memory->mem.index == kSp) return Comparable::kNo;
    if (memory->mem.base == kPc && sample.disassembly.parts.writeback) return Comparable::kNo;
  }
  // UNPREDICTABLE in an IT block: the narrow movs of a register.
  if (sample.code.size() == 1 && sample.code[0] < 0x40) return Comparable::kAlone;
  // The other engine forgets the block at a barrier, and follows the rounding mode that vmsr sets.
  if (StartsWithAny(key, {"isb", "dsb", "dmb", "vmsr"})) return Comparable::kAlone;
  // qdadd has no conditional key.
  if (StartsWithAny(key, {"qdadd"})) return Comparable::kAlone;
  return Comparable::kAnywhere;
}

std::map<std::string, std::vector<Sample>> CollectSamples(std::mt19937_64& random,
                                                          size_t per_key) {
  std::map<std::string, std::vector<Sample>> samples;
  CapstoneResolver resolver;
  std::map<std::string, size_t> seen;
  const auto consider = [&](unsigned short first, unsigned short second, bool wide) {
    const unsigned char bytes[] = {
        static_cast<unsigned char>(first), static_cast<unsigned char>(first >> 8),
        static_cast<unsigned char>(second), static_cast<unsigned char>(second >> 8)};
    Sample sample;
    if (!resolver.Decode(bytes, wide ? 4 : 2, kDecodeAddress, &sample.disassembly)) return;
    if (sample.disassembly.parts.size_bytes != (wide ? 4u : 2u)) return;
    sample.key = GetMnemonicName(sample.disassembly.parts);
    if (Instructions().Find(sample.key) == nullptr) return;
    sample.code = {first};
    if (wide) sample.code.push_back(second);
    if (ComparabilityOf(sample) == Comparable::kNo) return;
    // Keeps a uniform choice of all that were seen.
    std::vector<Sample>& kept = samples[sample.key];
    const size_t number = seen[sample.key]++;
    if (kept.size() < per_key) {
      kept.push_back(std::move(sample));
    } else if (const size_t place = random() % (number + 1); place < per_key) {
      kept[place] = std::move(sample);
    }
  };
  for (unsigned first = 0; first < 0xe800; ++first)
    consider(static_cast<unsigned short>(first), 0, false);
  for (unsigned first = 0xe800; first <= 0xffff; ++first) {
    for (unsigned n = 0; n < kTriesPerHalf; ++n)
      consider(static_cast<unsigned short>(first), static_cast<unsigned short>(random()), true);
  }
  for (const auto& rare : kRare) consider(rare[0], rare[1], true);
  return samples;
}

}  // namespace orvo
