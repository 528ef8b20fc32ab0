// The address space. Overlapping sections of the chips: tests/unit/nrf52/memory_map_test.cpp.
#include "memory/memory.h"

#include <gmock/gmock.h>

#include "support/error_of.h"
#include "support/test_mcu.h"
#include "unit/memory/recorder.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned kRam = TestMcu::kRamStart;
constexpr unsigned kMmfar = 0xe000ed34;
constexpr unsigned kCfsr = 0xe000ed28;

struct MemoryTest : testing::Test {
  MemoryTest() { mcu.setEnabled(kMemManage, true); }  // or it would escalate

  PlainSection* Add(const std::string& name, unsigned start, unsigned size_bytes) {
    auto* section = new PlainSection(&mcu, name, start, size_bytes);
    memory.AddSection(section);
    return section;
  }

  TestMcu mcu;
  Memory& memory = mcu.memory();
  MemorySection* flash = memory.GetSectionByName("Flash");
  MemorySection* ram = memory.GetSectionByName("Data RAM");
};

// --- Accesses ------------------------------------------------------------------------------------

TEST_F(MemoryTest, LoadsAndStoresEveryWidthAtAnyAlignment) {
  memory.set<true>(kRam + 1, 0x44332211);
  EXPECT_EQ(memory.get<true>(kRam), 0x33221100u);
  EXPECT_EQ(memory.getHalfWord<true>(kRam + 3), 0x4433u);
  memory.setHalfWord<true>(kRam + 1, 0xbbaa);
  memory.setByte<true>(kRam + 4, 0xcc);
  EXPECT_EQ(memory.get<true>(kRam + 1), 0xcc33bbaau);
  EXPECT_EQ(memory.getByte<true>(kRam + 2), 0xbbu);
}

TEST_F(MemoryTest, AccessOverTheEndOfASectionStaysInside) {
  PlainSection* below = Add("Below", 0x30000000, 8);
  PlainSection* above = Add("Above", 0x30000008, 8);
  memory.set<true>(0x30000006, 0x44332211);
  EXPECT_EQ(below->getHalfWord(6), 0x2211u);
  EXPECT_EQ(above->get(0), 0u);
  above->set(0, 0xffffffff);
  EXPECT_EQ(memory.get<true>(0x30000006), 0x00002211u);
  EXPECT_EQ(memory.get<true>(0x30000007), 0x00000022u);

  // Of RAM and flash too, which have a path of their own.
  const unsigned ram_end = kRam + TestMcu::kRamSizeBytes;
  memory.setHalfWord<true>(ram_end - 1, 0xbbaa);
  EXPECT_EQ(memory.get<true>(ram_end - 1), 0xaau);
  EXPECT_EQ(memory.get<true>(TestMcu::kFlashSizeBytes - 2), 0xffffu);
}

TEST_F(MemoryTest, SetBufferStoresByteByByteWithoutNotification) {
  Recorder watch;
  ram->SetAccessObserver(&watch);
  const unsigned char bytes[] = {1, 2, 3};
  memory.setBuffer(kRam + 1, bytes, sizeof bytes);
  memory.setBuffer(kRam, bytes, 0);
  EXPECT_EQ(memory.get<false>(kRam), 0x03020100u);
  EXPECT_THAT(watch.seen, IsEmpty());
}

// --- Look-up -------------------------------------------------------------------------------------

TEST_F(MemoryTest, RamAndFlashComeBeforeAnySectionThatOverlapsThem) {
  Add("Over RAM", kRam, 16)->set(0, 1);
  Add("Over Flash", 0, 16)->set(0, 1);
  EXPECT_EQ(memory.get<true>(kRam), 0u);
  EXPECT_EQ(memory.get<true>(0), 0xffffffffu);
  EXPECT_EQ(memory.FindSection(kRam)->name(), "Over RAM");
}

TEST_F(MemoryTest, NestedSectionHidesWhatLiesBelowItInTheLargerOne) {
  PlainSection* large = Add("Large", 0x30000000, 0x1000);
  PlainSection* nested = Add("Nested", 0x30000300, 0x100);
  EXPECT_EQ(memory.LookUpSection(0x300002ff), nullptr);
  EXPECT_EQ(memory.LookUpSection(0x30000300), nested);
  EXPECT_EQ(memory.LookUpSection(0x30000400), large);
}

TEST_F(MemoryTest, NamesAreLookedUpWithTheirType) {
  EXPECT_EQ(memory.GetSectionByName<PlainSection>("Data RAM"), ram);
  EXPECT_EQ(ErrorOf([&] { memory.GetSectionByName("P7"); }),
            "OrvoError: Unknown section : P7 in memory section");
  EXPECT_EQ(ErrorOf([&] { memory.GetSectionByName<UnimplementedSection>("Data RAM"); }),
            "OrvoError: Section Data RAM has another class than expected");
}

TEST_F(MemoryTest, HoldsTwoHundredAndFiftyFiveSections) {
  for (unsigned n = 0; memory.GetSections().size() < 255; ++n) {
    Add("S" + std::to_string(n), 0x50000000 + 16 * n, 16);
  }
  EXPECT_EQ(ErrorOf([&] { Add("One more", 0x60000000, 16); }),
            "OrvoError: Too many memory sections in generated memory mapping");
  EXPECT_EQ(memory.GetBackSection()->name(), "S251");
}

// --- Unmapped addresses --------------------------------------------------------------------------

TEST_F(MemoryTest, UnmappedAccessRaisesMemManageEachTimeAndKeepsOtherFaultBits) {
  std::vector<int> raised;
  const Connection<int> connection(OrvoSignals::Get().raise_interrupt,
                                   [&](int number) { raised.push_back(number); });
  memory.set<false>(kCfsr, 0x00010002);
  testing::internal::CaptureStderr();
  memory.setByte<true>(0x3000abcd, 7);
  EXPECT_EQ(memory.get<false>(kMmfar), 0x3000abcdu);
  EXPECT_EQ(memory.get<false>(kCfsr), 0x00010082u);
  EXPECT_EQ(memory.getByte<true>(0x3000abcd), 0u);
  EXPECT_FALSE((memory.Read<unsigned, true>(0x3000abcd).ok));
  EXPECT_THAT(raised, ElementsAre(-12, -12, -12));
  EXPECT_TRUE((memory.Read<unsigned char, true>(kCfsr).ok));
  EXPECT_EQ(memory.LookUpSection(0x3000abcd), nullptr);  // for a debugger: no fault
  const std::string warning = "Warning: Unknown address 0x3000abcd. Raising memory manage fault\n";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), warning + warning + warning);
}

TEST(Memory, FaultsWithoutASystemControlBlock) {
  Memory memory(nullptr);
  testing::internal::CaptureStderr();
  EXPECT_EQ(memory.get<true>(0x1000), 0u);
  memory.set<true>(0x1000, 1);
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

// --- Observers -----------------------------------------------------------------------------------

TEST_F(MemoryTest, AccessObserverHearsNotifiedReadsAndWritesByWidth) {
  Recorder watch;
  ram->SetAccessObserver(&watch);
  memory.set<true>(kRam, 0x8877f655);
  memory.setHalfWord<true>(kRam + 4, 0xf123);
  memory.setByte<true>(kRam + 6, 0xfe);
  memory.get<true>(kRam);
  memory.getHalfWord<true>(kRam);
  memory.getByte<true>(kRam + 1);
  memory.set<false>(kRam, 0);
  memory.get<false>(kRam);
  EXPECT_THAT(watch.seen, ElementsAre("20000000 8877f655 w", "20000004 f123 w", "20000006 fe w",
                                      "20000000 8877f655 r", "20000000 f655 r", "20000001 f6 r"));

  ram->SetAccessObserver(nullptr);
  memory.set<true>(kRam, 1);
  EXPECT_EQ(watch.seen.size(), 6u);
  EXPECT_EQ(memory.get<true>(kRam), 1u);
}

TEST_F(MemoryTest, EventObserverOfRamHearsEveryStore) {
  Recorder ppi;
  ram->SetEventObserver(&ppi);
  memory.set<true>(kRam + 16, 1);
  memory.setByte<false>(kRam + 17, 2);
  memory.get<true>(kRam + 16);
  EXPECT_THAT(ppi.seen, ElementsAre("20000010 1 r", "20000011 2 r"));
}

TEST_F(MemoryTest, ReadsPlainLoadsFromTheBytesUnlessSomebodyObservesThem) {
  struct ProtectedFlash : MemorySection {
    using MemorySection::MemorySection;
    bool LoadsArePlain() const override { return true; }
    unsigned get(unsigned offset) override { return ++accessor_reads, MemorySection::get(offset); }
    void set(unsigned, unsigned) override {}
    int accessor_reads = 0;
  };
  auto* protected_flash = new ProtectedFlash(&mcu, "Flash", 0, 16);
  memory.AddSection(protected_flash);
  Recorder ppi, watch;
  protected_flash->SetEventObserver(&ppi);
  memory.set<true>(8, 5);
  EXPECT_EQ(memory.get<true>(8), 0xffffffffu);
  EXPECT_EQ(protected_flash->accessor_reads, 0);
  protected_flash->SetAccessObserver(&watch);
  memory.get<true>(8);
  EXPECT_EQ(protected_flash->accessor_reads, 1);
  EXPECT_THAT(watch.seen, ElementsAre("8 ffffffff r"));
}

TEST(Memory, NoObserverHearsOfWhatSectionsDoWhenTheyGo) {
  struct LastStore : PlainSection {
    using PlainSection::PlainSection;
    ~LastStore() override { MemorySection::set(0, 1); }
  };
  Recorder ppi;
  {
    TestMcu mcu;
    auto* section = new LastStore(&mcu, "LAST", 0x30000000, 16);
    mcu.memory().AddSection(section);
    section->SetEventObserver(&ppi);
  }
  EXPECT_THAT(ppi.seen, IsEmpty());
}

// --- Resize --------------------------------------------------------------------------------------

TEST_F(MemoryTest, EnlargedFlashReadsZeroBehindTheErasedBytes) {
  memory.set<true>(4, 0x1234);
  flash->Resize(2 * TestMcu::kFlashSizeBytes);
  EXPECT_EQ(memory.get<true>(4), 0x1234u);
  EXPECT_EQ(memory.get<true>(TestMcu::kFlashSizeBytes - 4), 0xffffffffu);
  EXPECT_EQ(memory.get<true>(TestMcu::kFlashSizeBytes), 0u);
  EXPECT_EQ(memory.LookUpSection(TestMcu::kFlashSizeBytes), flash);
}

TEST_F(MemoryTest, ShrunkenRamIsUnmappedBehindItsEnd) {
  memory.set<true>(kRam, 0x55);
  ram->Resize(0x100);
  EXPECT_EQ(memory.get<true>(kRam), 0x55u);
  EXPECT_EQ(memory.LookUpSection(kRam + 0xff), ram);
  EXPECT_EQ(memory.LookUpSection(kRam + 0x100), nullptr);

  ram->Resize(0);
  EXPECT_EQ(memory.LookUpSection(kRam), nullptr);
  testing::internal::CaptureStderr();
  EXPECT_EQ(memory.get<true>(kRam), 0u);
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST_F(MemoryTest, SectionOfNoSizeCoversNothingUntilItGrows) {
  PlainSection* below = Add("Below", 0x5ffff000, 0x1000);
  PlainSection* external = Add("External RAM", 0x60000000, 0);
  EXPECT_EQ(memory.LookUpSection(0x60000000), nullptr);
  EXPECT_EQ(memory.LookUpSection(0x5fffffff), below);
  external->Resize(0x1000);
  memory.set<true>(0x60000ffc, 9);
  EXPECT_EQ(memory.get<true>(0x60000ffc), 9u);
  external->Resize(0);
  EXPECT_EQ(memory.LookUpSection(0x5fffffff), below);
}

}  // namespace
}  // namespace orvo
