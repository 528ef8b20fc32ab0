#include <gmock/gmock.h>

#include "support/error_of.h"
#include "unit/memory/block_bench.h"
#include "unit/memory/recorder.h"

namespace orvo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned kStart = BlockBench::kStart;

struct PeripheralMemoryTest : testing::Test, BlockBench {};

TEST_F(PeripheralMemoryTest, WordAccessRunsTheOperationsWithOffsetAndElement) {
  Set(TestBlock::CONTROL, 0xabcd);
  EXPECT_EQ(Get(TestBlock::CONTROL), 0xabcdu);
  Set(TestBlock::TASKS_GO, 1);
  Set(TestBlock::CHANNEL + 16, 3);
  EXPECT_EQ(Get(TestBlock::CHANNEL + 8), 7u);
  EXPECT_THAT(TakeCalls(), ElementsAre("set_CONTROL 4 abcd", "get_CONTROL 4", "set_TASKS_GO 0 1",
                                       "set_CHANNEL 30 2 3", "get_CHANNEL 28 1"));
}

TEST_F(PeripheralMemoryTest, WordAccessWithoutAnOperationOfItsWidthMeetsTheStorage) {
  Set(0x50, 0x11223344);  // no register
  EXPECT_EQ(Get(0x50), 0x11223344u);
  EXPECT_EQ(memory().getByte<true>(kStart + 0x51), 0x33u);
  EXPECT_EQ(Get(TestBlock::TASKS_GO), 0x77u);  // write-only
  EXPECT_EQ(Get(TestBlock::COMMAND), 0x55u);
  Set(TestBlock::STATUS, 3);  // read-only
  EXPECT_EQ(Get(TestBlock::STATUS), 3u);
  EXPECT_EQ(Get(TestBlock::HALF), 0x1234beefu);  // narrower
  Set(TestBlock::HALF, 0x99998888);
  EXPECT_EQ(Stored(TestBlock::HALF), 0x99998888u);
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

// --- Accesses narrower than the register ---------------------------------------------------------

TEST_F(PeripheralMemoryTest, NarrowReadRunsTheGetterOnceAndTakesItsPart) {
  block->control_reads = 0x44332211;
  const unsigned short half_words[] = {0x2211, 0x3322, 0x4433, 0x0044};
  for (unsigned n = 0; n < 4; ++n) {
    EXPECT_EQ(memory().getByte<true>(kStart + TestBlock::CONTROL + n), 0x11u * (n + 1));
    EXPECT_THAT(TakeCalls(), ElementsAre("get_CONTROL 4"));
    EXPECT_EQ(memory().getHalfWord<true>(kStart + TestBlock::CONTROL + n), half_words[n]);
    EXPECT_THAT(TakeCalls(), ElementsAre("get_CONTROL 4"));
  }
  EXPECT_EQ(memory().getByte<true>(kStart + TestBlock::HALF + 1), 0xbeu);
  EXPECT_THAT(TakeCalls(), ElementsAre("get_HALF 10"));
}

TEST_F(PeripheralMemoryTest, NarrowStoreMergesIntoTheStoredWordAndReachesTheSetter) {
  struct MergeCase {
    unsigned place, size_bytes, value, merged;
  };
  block->control_reads = 0;  // the merge doesn't take what the getter gives
  for (const MergeCase& merge :
       {MergeCase{0, 1, 0xee, 0x443322ee}, MergeCase{1, 1, 0xee, 0x4433ee11},
        MergeCase{2, 1, 0xee, 0x44ee2211}, MergeCase{3, 1, 0xee, 0xee332211},
        MergeCase{0, 2, 0xeeff, 0x4433eeff}, MergeCase{1, 2, 0xeeff, 0x44eeff11},
        MergeCase{2, 2, 0xeeff, 0xeeff2211}}) {
    block->AssignValue(TestBlock::CONTROL, 0x44332211);
    const unsigned address = kStart + TestBlock::CONTROL + merge.place;
    if (merge.size_bytes == 1) {
      memory().setByte<true>(address, static_cast<unsigned char>(merge.value));
    } else {
      memory().setHalfWord<true>(address, static_cast<unsigned short>(merge.value));
    }
    EXPECT_THAT(TakeCalls(), ElementsAre("set_CONTROL 4 " + IntToHex(merge.merged)));
  }
  EXPECT_EQ(ErrorOf([&] { memory().setHalfWord<true>(kStart + TestBlock::CONTROL + 3, 1); }),
            "OrvoError: Case of offset 3 is currently not supported");
}

TEST_F(PeripheralMemoryTest, NarrowRegisterTakesItsOwnWidthAndABytePerMerge) {
  memory().setByte<true>(kStart + TestBlock::HALF + 1, 0x77);
  memory().setHalfWord<true>(kStart + TestBlock::HALF, 0x1111);
  memory().setByte<true>(kStart + TestBlock::BYTE, 0x22);
  EXPECT_THAT(TakeCalls(), ElementsAre("set_HALF 10 77ef", "set_HALF 10 1111", "set_BYTE 14 22"));
  EXPECT_EQ(Stored(TestBlock::BYTE) & 0xffffu, 0xa522u);
}

TEST_F(PeripheralMemoryTest, NarrowReadOnlyRegisterRefusesAStoreWithAMessageUnlessInSudoMode) {
  testing::internal::CaptureStderr();
  for (const bool sudo : {false, true}) {
    block->SetSudoMode(sudo);
    memory().setHalfWord<true>(kStart + TestBlock::HALF_STATUS, 0x5678);
    memory().setByte<true>(kStart + TestBlock::BYTE_STATUS, 0x9a);
    EXPECT_EQ(memory().getHalfWord<true>(kStart + TestBlock::HALF_STATUS), sudo ? 0x5678 : 0x1234);
    EXPECT_EQ(memory().getByte<true>(kStart + TestBlock::BYTE_STATUS), sudo ? 0x9a : 0xa5);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "cannot setHalfWord read-only register offset: 18 of BLOCK\n"
            "cannot setByte read-only register offset: 21 of BLOCK\n");
}

// --- Shortcuts -----------------------------------------------------------------------------------

TEST_F(PeripheralMemoryTest, SecondAccessOfTheRegistersWidthPassesTheSectionBy) {
  for (int n = 0; n < 3; ++n) {
    Get(TestBlock::CONTROL);
    Set(TestBlock::CONTROL, 1);
  }
  EXPECT_EQ(block->word_reads, 1);
  EXPECT_EQ(block->word_writes, 1);
  EXPECT_EQ(TakeCalls().size(), 6u);
}

TEST_F(PeripheralMemoryTest, OtherWidthsAndAccessesWithoutAnOperationTakeTheLongWay) {
  for (int n = 0; n < 2; ++n) {
    memory().getByte<true>(kStart + TestBlock::CONTROL);
    Get(TestBlock::COMMAND);
    Get(0x50);
    Set(TestBlock::STATUS, 0);
  }
  EXPECT_EQ(block->word_reads, 6);
  EXPECT_EQ(block->word_writes, 2);
}

TEST_F(PeripheralMemoryTest, BlockBehindAnotherOneOfItsPlaceTakesNoShortcutFromIt) {
  AddBlock();
  block->set(TestBlock::CONTROL, 1);
  block->get(TestBlock::CONTROL);
  Set(TestBlock::CONTROL, 2);
  EXPECT_EQ(Get(TestBlock::CONTROL), 2u);
  EXPECT_EQ(block->get(TestBlock::CONTROL), 1u);
}

TEST_F(PeripheralMemoryTest, ShortcutStillTellsTheAccessObserver) {
  Recorder watch;
  Get(TestBlock::CONTROL);
  Set(TestBlock::CONTROL, 5);
  block->SetAccessObserver(&watch);
  Get(TestBlock::CONTROL);
  Set(TestBlock::CONTROL, 6);
  memory().set<false>(kStart + TestBlock::CONTROL, 7);
  EXPECT_THAT(watch.seen, ElementsAre("40000004 5 r", "40000004 6 w"));
  block->SetAccessObserver(nullptr);
}

// --- Reset and the table -------------------------------------------------------------------------

TEST_F(PeripheralMemoryTest, ResetStoresEveryRegistersValuePastItsSetterAndTellsTheEventObserver) {
  Recorder ppi;
  block->SetResetValues({{0x50, 1}, {0x1000, 1}, {TestBlock::STATUS, 2}});  // two of no register
  for (unsigned offset = 0; offset < 0x60; offset += 4) block->AssignValue(offset, 0x600d);
  block->SetEventObserver(&ppi);
  memory().ResetMemory(kSoftwareReset);
  block->SetEventObserver(nullptr);
  EXPECT_EQ(Stored(TestBlock::CONTROL), 0x12345678u);
  EXPECT_EQ(Stored(TestBlock::STATUS), 2u);
  EXPECT_EQ(Stored(TestBlock::HALF), 0x1234beefu);
  EXPECT_EQ(Stored(TestBlock::BYTE), 0xa55au);
  EXPECT_EQ(Stored(TestBlock::CHANNEL + 16), 7u);
  EXPECT_EQ(Stored(TestBlock::LANE), 0x09090909u);
  EXPECT_EQ(Stored(0x50), 0x600du);
  EXPECT_EQ(ppi.seen.size(), 15u);  // every register and element inside the section
  EXPECT_THAT(TakeCalls(), IsEmpty());
}

TEST_F(PeripheralMemoryTest, FindsTheRegisterThatAByteBelongsTo) {
  for (const auto& [offset, start] : {std::pair(0x04u, 0x04u),
                                      {0x05, 0x04},
                                      {0x07, 0x04},
                                      {0x11, 0x10},
                                      {0x12, 0x12},
                                      {0x14, 0x14},
                                      {0x15, 0x15}}) {
    EXPECT_EQ(block->GetRegisterOffset(offset), start) << offset;
  }
  EXPECT_EQ(block->GetRegisterSize(TestBlock::CONTROL), 32u);
  EXPECT_EQ(block->GetRegisterSize(TestBlock::HALF), 16u);
  EXPECT_EQ(block->GetRegisterSize(TestBlock::BYTE), 8u);
  EXPECT_FALSE(block->IsByteNumber(0x16, 2));  // two bytes behind an 8-bit register
  EXPECT_EQ(ErrorOf([&] { block->GetRegisterOffset(0x50); }),
            "OrvoError: PeripheralMemory::GetRegisterOffset - no register offset found");
  EXPECT_EQ(ErrorOf([&] { block->GetRegisterSize(TestBlock::CONTROL + 1); }),
            "OrvoError: PeripheralMemory::GetRegisterSize - no register in this offset");
}

TEST_F(PeripheralMemoryTest, RefusesATableThatContradictsItself) {
  const auto load = [&](std::vector<RegisterData> rows) {
    return ErrorOf([&] {
      block->SetRegisters(rows, 0x100);
      block->Reset(kPowerOnReset);
    });
  };
  EXPECT_EQ(load({{4, 32, 0, {}}, {4, 16, 0, {}}}),
            "OrvoError: Register table of BLOCK: offset 0x4 has two registers");
  EXPECT_EQ(load({{0x100, 32, 0, {}}}),
            "OrvoError: Register table of BLOCK: offset 0x100 is beyond the table");
  EXPECT_EQ(load({{8, 24, 0, {}}}),
            "OrvoError: Unsupported size: 24 of a reset address: 8 in peripheral: BLOCK");
}

TEST(RegisterClass, ChecksOffsetsWhenItIsCompiled) {
  constexpr RegisterRow good[] = {{0, 1, 0, 32, 0, nullptr, nullptr},
                                  {4, 3, 4, 32, 0, nullptr, nullptr}};
  constexpr RegisterRow twice[] = {{8, 1, 0, 32, 0, nullptr, nullptr},
                                   {4, 3, 4, 32, 0, nullptr, nullptr}};
  static_assert(EachOffsetOnce<16>(good));
  static_assert(!EachOffsetOnce<16>(twice));
  static_assert(!EachOffsetOnce<8>(good), "the array leaves the table");
}

}  // namespace
}  // namespace orvo
