#include "memory/memory_section.h"

#include <gmock/gmock.h>
#include <spdlog/spdlog.h>

#include <functional>
#include <sstream>

#include "runner/args_manager.h"
#include "support/error_of.h"
#include "support/test_mcu.h"
#include "unit/memory/recorder.h"

namespace orvo {
namespace {

using testing::ElementsAre;

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
  EXPECT_EQ(section.get(4), 0x00030002u);
  EXPECT_EQ(section.get(8), 4u);
  EXPECT_EQ(section.get(12), 0x00060005u);
  section.TurnOnBitReg(4, 31);
  section.TurnOffBitReg(4, 1);
  section.TurnOnBitReg(4, 32);  // there is none
  EXPECT_THAT(ppi.seen, ElementsAre("1000 1 r", "1004 2 r", "1006 3 r", "1004 80030002 r",
                                    "1004 80030000 r"));
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

TEST(MemorySection, DumpHasFourWordsPerLineFirstByteOnTopAndNoIncompleteWord) {
  constexpr unsigned kSizeBytes = 22;
  PlainSection section(nullptr, "RAM", 0x10, kSizeBytes);
  for (unsigned n = 0; n < kSizeBytes; ++n) {
    section.setByte(n, static_cast<unsigned char>(0xa0 + n));
  }
  std::ostringstream stream;
  section.serializeToFile(&stream);
  PlainSection(nullptr, "none", 0, 0).serializeToFile(&stream);
  stream << 255;  // the stream's format is left alone
  EXPECT_EQ(stream.str(),
            "\n\nRAM:\n"
            "\n0x00000010\ta0a1a2a3\ta4a5a6a7\ta8a9aaab\tacadaeaf\t"
            "\n0x00000020\tb0b1b2b3\t"
            "\n\nnone:\n255");
}

TEST(MemorySection, ParsedOptionsTurnSudoModeOn) {
  PlainSection section(nullptr, "S", 0, 4);
  ArgsManager options;
  OrvoSignals::Get().options_parsed.emit(options);
  EXPECT_FALSE(section.sudo());
  options.sudo_mode = true;
  OrvoSignals::Get().options_parsed.emit(options);
  EXPECT_TRUE(section.sudo());
}

TEST(MemorySection, SectionsOfOneNameShareALoggerOfLevelWarn) {
  struct LoggingSection : PlainSection {
    using PlainSection::PlainSection;
    spdlog::logger& logger() { return log(); }
  };
  LoggingSection one(nullptr, "Shared", 0, 4), other(nullptr, "Shared", 0, 4);
  EXPECT_EQ(spdlog::get("Shared"), nullptr);  // not before something is logged
  EXPECT_EQ(&one.logger(), &other.logger());
  EXPECT_EQ(one.logger().name(), "Shared");
  EXPECT_EQ(one.logger().level(), spdlog::level::warn);
}

TEST(MemorySection, SaysWhatItCannotDo) {
  PlainSection section(nullptr, "S", 0x1000, 4);
  EXPECT_EQ(ErrorOf([&] { section.wrongAddressAccess(0x2b); }),
            "OrvoError: Bad Access, wrong offset 0x2b (address: 102b) accessed in MemorySection. "
            "Section: S");
  EXPECT_EQ(ErrorOf([&] { section.ApplyConfiguration(nlohmann::json()); }),
            "OrvoError: MemorySection::ApplyConfiguration must be overridden by the parent class");
}

TEST(UnimplementedSection, EveryAccessEndsTheRunWithPlaceAndTime) {
  TestMcu mcu;
  Memory& memory = mcu.memory();
  memory.AddSection(new UnimplementedSection(&mcu, "NFCT", 0x40005000, 4096));
  mcu.registers().pc() = 0x1f4;
  mcu.clock().Tickrement(12);
  const std::function<void()> accesses[] = {[&] { memory.get<true>(0x40005304); },
                                            [&] { memory.getHalfWord<true>(0x40005304); },
                                            [&] { memory.getByte<true>(0x40005304); },
                                            [&] { memory.set<true>(0x40005304, 0); },
                                            [&] { memory.setHalfWord<true>(0x40005304, 0); },
                                            [&] { memory.setByte<true>(0x40005304, 0); }};
  for (const auto& access : accesses) {
    EXPECT_EQ(ErrorOf(access),
              "OrvoError: section=NFCT\tPC=0x1f4\tTick Count=12\t address=0x40005304");
    EXPECT_THROW(access(), UnimplementedSectionError);
  }
}

}  // namespace
}  // namespace orvo
