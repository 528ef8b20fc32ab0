// Loads and stores of one or two registers, from machine code to registers and memory.

#include "instructions/memory_case.h"

namespace orvo {
namespace {

// clang-format off
const MemoryCase kLoads[] = {
  {"ldr r0,[r1,#4]",           {0x6848},         {{"r0", WordAt(4)}}},
  {"ldr.w r0,[r1,#-4]",        {0xf851, 0x0c04}, {{"r0", WordAt(-4)}}},
  {"ldr r0,[r1,r2]",           {0x5888},         {{"r0", WordAt(4)}}},
  {"ldr.w r0,[r1,r2,lsl #3]",  {0xf851, 0x0032}, {{"r0", WordAt(32)}}},
  {"ldr r0,[sp,#8]",           {0x9802},         {{"r0", WordAt(8)}}},
  {"ldr.w r0,[sp,#8]",         {0xf8dd, 0x0008}, {{"r0", WordAt(8)}}},
  {"ldr.w r0,[r1,#1]",         {0xf8d1, 0x0001}, {{"r0", WordAt(1)}}},
  {"ldr r0,[r1,#4]!",          {0xf851, 0x0f04}, {{"r0", WordAt(4)}, {"r1", kData + 4}}},
  {"ldr r0,[r1,#-4]!",         {0xf851, 0x0d04}, {{"r0", WordAt(-4)}, {"r1", kData - 4}}},
  {"ldr r0,[r1],#4",           {0xf851, 0x0b04}, {{"r0", WordAt(0)}, {"r1", kData + 4}}},
  {"ldr r1,[sp],#4",           {0xf85d, 0x1b04}, {{"r1", WordAt(0)}, {"sp", kData + 4}}},
  {"ldr r1,[sp,#-8]!",         {0xf85d, 0x1d08}, {{"r1", WordAt(-8)}, {"sp", kData - 8}}},
  // The base moves first, so that a base that is loaded too ends with the value.
  {"ldr r1,[r1,#4]!",          {0xf851, 0x1f04}, {{"r1", WordAt(4)}}},
  {"ldr r1,[r1],#4",           {0xf851, 0x1b04}, {{"r1", WordAt(0)}}},
  {"ldr sp,[r1]",              {0xf8d1, 0xd000}, {{"sp", WordAt(0)}}},
  {"ldrb r0,[r1,#1]",          {0x7848},         {{"r0", 0x81}}},
  {"ldrb r0,[r1,#1]!",         {0xf811, 0x0f01}, {{"r0", 0x81}, {"r1", kData + 1}}},
  {"ldrb r0,[r1],#1",          {0xf811, 0x0b01}, {{"r0", 0x80}, {"r1", kData + 1}}},
  {"ldrh r0,[r1,#2]",          {0x8848},         {{"r0", 0x8382}}},
  {"ldrh r0,[r1,#2]!",         {0xf831, 0x0f02}, {{"r0", 0x8382}, {"r1", kData + 2}}},
  {"ldrh r0,[r1],#-2",         {0xf831, 0x0902}, {{"r0", 0x8180}, {"r1", kData - 2}}},
  {"ldrsb.w r0,[r1,#1]",       {0xf991, 0x0001}, {{"r0", 0xffffff81}}},
  {"ldrsb.w r0,[r1,#-1]",      {0xf911, 0x0c01}, {{"r0", 0x7f}}},
  {"ldrsb r0,[r1,r2]",         {0x5688},         {{"r0", 0xffffff84}}},
  {"ldrsb r0,[r1],#1",         {0xf911, 0x0b01}, {{"r0", 0xffffff80}, {"r1", kData + 1}}},
  {"ldrsb r0,[r1,#1]!",        {0xf911, 0x0f01}, {{"r0", 0xffffff81}, {"r1", kData + 1}}},
  {"ldrsh.w r0,[r1,#2]",       {0xf9b1, 0x0002}, {{"r0", 0xffff8382}}},
  {"ldrsh.w r0,[r1,#-2]",      {0xf931, 0x0c02}, {{"r0", 0x7f7e}}},
  {"ldrsh r0,[r1,r2,lsl #1]",  {0xf931, 0x0012}, {{"r0", 0xffff8988}}},
  {"ldrsh r0,[r1],#4",         {0xf931, 0x0b04}, {{"r0", 0xffff8180}, {"r1", kData + 4}}},
  {"ldrsh r0,[r1,#2]!",        {0xf931, 0x0f02}, {{"r0", 0xffff8382}, {"r1", kData + 2}}},
  {"it eq; ldreq r0,[r1]",     {0xbf08, 0x6808}, {}},
  {"it ne; ldrne r0,[r1]",     {0xbf18, 0x6808}, {{"r0", WordAt(0)}}},
  {"it ne; ldrne r0,[r1],#4",  {0xbf18, 0xf851, 0x0b04}, {{"r0", WordAt(0)}, {"r1", kData + 4}}},
  {"it eq; ldreq r0,[r1],#4",  {0xbf08, 0xf851, 0x0b04}, {}},
  {"it ne; ldrshne r0,[r1],#4", {0xbf18, 0xf931, 0x0b04},
   {{"r0", 0xffff8180}, {"r1", kData + 4}}},
  {"vldr s0,[r1,#4]",          {0xed91, 0x0a01}, {{"s0", WordAt(4)}, {"control", 4}}},
  {"vldr s0,[sp,#4]",          {0xed9d, 0x0a01}, {{"s0", WordAt(4)}, {"control", 4}}},
  {"vldr d1,[r1,#4]",          {0xed91, 0x1b01},
   {{"s2", WordAt(4)}, {"s3", WordAt(8)}, {"control", 4}}},
  {"it eq; vldreq s0,[r1]",    {0xbf08, 0xed91, 0x0a00}, {}},
  {"ldrd r0,r2,[r1,#8]",       {0xe9d1, 0x0202}, {{"r0", WordAt(8)}, {"r2", WordAt(12)}}},
  {"ldrd r0,r2,[sp,#8]",       {0xe9dd, 0x0202}, {{"r0", WordAt(8)}, {"r2", WordAt(12)}}},
  {"ldrd r0,r2,[r1,#8]!",      {0xe9f1, 0x0202},
   {{"r0", WordAt(8)}, {"r2", WordAt(12)}, {"r1", kData + 8}}},
  {"ldrd r0,r2,[r1],#8",       {0xe8f1, 0x0202},
   {{"r0", WordAt(0)}, {"r2", WordAt(4)}, {"r1", kData + 8}}},
  // The base comes last, unlike in the loads of one register.
  {"ldrd r0,r1,[r1],#8",       {0xe8f1, 0x0102}, {{"r0", WordAt(0)}, {"r1", kData + 8}}},
};

const MemoryCase kStores[] = {
  {"str r0,[r1,#4]",          {0x6048},         {}, {{4, 0x11223344}}},
  {"str.w r0,[r1,#-4]",       {0xf841, 0x0c04}, {}, {{-4, 0x11223344}}},
  {"str r0,[r1,r2,lsl #2]",   {0xf841, 0x0022}, {}, {{16, 0x11223344}}},
  {"str r0,[sp,#4]",          {0x9001},         {}, {{4, 0x11223344}}},
  {"strb r0,[r1,#1]",         {0x7048},         {}, {{0, 0x83824480}}},
  {"strh r0,[r1,#2]",         {0x8048},         {}, {{0, 0x33448180}}},
  {"str.w r0,[r1,#2]",        {0xf8c1, 0x0002}, {}, {{0, 0x33448180}, {4, 0x87861122}}},
  {"str r0,[r1,#4]!",         {0xf841, 0x0f04}, {{"r1", kData + 4}}, {{4, 0x11223344}}},
  {"str r0,[r1],#4",          {0xf841, 0x0b04}, {{"r1", kData + 4}}, {{0, 0x11223344}}},
  {"strb r0,[r1],#1",         {0xf801, 0x0b01}, {{"r1", kData + 1}}, {{0, 0x83828144}}},
  {"strh r0,[r1,#-2]!",       {0xf821, 0x0d02}, {{"r1", kData - 2}}, {{-4, 0x33447d7c}}},
  // The base moves last, so that the old one is stored.
  {"str r1,[r1],#4",          {0xf841, 0x1b04}, {{"r1", kData + 4}}, {{0, kData}}},
  {"str r1,[r1,#4]!",         {0xf841, 0x1f04}, {{"r1", kData + 4}}, {{4, kData}}},
  {"str sp,[r1]",             {0xf8c1, 0xd000}, {}, {{0, kData}}},
  {"str lr,[sp,#-4]!",        {0xf84d, 0xed04}, {{"sp", kData - 4}}, {{-4, kInitialLr}}},
  {"it eq; streq r0,[r1],#4", {0xbf08, 0xf841, 0x0b04}, {}, {}},
  {"it ne; strne r0,[r1]",    {0xbf18, 0x6008}, {}, {{0, 0x11223344}}},
  {"vstr s3,[r1,#4]",         {0xedc1, 0x1a01}, {{"control", 4}}, {{4, InitialS(3)}}},
  {"vstr s3,[sp,#4]",         {0xedcd, 0x1a01}, {{"control", 4}}, {{4, InitialS(3)}}},
  {"vstr d1,[r1,#4]",         {0xed81, 0x1b01}, {{"control", 4}},
   {{4, InitialS(2)}, {8, InitialS(3)}}},
  {"vstr d15,[r1]",           {0xed81, 0xfb00}, {{"control", 4}},
   {{0, InitialS(30)}, {4, InitialS(31)}}},
  {"strd r0,r2,[r1,#8]",      {0xe9c1, 0x0202}, {}, {{8, 0x11223344}, {12, 4}}},
  {"strd r0,r2,[r1,#-8]!",    {0xe961, 0x0202}, {{"r1", kData - 8}}, {{-8, 0x11223344}, {-4, 4}}},
  {"strd r0,r2,[r1],#8",      {0xe8e1, 0x0202}, {{"r1", kData + 8}}, {{0, 0x11223344}, {4, 4}}},
  {"strd r1,r2,[r1],#8",      {0xe8e1, 0x1202}, {{"r1", kData + 8}}, {{0, kData}, {4, 4}}},
  {"strd r0,r2,[sp,#-8]!",    {0xe96d, 0x0202}, {{"sp", kData - 8}}, {{-8, 0x11223344}, {-4, 4}}},
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

TEST(LiteralLoad, CountsFromPcRoundedDownToAWord) {
  for (const unsigned address : {0x1000u, 0x1002u}) {
    CoreBench bench;
    bench.memory().GetSectionByName("Flash")->set(0x1008, 0x12345688);
    bench.Run({0x4801}, address);  // ldr r0, [pc, #4]
    EXPECT_EQ(bench.r(0), 0x12345688u);
    bench.Run({0xf89f, 0x0004}, address);  // ldrb.w r0, [pc, #4]
    EXPECT_EQ(bench.r(0), 0x88u);
    bench.Run({0xed9f, 0x0a01}, address);  // vldr s0, [pc, #4]
    EXPECT_EQ(bench.registers().s(0), 0x12345688u);
    bench.Run({0xe9df, 0x0201}, address);  // ldrd r0, r2, [pc, #4]
    EXPECT_EQ(bench.r(0), 0x12345688u);
    EXPECT_EQ(bench.r(2), ~0u);
  }
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
