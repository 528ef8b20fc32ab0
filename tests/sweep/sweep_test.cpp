// Every 16-bit encoding and a dense sample of the 32-bit ones through the decoder, against the
// table of rows.cpp: each reaches the function of the right key with the right operands, or ends in
// an error that tells of it.
//
//   sweep [--tries=N] [--seed=S] [gtest options]
//
// N second halfwords for each first one; from 65536 on all of them. The seed is printed; the same
// seed gives the same sample.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <string_view>

#include "core/capstone_resolver.h"
#include "core/decoder.h"
#include "core/instruction_record.h"
#include "core/instruction_table.h"
#include "encoding.h"
#include "settled_operands.h"

namespace orvo {
namespace {

unsigned long tries = 400;
unsigned long seed = 20240229;

constexpr unsigned kFillingsPerRow = 400;
constexpr unsigned kBlocksPerNarrow = 4;
constexpr unsigned kFirstWide = 0xe800;
constexpr unsigned kShown = 40;

// Bases and keys without a function: executing one ends the run with a message.
constexpr std::string_view kUnimplemented =
    " cdp cdp2 ldc ldcl ldc2 ldc2l stc stcl stc2 stc2l mcr mcr2 mrc mrc2 mcrr mcrr2 mrrc mrrc2"
    " ldrt ldrbt ldrht ldrsbt ldrsht strt strbt strht pli dbg yield ssat ssat16 usat16 qdsub"
    " sadd8 sadd16 ssub8 ssub16 sasx ssax uadd16 usub8 usub16 uasx usax shadd8 shadd16 shsub8"
    " uhadd8 uhadd16 uhsub8 uhsub16 uhasx uhsax uqadd8 uqadd16 uqsub8 uqsub16 uqasx uqsax"
    " smlad smladx smlsld smlsldx smlalbb smlalbt smlaltb smlaltt smlawb smlawt smmul smmulr"
    " smmla smmlar smmls smmlsr smulbt smultb smultt smulwb smulwt umaal usad8 usada8 sxtab16"
    " uxtab16 uxtb16 vcvt vcvtr_s32_f32 vcvtr_u32_f32 vcvtb_f32_f16 vcvtt_f32_f16 vcvtt_f16_f32"
    " vmov_32 vmov_4 vmov_cc_4 lsr_2 ldmdb_writeback ldmdb_cc_writeback qdadd_cc_3 tbb_cc_1"
    " tbh_cc_1 ";

bool IsUnimplemented(const Reading& reading) {
  const auto has = [](const std::string& name) {
    return kUnimplemented.find(" " + name + " ") != kUnimplemented.npos;
  };
  return has(reading.base) || has(reading.key);
}

bool SameOperand(const Operand& a, const Operand& b) {
  return a.type == b.type && a.reg == b.reg && a.imm == b.imm && a.fp == b.fp &&
         a.mem.base == b.mem.base && a.mem.index == b.mem.index &&
         a.mem.displacement == b.mem.displacement && a.shift_type == b.shift_type &&
         a.shift_amount == b.shift_amount;
}

// One encoding at one place, and what the decoder makes of it.
struct Decoded {
  unsigned code = 0;
  Place place;
  bool found = false;
  std::string key = "udf_1";
  const Variants* functions = nullptr;
  Disassembly disassembly;

  bool Is(const Reading& reading) const {
    const unsigned cc = disassembly.parts.cc == 0 ? 15 : disassembly.parts.cc;
    return found && key == reading.key && cc == reading.cc &&
           std::equal(disassembly.operands.begin(), disassembly.operands.end(),
                      reading.operands.begin(), reading.operands.end(), SameOperand);
  }
};

class Sweep : public testing::Test {
 protected:
  using Encodings = std::vector<const Encoding*>;

  Sweep() {
    registers_ = &register_file_;
    for (const std::vector<Row>& rows : {NarrowRows(), FloatRows(), WideRows()})
      encodings_.insert(encodings_.end(), rows.begin(), rows.end());
    OpenBlocks();
  }
  ~Sweep() override { registers_ = nullptr; }

  // Every condition, with the instruction in any place of a block.
  void OpenBlocks() {
    for (unsigned n = 0; n < 60; ++n) {
      const unsigned condition = n % 15;
      const unsigned slot = n / 15;
      const unsigned end_of_mask = 1u << (3 - slot);
      const unsigned others = condition == 14 ? 0 : Random();  // AL has no else
      const unsigned mask = ((others & 15) | end_of_mask) & ~(end_of_mask - 1);
      Place place{0x20000 + 0x40 * n, true, condition};
      Decode({static_cast<unsigned char>(condition << 4 | mask), 0xbf}, place.address);
      for (unsigned nop = 0; nop < slot; ++nop) Decode({0x00, 0xbf}, place.address += 2);
      place.address += 2;
      if (slot != 0) place.condition = (condition & ~1u) | (mask >> (4 - slot) & 1);
      blocks_.push_back(place);
    }
  }
  // Not behind another one, which might have been an `it`.
  Place PlainPlace() { return {0x1000 + 16 * (Random() % 64) + (Random() % 2) * 6}; }
  Place BlockPlace() { return blocks_[Random() % blocks_.size()]; }
  unsigned Random() { return static_cast<unsigned>(random_()); }

  Decoded Decode(const std::vector<unsigned char>& bytes, unsigned address) {
    Decoded decoded;
    decoded.found = resolver_.Decode(bytes.data(), bytes.size(), address, &decoded.disassembly);
    if (!decoded.found) return decoded;
    decoded.key = GetMnemonicName(decoded.disassembly.parts);
    decoded.functions = Instructions().Find(decoded.key);
    return decoded;
  }

  Encodings Candidates(unsigned first_half) {
    Encodings candidates;
    const bool wide = first_half >= kFirstWide;
    for (const Encoding& encoding : encodings_) {
      const bool fits = wide ? encoding.FitsFirstHalf(first_half) : encoding.Fits(first_half);
      if (encoding.size_bytes() == (wide ? 4u : 2u) && fits) candidates.push_back(&encoding);
    }
    return candidates;
  }

  void CheckWide(unsigned code, const Encodings& candidates) {
    Check(code, PlainPlace(), candidates);
    if (Random() % 3 == 0) Check(code, BlockPlace(), candidates);
  }

  void Check(unsigned code, const Place& place, const Encodings& candidates) {
    ++checked_;
    const bool wide = code > 0xffff;
    const unsigned first = wide ? code >> 16 : code;
    std::vector<unsigned char> bytes{
        static_cast<unsigned char>(first), static_cast<unsigned char>(first >> 8),
        static_cast<unsigned char>(code), static_cast<unsigned char>(code >> 8)};
    // Behind a narrow one comes the end of memory, or something.
    if (!wide && Random() % 2 == 0) bytes.resize(2);
    Decoded decoded = Decode(bytes, place.address);
    decoded.code = code;
    decoded.place = place;
    CheckMeaning(decoded, candidates);
    if (decoded.functions != nullptr) CheckRecord(decoded, bytes.data(), wide ? 4 : 2);
    if (wide && Random() % 8 == 0) {
      bytes.resize(2);
      if (Decode(bytes, place.address).found)
        Report(decoded, "nothing, the rest lies beyond the end");
    }
  }

  void CheckMeaning(const Decoded& decoded, const Encodings& candidates) {
    const bool tells = decoded.functions == nullptr;
    bool is_first = true;
    for (const Encoding* encoding : candidates) {
      if (!encoding->Fits(decoded.code)) continue;
      const Reading reading = encoding->Read(decoded.code, decoded.place);
      if (reading.validity == Validity::kDefined && is_first) {
        reached_.insert(encoding);
        const bool named = decoded.found && decoded.key.rfind(reading.base, 0) == 0;
        if (IsUnimplemented(reading) ? !tells || !named : tells || !decoded.Is(reading))
          Report(decoded,
                 reading.key + " of " + encoding->row().bits + " " + encoding->row().operands);
        return;
      }
      if (reading.validity == Validity::kUndefined) break;
      // UNPREDICTABLE: an error, or what one of the rows makes of it.
      if (decoded.Is(reading)) return;
      is_first = false;
    }
    if (!tells) Report(decoded, "an error");
  }

  void CheckRecord(const Decoded& decoded, const unsigned char* bytes, size_t size) {
    my_insn_t record;
    FillRecord(decoded.disassembly, &record);
    std::array<unsigned char, 16> expected{};  // zero beyond the instruction
    std::copy_n(bytes, size, expected.begin());
    if (record.size != size || record.bytes != expected) Report(decoded, "other size or bytes");
    const bool writeback = decoded.disassembly.parts.writeback;
    const Shape shape = SettleShape(record, writeback);
    if (!IsSettled(record, shape, writeback))
      Report(decoded, "other than shape " + std::to_string(static_cast<unsigned>(shape)));
    keys_.insert(decoded.key);
  }

  // One of each kind.
  void Report(const Decoded& decoded, const std::string& expected) {
    if (mismatches_[decoded.key + ", expected " + expected]++ > 0 || mismatches_.size() > kShown)
      return;
    const MnemonicParts& parts = decoded.disassembly.parts;
    ADD_FAILURE() << std::hex << decoded.code << " at " << decoded.place.address
                  << (decoded.place.in_block ? " in a block" : "") << " is " << decoded.key << " ("
                  << parts.mnemonic << " " << decoded.disassembly.operand_text << ", cc "
                  << parts.cc << "), expected " << expected;
  }

  Registers register_file_;
  std::mt19937_64 random_{seed};
  CapstoneResolver resolver_;
  std::vector<Encoding> encodings_;
  std::vector<Place> blocks_;
  std::set<const Encoding*> reached_;
  std::set<std::string> keys_;
  std::map<std::string, unsigned> mismatches_;
  unsigned long checked_ = 0;
};

TEST_F(Sweep, EveryEncodingReachesItsFunctionOrAnError) {
  std::cout << "seed " << seed << ", " << encodings_.size() << " rows\n";
  for (unsigned code = 0; code < kFirstWide; ++code) {
    const Encodings candidates = Candidates(code);
    Check(code, PlainPlace(), candidates);
    for (unsigned n = 0; n < kBlocksPerNarrow; ++n) Check(code, BlockPlace(), candidates);
  }
  for (unsigned first = kFirstWide; first <= 0xffff; ++first) {
    const Encodings candidates = Candidates(first);
    for (unsigned n = 0; n < tries; ++n) {
      const unsigned second = tries >= 0x10000 ? n : Random();
      CheckWide(first << 16 | (second & 0xffff), candidates);
    }
  }
  for (const Encoding& encoding : encodings_) {
    if (encoding.size_bytes() == 2) continue;
    for (unsigned n = 0; n < kFillingsPerRow; ++n) {
      const unsigned code = encoding.Filled(Random(), n % 8 != 0);
      CheckWide(code, Candidates(code >> 16));
    }
  }
  for (const Encoding& encoding : encodings_) {
    EXPECT_EQ(reached_.count(&encoding) != 0, encoding.IsOfTheManual())
        << encoding.row().bits << " " << encoding.row().name;
  }
  std::cout << checked_ << " decodes, " << keys_.size() << " of " << Instructions().size()
            << " keys, " << mismatches_.size() << " kinds of mismatches\n";
  for (const auto& [kind, count] : mismatches_) std::cout << "  " << count << " " << kind << "\n";
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
    if (!orvo::TakeOption(argv[n], "--tries=", &orvo::tries) &&
        !orvo::TakeOption(argv[n], "--seed=", &orvo::seed)) {
      std::cerr << "unknown option " << argv[n] << "\n";
      return 2;
    }
  }
  return RUN_ALL_TESTS();
}
