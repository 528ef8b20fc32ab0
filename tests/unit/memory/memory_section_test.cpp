#include "memory/memory_section.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/spdlog.h>

#include <functional>
#include <sstream>
#include <string>

#include "runner/args_manager.h"
#include "support/test_mcu.h"
#include "unit/memory/recorder.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string MessageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const UserError& error) {
    return error.message();
  }
  return "no error";
}

// --- Storage -------------------------------------------------------------------------------------

TEST(MemorySection, OnlyASectionNamedFlashStartsErased) {
  EXPECT_EQ(PlainSection(nullptr, "Flash", 0, 8).get(0), 0xffffffffu);
  EXPECT_EQ(PlainSection(nullptr, "Flash alias", 0, 8).get(0), 0u);
}

TEST(MemorySection, SetStoresAndSignalsWhileAssignOnlyStores) {
  TestMcu mcu;
  PlainSection section(&mcu, "S", 0x1000, 16);
  Recorder ppi;
  section.SetEventObserver(&ppi);
  section.set(0, 1);
  section.setHalfWord(4, 2);
  section.setByte(6, 3);
  section.AssignValue(8, 4);
  section.AssignHalfWordValue(12, 5);
  section.AssignByteValue(14, 6);
  EXPECT_THAT(ppi.seen, ElementsAre("1000 1 r", "1004 2 r", "1006 3 r"));
  EXPECT_EQ(section.get(4), 0x00030002u);
  EXPECT_EQ(section.get(12), 0x00060005u);
}

TEST(MemorySection, SetStoresByTheAssignOfAClassThatHasItsOwn) {
  struct Inverter : PlainSection {
    Inverter() : PlainSection(nullptr, "S", 0, 4) { UseOwnAssign(); }
    void AssignValue(unsigned offset, unsigned value) override {
      PlainSection::AssignValue(offset, ~value);
    }
  } section;
  section.set(0, 5);
  EXPECT_EQ(section.get(0), ~5u);
}

TEST(MemorySection, SwitchesSingleBitsWithASignal) {
  TestMcu mcu;
  PlainSection section(&mcu, "S", 0x1000, 16);
  Recorder ppi;
  section.SetEventObserver(&ppi);
  section.TurnOnBitReg(4, 31);
  section.TurnOnBitReg(4, 0);
  section.TurnOffBitReg(4, 31);
  section.TurnOnBitReg(4, 32);
  EXPECT_THAT(ppi.seen, ElementsAre("1004 80000000 r", "1004 80000001 r", "1004 1 r"));
}

TEST(MemorySection, KeepsOffItsNeighboursMemory) {
  PlainSection section(nullptr, "S", 0, 6);
  section.set(4, 0x44332211);
  section.set(6, 0xffffffff);
  section.setByte(0xffffffff, 1);
  EXPECT_EQ(section.get(4), 0x2211u);
  EXPECT_EQ(section.get(6), 0u);
  EXPECT_EQ(section.get(0xfffffffe), 0u);
  EXPECT_EQ(section.getHalfWord(5), 0x22u);
  EXPECT_EQ(*section.GetORVOPtr(5), 0x22u);
  EXPECT_EQ(section.GetORVOPtr(6), nullptr);
}

// --- Dump ----------------------------------------------------------------------------------------

std::string Dump(unsigned start, unsigned size_bytes) {
  PlainSection section(nullptr, "RAM", start, size_bytes);
  for (unsigned n = 0; n < size_bytes; ++n) {
    section.setByte(n, static_cast<unsigned char>(0xa0 + n));
  }
  std::ostringstream stream;
  section.serializeToFile(&stream);
  return stream.str();
}

TEST(MemorySection, DumpHasFourWordsPerLineFirstByteOnTop) {
  EXPECT_EQ(Dump(0x20000000, 20),
            "\n\nRAM:\n"
            "\n0x20000000\ta0a1a2a3\ta4a5a6a7\ta8a9aaab\tacadaeaf\t"
            "\n0x20000010\tb0b1b2b3\t");
}

TEST(MemorySection, DumpLosesTheBytesOfAnIncompleteWord) {
  EXPECT_EQ(Dump(0x10, 6), "\n\nRAM:\n\n0x00000010\ta0a1a2a3\t");
  EXPECT_EQ(Dump(0x10, 0), "\n\nRAM:\n");
}

TEST(MemorySection, DumpLeavesTheStreamsFormatAlone) {
  std::ostringstream stream;
  PlainSection(nullptr, "RAM", 0, 4).serializeToFile(&stream);
  stream.str("");
  stream << 255;
  EXPECT_EQ(stream.str(), "255");
}

// --- Options, logger, errors ---------------------------------------------------------------------

TEST(MemorySection, ParsedOptionsTurnSudoModeOn) {
  PlainSection section(nullptr, "S", 0, 4);
  ArgsManager options;
  OrvoSignals::Get().options_parsed.emit(options);
  EXPECT_FALSE(section.sudo());
  options.sudo_mode = true;
  OrvoSignals::Get().options_parsed.emit(options);
  EXPECT_TRUE(section.sudo());
  section.SetSudoMode(false);
  EXPECT_FALSE(section.sudo());
}

struct LoggingSection : PlainSection {
  using PlainSection::PlainSection;
  spdlog::logger& logger() { return log(); }
};

TEST(MemorySection, SectionsOfOneNameShareALoggerOfLevelWarn) {
  LoggingSection one(nullptr, "Shared", 0, 4);
  LoggingSection other(nullptr, "Shared", 0, 4);
  EXPECT_EQ(spdlog::get("Shared"), nullptr);  // not before something is logged
  EXPECT_EQ(&one.logger(), &other.logger());
  EXPECT_EQ(one.logger().name(), "Shared");
  EXPECT_EQ(one.logger().level(), spdlog::level::warn);
}

TEST(MemorySection, SaysWhatItCannotDo) {
  PlainSection section(nullptr, "S", 0x1000, 4);
  EXPECT_EQ(MessageOf([&] { section.wrongAddressAccess(0x2b); }),
            "Bad Access, wrong offset 0x2b (address: 102b) accessed in MemorySection. Section: S");
  EXPECT_EQ(MessageOf([&] { section.ApplyConfiguration(nlohmann::json()); }),
            "MemorySection::ApplyConfiguration must be overridden by the parent class");
}

TEST(MemorySection, HasRegistersOfOneByteAsFarAsBitBandsKnow) {
  PlainSection section(nullptr, "S", 0x1000, 4);
  EXPECT_EQ(section.GetRegisterOffset(3), 3u);
  EXPECT_EQ(section.GetRegisterSize(3), 8u);
}

TEST(UnimplementedSection, EveryAccessEndsTheRunWithPlaceAndTime) {
  TestMcu mcu;
  auto* section = new UnimplementedSection(&mcu, "NFCT", 0x40005000, 4096);
  mcu.memory().AddSection(section);
  mcu.registers().pc() = 0x1f4;
  mcu.clock().Tickrement(12);
  const std::string text = "section=NFCT\tPC=0x1f4\tTick Count=12\t address=0x40005304";
  const std::function<void()> accesses[] = {
      [&] { mcu.memory().get<true>(0x40005304); },
      [&] { mcu.memory().getHalfWord<true>(0x40005304); },
      [&] { mcu.memory().getByte<true>(0x40005304); },
      [&] { mcu.memory().set<true>(0x40005304, 0); },
      [&] { mcu.memory().setHalfWord<true>(0x40005304, 0); },
      [&] { mcu.memory().setByte<true>(0x40005304, 0); },
  };
  for (const auto& access : accesses) EXPECT_EQ(MessageOf(access), text);
  EXPECT_THROW(section->get(0), UnimplementedSectionError);
}

}  // namespace
}  // namespace orvo
