#include "samples.h"

#include <random>

#include "comparability.h"
#include "core/decoder.h"
#include "core/instruction_table.h"
#include "deliberate_differences.h"

namespace orvo {
namespace {

constexpr unsigned kDecodeAddress = 0x1000;
// Second halfwords tried for each first halfword of the 32-bit encodings.
constexpr unsigned kTriesPerHalf = 1200;
// Encodings too rare for the sweep: vmrs, vmsr, clz, rbit and the like with all but a register
// fixed, the saturating and dual forms, and table branches behind pc.
constexpr unsigned short kRare[][2] = {
    {0xeef1, 0x0a10}, {0xeef1, 0x3a10}, {0xeef1, 0xfa10}, {0xeee1, 0x2a10}, {0xfab1, 0xf081},
    {0xfa91, 0xf0a1}, {0xfa91, 0xf081}, {0xfa91, 0xf091}, {0xfa91, 0xf0b1}, {0xf3af, 0x8000},
    {0xf3bf, 0x8f4f}, {0xf3bf, 0x8f5f}, {0xf3bf, 0x8f6f}, {0xea4f, 0x0031}, {0xea5f, 0x0031},
    {0xe8df, 0xf001}, {0xe8df, 0xf00c}, {0xe8df, 0xf012}, {0xe8df, 0xf01e}, {0xe8d1, 0xf002},
    {0xe8d7, 0xf018}};

constexpr size_t kSamplesPerKey = 60;

std::map<std::string, std::vector<Sample>> CollectSamples(std::mt19937_64 random) {
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
    const Comparable comparable = ComparabilityOf(sample);
    if (comparable == Comparable::kNo) return;
    // Keeps a uniform choice of all that were seen; loads of pc are rare among loads.
    const std::string group = sample.key + (IsBranch(comparable) ? " of pc" : "");
    std::vector<Sample>& kept = samples[group];
    const size_t number = seen[group]++;
    if (kept.size() < kSamplesPerKey) {
      kept.push_back(std::move(sample));
    } else if (const size_t place = random() % (number + 1); place < kSamplesPerKey) {
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

}  // namespace

const Samples& SamplesOfThisRun() {
  static const Samples all = [] {
    Samples samples{CollectSamples(std::mt19937_64(run_options.seed)), {}, {}, {}, {}};
    for (const auto& [key, of_key] : samples.by_key) {
      for (const Sample& sample : of_key) {
        const Comparable comparable = ComparabilityOf(sample);
        const bool undisputed = !HasDeliberateDifference(sample);
        (IsBranch(comparable) ? samples.branches : samples.straight).push_back(&sample);
        if (comparable == Comparable::kAnywhere && undisputed)
          samples.undisputed.push_back(&sample);
        if (comparable == Comparable::kBranch && undisputed) samples.block_ends.push_back(&sample);
      }
    }
    return samples;
  }();
  return all;
}

}  // namespace orvo
