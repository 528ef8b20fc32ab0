#include "memory/memory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/test_mcu.h"
#include "unit/memory/recorder.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned kRam = TestMcu::kRamStart;
constexpr unsigned kMmfar = 0xe000ed34;
constexpr unsigned kCfsr = 0xe000ed28;
constexpr unsigned kMmarValid = 1u << 7;

struct MemoryBench {
  MemoryBench() { mcu.setEnabled(kMemManage, true); }  // or it would escalate

  PlainSection* Add(const std::string& name, unsigned start, unsigned size_bytes) {
    auto* section = new PlainSection(&mcu, name, start, size_bytes);
    memory.AddSection(section);
    return section;
  }

  TestMcu mcu;
  Memory& memory = mcu.memory();
};

// --- Accesses ------------------------------------------------------------------------------------

TEST(Memory, LoadsAndStoresEveryWidthAtAnyAlignment) {
  MemoryBench bench;
  bench.memory.set<true>(kRam + 1, 0x44332211);
  EXPECT_EQ(bench.memory.get<true>(kRam), 0x33221100u);
  EXPECT_EQ(bench.memory.getHalfWord<true>(kRam + 3), 0x4433u);
  bench.memory.setHalfWord<true>(kRam + 1, 0xbbaa);
  bench.memory.setByte<true>(kRam + 4, 0xcc);
  EXPECT_EQ(bench.memory.get<true>(kRam + 1), 0xcc33bbaau);
  EXPECT_EQ(bench.memory.getByte<true>(kRam + 2), 0xbbu);
}

TEST(Memory, FlashIsErasedAndRamIsZeroAtFirst) {
  MemoryBench bench;
  EXPECT_EQ(bench.memory.get<true>(0), 0xffffffffu);
  EXPECT_EQ(bench.memory.get<true>(kRam), 0u);
}

TEST(Memory, AccessOverTheEndOfASectionStaysInside) {
  MemoryBench bench;
  PlainSection* below = bench.Add("Below", 0x30000000, 8);
  PlainSection* above = bench.Add("Above", 0x30000008, 8);
  bench.memory.set<true>(0x30000006, 0x44332211);
  EXPECT_EQ(below->getHalfWord(6), 0x2211u);
  EXPECT_EQ(above->get(0), 0u);
  above->set(0, 0xffffffff);
  EXPECT_EQ(bench.memory.get<true>(0x30000006), 0x00002211u);
  EXPECT_EQ(bench.memory.get<true>(0x30000007), 0x00000022u);

  // Of RAM and flash too, which have a path of their own.
  const unsigned ram_end = kRam + TestMcu::kRamSizeBytes;
  bench.memory.setHalfWord<true>(ram_end - 1, 0xbbaa);
  EXPECT_EQ(bench.memory.get<true>(ram_end - 1), 0xaau);
  EXPECT_EQ(bench.memory.get<true>(TestMcu::kFlashSizeBytes - 2), 0xffffu);
}

TEST(Memory, SetBufferStoresByteByByteWithoutNotification) {
  MemoryBench bench;
  Recorder watch;
  bench.memory.GetSectionByName("Data RAM")->SetAccessObserver(&watch);
  const unsigned char bytes[] = {1, 2, 3};
  bench.memory.setBuffer(kRam + 1, bytes, sizeof bytes);
  bench.memory.setBuffer(kRam, bytes, 0);
  EXPECT_EQ(bench.memory.get<false>(kRam), 0x03020100u);
  EXPECT_THAT(watch.seen, IsEmpty());
}

// --- Look-up -------------------------------------------------------------------------------------

TEST(Memory, RamAndFlashComeBeforeAnySectionThatOverlapsThem) {
  MemoryBench bench;
  bench.Add("Over RAM", kRam, 16)->set(0, 1);
  bench.Add("Over Flash", 0, 16)->set(0, 1);
  EXPECT_EQ(bench.memory.get<true>(kRam), 0u);
  EXPECT_EQ(bench.memory.get<true>(0), 0xffffffffu);
  EXPECT_EQ(bench.memory.FindSection(kRam)->name(), "Over RAM");
}

TEST(Memory, SystemControlBlockComesBeforeTheDebugUnitsInsideIt) {
  MemoryBench bench;
  bench.Add("DWT", 0xe0001000, 4096);
  bench.Add("FPB", 0xe0002000, 4096);
  EXPECT_EQ(bench.memory.FindSection(0xe0001000)->name(), "SystemControlBlock");
  EXPECT_EQ(bench.memory.FindSection(0xe0002ffc)->name(), "SystemControlBlock");
}

TEST(Memory, OfTwoSectionsWithOneLastByteTheLaterIsFound) {
  MemoryBench bench;
  PlainSection* earlier = bench.Add("Earlier", 0x4000f000, 4096);
  PlainSection* later = bench.Add("Later", 0x4000f000, 4096);
  bench.memory.set<true>(0x4000f000, 5);
  EXPECT_EQ(later->get(0), 5u);
  EXPECT_EQ(earlier->get(0), 0u);
  EXPECT_EQ(bench.memory.GetSectionByName("Earlier"), earlier);
}

TEST(Memory, NestedSectionHidesWhatLiesBelowItInTheLargerOne) {
  MemoryBench bench;
  bench.Add("Large", 0x30000000, 0x1000);
  bench.Add("Nested", 0x30000300, 0x100);
  EXPECT_EQ(bench.memory.LookUpSection(0x300002ff), nullptr);
  EXPECT_EQ(bench.memory.LookUpSection(0x30000300)->name(), "Nested");
  EXPECT_EQ(bench.memory.LookUpSection(0x30000400)->name(), "Large");
}

TEST(Memory, NamesAreLookedUpWithTheirType) {
  MemoryBench bench;
  EXPECT_EQ(bench.memory.GetSectionByName<PlainSection>("Data RAM")->start(), kRam);
  const auto look_up_unimplemented = [&](const char* name) {
    try {
      bench.memory.GetSectionByName<UnimplementedSection>(name);
    } catch (const OrvoError& error) {
      return error.message();
    }
    return std::string("no error");
  };
  EXPECT_EQ(look_up_unimplemented("P7"), "Unknown section : P7 in memory section");
  EXPECT_EQ(look_up_unimplemented("Data RAM"), "Section Data RAM has another class than expected");
}

TEST(Memory, HoldsTwoHundredAndFiftyFiveSections) {
  MemoryBench bench;
  for (unsigned n = 0; bench.memory.GetSections().size() < 255; ++n) {
    bench.Add("S" + std::to_string(n), 0x50000000 + 16 * n, 16);
  }
  EXPECT_EQ(bench.memory.GetBackSection()->name(), "S251");
  try {
    bench.Add("One more", 0x60000000, 16);
    FAIL() << "no error";
  } catch (const OrvoError& error) {
    EXPECT_EQ(error.message(), "Too many memory sections in generated memory mapping");
  }
  EXPECT_EQ(bench.memory.GetSections().size(), 255u);
}

// --- Unmapped addresses --------------------------------------------------------------------------

TEST(Memory, UnmappedAccessRaisesMemManageEachTime) {
  MemoryBench bench;
  std::vector<int> raised;
  const Connection<int> connection(OrvoSignals::Get().raise_interrupt,
                                   [&](int number) { raised.push_back(number); });
  testing::internal::CaptureStderr();
  bench.memory.setByte<true>(0x3000ABCD, 7);
  EXPECT_EQ(bench.memory.get<false>(kMmfar), 0x3000abcdu);
  EXPECT_EQ(bench.memory.get<false>(kCfsr) & kMmarValid, kMmarValid);
  EXPECT_EQ(bench.memory.getByte<true>(0x3000ABCD), 0u);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Warning: Unknown address 0x3000abcd. Raising memory manage fault\n"
            "Warning: Unknown address 0x3000abcd. Raising memory manage fault\n");
  EXPECT_THAT(raised, ElementsAre(-12, -12));
}

TEST(Memory, FaultKeepsTheOtherFaultBits) {
  MemoryBench bench;
  bench.memory.set<false>(kCfsr, 0x00010002);
  testing::internal::CaptureStderr();
  bench.memory.get<true>(0x90000000);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(bench.memory.get<false>(kCfsr), 0x00010082u);
}

TEST(Memory, ReadTellsWhetherTheAddressWasMapped) {
  MemoryBench bench;
  testing::internal::CaptureStderr();
  EXPECT_TRUE((bench.memory.Read<unsigned, true>(kRam).ok));
  EXPECT_TRUE((bench.memory.Read<unsigned char, true>(kCfsr).ok));
  EXPECT_FALSE((bench.memory.Read<unsigned, true>(0x90000000).ok));
  testing::internal::GetCapturedStderr();
}

TEST(Memory, LookingUpForADebuggerIsNoFault) {
  MemoryBench bench;
  testing::internal::CaptureStderr();
  EXPECT_EQ(bench.memory.LookUpSection(0x90000000), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(bench.memory.get<false>(kCfsr), 0u);
}

TEST(Memory, FaultsWithoutASystemControlBlock) {
  Memory memory(nullptr);
  testing::internal::CaptureStderr();
  EXPECT_EQ(memory.get<true>(0x1000), 0u);
  memory.set<true>(0x1000, 1);
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

// --- Observers -----------------------------------------------------------------------------------

TEST(Memory, AccessObserverHearsNotifiedReadsAndWritesByWidth) {
  MemoryBench bench;
  Recorder watch;
  bench.memory.GetSectionByName("Data RAM")->SetAccessObserver(&watch);
  bench.memory.set<true>(kRam, 0x8877f655);
  bench.memory.setHalfWord<true>(kRam + 4, 0xf123);
  bench.memory.setByte<true>(kRam + 6, 0xfe);
  bench.memory.get<true>(kRam);
  bench.memory.getHalfWord<true>(kRam);
  bench.memory.getByte<true>(kRam + 1);
  bench.memory.set<false>(kRam, 0);
  bench.memory.get<false>(kRam);
  EXPECT_THAT(watch.seen, ElementsAre("20000000 8877f655 w", "20000004 f123 w", "20000006 fe w",
                                      "20000000 8877f655 r", "20000000 f655 r", "20000001 f6 r"));

  bench.memory.GetSectionByName("Data RAM")->SetAccessObserver(nullptr);
  bench.memory.set<true>(kRam, 1);
  EXPECT_EQ(watch.seen.size(), 6u);
  EXPECT_EQ(bench.memory.get<true>(kRam), 1u);
}

TEST(Memory, FlashObserverHearsReadsThatWouldBeServedFromItsBytes) {
  MemoryBench bench;
  bench.memory.get<true>(8);
  Recorder watch;
  bench.memory.GetSectionByName("Flash")->SetAccessObserver(&watch);
  bench.memory.get<true>(8);
  EXPECT_THAT(watch.seen, ElementsAre("8 ffffffff r"));
}

TEST(Memory, EventObserverOfRamHearsEveryStore) {
  MemoryBench bench;
  Recorder ppi;
  bench.memory.GetSectionByName("Data RAM")->SetEventObserver(&ppi);
  bench.memory.set<true>(kRam + 16, 1);
  bench.memory.setByte<false>(kRam + 17, 2);
  bench.memory.get<true>(kRam + 16);
  EXPECT_THAT(ppi.seen, ElementsAre("20000010 1 r", "20000011 2 r"));
}

TEST(Memory, ReadsPlainLoadsFromTheBytesUnlessSomebodyObservesThem) {
  struct ProtectedFlash : MemorySection {
    using MemorySection::MemorySection;
    bool LoadsArePlain() const override { return true; }
    unsigned get(unsigned offset) override { return ++accessor_reads, MemorySection::get(offset); }
    void set(unsigned, unsigned) override {}
    int accessor_reads = 0;
  };
  MemoryBench bench;
  auto* flash = new ProtectedFlash(&bench.mcu, "Flash", 0, 16);
  bench.memory.AddSection(flash);
  Recorder recorder;
  flash->SetEventObserver(&recorder);
  bench.memory.set<true>(0, 5);
  EXPECT_EQ(bench.memory.get<true>(0), 0xffffffffu);
  EXPECT_EQ(flash->accessor_reads, 0);
  flash->SetAccessObserver(&recorder);
  bench.memory.get<true>(0);
  EXPECT_EQ(flash->accessor_reads, 1);
}

TEST(Memory, NoObserverHearsOfWhatSectionsDoWhenTheyGo) {
  struct LastStore : PlainSection {
    using PlainSection::PlainSection;
    ~LastStore() override { MemorySection::set(0, 1); }
  };
  Recorder ppi;
  {
    MemoryBench bench;
    auto* section = new LastStore(&bench.mcu, "LAST", 0x30000000, 16);
    bench.memory.AddSection(section);
    section->SetEventObserver(&ppi);
  }
  EXPECT_THAT(ppi.seen, IsEmpty());
}

// --- Resize --------------------------------------------------------------------------------------

TEST(Memory, EnlargedFlashReadsZeroBehindTheErasedBytes) {
  MemoryBench bench;
  MemorySection* flash = bench.memory.GetSectionByName("Flash");
  bench.memory.set<true>(4, 0x1234);
  flash->Resize(2 * TestMcu::kFlashSizeBytes);
  EXPECT_EQ(bench.memory.get<true>(4), 0x1234u);
  EXPECT_EQ(bench.memory.get<true>(TestMcu::kFlashSizeBytes - 4), 0xffffffffu);
  EXPECT_EQ(bench.memory.get<true>(TestMcu::kFlashSizeBytes), 0u);
  EXPECT_EQ(bench.memory.LookUpSection(TestMcu::kFlashSizeBytes), flash);
}

TEST(Memory, ShrunkenRamIsUnmappedBehindItsEnd) {
  MemoryBench bench;
  MemorySection* ram = bench.memory.GetSectionByName("Data RAM");
  bench.memory.set<true>(kRam, 0x55);
  ram->Resize(0x100);
  EXPECT_EQ(ram->size(), 0x100u);
  EXPECT_EQ(bench.memory.get<true>(kRam), 0x55u);
  EXPECT_EQ(bench.memory.LookUpSection(kRam + 0xff), ram);
  EXPECT_EQ(bench.memory.LookUpSection(kRam + 0x100), nullptr);

  ram->Resize(0);
  EXPECT_EQ(bench.memory.LookUpSection(kRam), nullptr);
  testing::internal::CaptureStderr();
  EXPECT_EQ(bench.memory.get<true>(kRam), 0u);
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST(Memory, SectionOfNoSizeCoversNothingUntilItGrows) {
  MemoryBench bench;
  PlainSection* below = bench.Add("Below", 0x5ffff000, 0x1000);
  PlainSection* external = bench.Add("External RAM", 0x60000000, 0);
  EXPECT_EQ(bench.memory.LookUpSection(0x60000000), nullptr);
  EXPECT_EQ(bench.memory.LookUpSection(0x5fffffff), below);
  external->Resize(0x1000);
  bench.memory.set<true>(0x60000ffc, 9);
  EXPECT_EQ(bench.memory.get<true>(0x60000ffc), 9u);
  external->Resize(0);
  EXPECT_EQ(bench.memory.LookUpSection(0x5fffffff), below);
}

// --- All sections --------------------------------------------------------------------------------

TEST(Memory, ResetLeavesRamAndFlashAlone) {
  MemoryBench bench;
  bench.memory.set<true>(kRam, 0x77);
  bench.memory.set<true>(0x100, 0x88);
  bench.memory.ResetMemory(kPowerOnReset);
  EXPECT_EQ(bench.memory.get<true>(kRam), 0x77u);
  EXPECT_EQ(bench.memory.get<true>(0x100), 0x88u);
}

TEST(Memory, DumpHasEverySectionInOrderOfAddition) {
  Memory memory(nullptr);
  memory.AddSection(new PlainSection(nullptr, "B", 0x100, 4));
  memory.AddSection(new PlainSection(nullptr, "A", 0x80, 4));
  std::ostringstream stream;
  memory.serializeToFile(&stream);
  EXPECT_EQ(stream.str(),
            "\n\nB:\n\n0x00000100\t00000000\t"
            "\n\nA:\n\n0x00000080\t00000000\t");
}

}  // namespace
}  // namespace orvo
