// Loads and stores of one or two registers, from machine code to registers and memory.

#include "instructions/memory_case.h"

namespace orvo {
namespace {

// clang-format off
const MemoryCase kLoads[] = {
  // The base moves first, so that a base that is loaded too ends with the value.
  {"ldr r1,[r1,#4]!",          {0xf851, 0x1f04}, {{"r1", WordAt(4)}}},
  {"ldr r1,[r1],#4",           {0xf851, 0x1b04}, {{"r1", WordAt(0)}}},
  {"ldr sp,[r1]",              {0xf8d1, 0xd000}, {{"sp", WordAt(0)}}},
  {"it ne; ldrshne r0,[r1],#4", {0xbf18, 0xf931, 0x0b04},
   {{"r0", 0xffff8180}, {"r1", kData + 4}}},
  // The base comes last, unlike in the loads of one register.
  {"ldrd r0,r1,[r1],#8",       {0xe8f1, 0x0102}, {{"r0", WordAt(0)}, {"r1", kData + 8}}},
};

const MemoryCase kStores[] = {
  // The base moves last, so that the old one is stored.
  {"str r1,[r1],#4",          {0xf841, 0x1b04}, {{"r1", kData + 4}}, {{0, kData}}},
  {"str r1,[r1,#4]!",         {0xf841, 0x1f04}, {{"r1", kData + 4}}, {{4, kData}}},
  {"str sp,[r1]",             {0xf8c1, 0xd000}, {}, {{0, kData}}},
  {"strd r1,r2,[r1],#8",      {0xe8e1, 0x1202}, {{"r1", kData + 8}}, {{0, kData}, {4, 4}}},
};
// clang-format on

class Load : public MemoryTest {};
TEST_P(Load, GivesRegistersAndBase) { RunAndCompare(); }
INSTANTIATE_TEST_SUITE_P(Table, Load, testing::ValuesIn(kLoads), RowName<MemoryCase>);

class Store : public MemoryTest {};
TEST_P(Store, GivesMemoryAndBase) { RunAndCompare(); }
INSTANTIATE_TEST_SUITE_P(Table, Store, testing::ValuesIn(kStores), RowName<MemoryCase>);

// D15 is no pair for a load.
TEST(LoadOfD15, LeavesItsTwoRegistersAlone) {
  MemoryBench bench;
  bench.Run({0xed91, 0xfb00});  // vldr d15, [r1]
  EXPECT_EQ(bench.registers().s(30), InitialS(30));
  EXPECT_EQ(bench.registers().s(31), InitialS(31));
  EXPECT_EQ(bench.registers().control(), control::kFpContext);
}

// Who observes RAM hears of every word, in the order of the instruction.
TEST(ObservedRam, HearsOfEveryWord) {
  struct Recorder : Observer<MemoryNotification> {
    void Update(std::vector<MemoryNotification>* events) override {
      for (const MemoryNotification& event : *events) addresses.push_back(event.address);
    }
    std::vector<unsigned> addresses;
  };
  MemoryBench bench;
  Recorder recorder;
  bench.memory().GetSectionByName("Data RAM")->SetAccessObserver(&recorder);
  bench.Run({0xb505});  // push {r0, r2, lr}
  EXPECT_EQ(recorder.addresses, (std::vector<unsigned>{kData - 4, kData - 8, kData - 12}));
  recorder.addresses.clear();
  bench.Run({0xbc05, 0x6808});  // pop {r0, r2}; ldr r0, [r1]
  EXPECT_EQ(recorder.addresses, (std::vector<unsigned>{kData - 12, kData - 8, kData}));
  bench.memory().GetSectionByName("Data RAM")->SetAccessObserver(nullptr);
}

}  // namespace
}  // namespace orvo
