// Register lists and the stack, from machine code to registers and memory.

#include "instructions/memory_case.h"
#include "runner/errors.h"

namespace orvo {
namespace {

constexpr unsigned kInitial3 = InitialR(3);

// clang-format off
const MemoryCase kLists[] = {
  {"ldm r1!,{r0,r2,r3}",      {0xc90d},
   {{"r0", WordAt(0)}, {"r2", WordAt(4)}, {"r3", WordAt(8)}, {"r1", kData + 12}}},
  {"ldm r1,{r0,r1,r2}",       {0xc907},
   {{"r0", WordAt(0)}, {"r1", WordAt(4)}, {"r2", WordAt(8)}}},
  {"ldm.w r1!,{r0,r2,lr}",    {0xe8b1, 0x4005},
   {{"r0", WordAt(0)}, {"r2", WordAt(4)}, {"lr", WordAt(8)}, {"r1", kData + 12}}},
  {"ldmdb r1,{r0,r2}",        {0xe911, 0x0005}, {{"r0", WordAt(-8)}, {"r2", WordAt(-4)}}},
  {"ldm.w sp!,{r4}",          {0xe8bd, 0x0010}, {{"r4", WordAt(0)}, {"sp", kData + 4}}},
  // pc in the list takes the word, and the size comes on top of it: no branch.
  {"ldm.w r1,{r0,pc}",        {0xe891, 0x8001}, {{"r0", WordAt(0)}, {"pc", WordAt(4) + 4}}},
  {"it eq; ldmeq r1!,{r0,r2}", {0xbf08, 0xc905}, {}},
  {"it ne; ldmne r1!,{r0,r2}", {0xbf18, 0xc905},
   {{"r0", WordAt(0)}, {"r2", WordAt(4)}, {"r1", kData + 8}}},
  {"stm r1!,{r0,r2,r3}",      {0xc10d}, {{"r1", kData + 12}},
   {{0, 0x11223344}, {4, 4}, {8, kInitial3}}},
  {"stm.w r1,{r0,r2}",        {0xe881, 0x0005}, {}, {{0, 0x11223344}, {4, 4}}},
  {"stmdb r1,{r0,r2}",        {0xe901, 0x0005}, {}, {{-8, 0x11223344}, {-4, 4}}},
  {"stmdb r1!,{r0,r2}",       {0xe921, 0x0005}, {{"r1", kData - 8}}, {{-8, 0x11223344}, {-4, 4}}},
  {"stmdb sp!,{r4}",          {0xe92d, 0x0010}, {{"sp", kData - 4}}, {{-4, InitialR(4)}}},
  // A base in its own list: the decrementing form has moved it before the stores.
  {"stm r1!,{r1,r2}",         {0xc106}, {{"r1", kData + 8}}, {{0, kData}, {4, 4}}},
  {"stmdb r1!,{r1,r2}",       {0xe921, 0x0006}, {{"r1", kData - 8}}, {{-8, kData - 8}, {-4, 4}}},

  {"vldmia r1!,{s0-s2}",      {0xecb1, 0x0a03},
   {{"s0", WordAt(0)}, {"s1", WordAt(4)}, {"s2", WordAt(8)}, {"r1", kData + 12}, {"control", 4}}},
  {"vldmia r1!,{d0-d1}",      {0xecb1, 0x0b04},
   {{"s0", WordAt(0)}, {"s1", WordAt(4)}, {"s2", WordAt(8)}, {"s3", WordAt(12)},
    {"r1", kData + 16}, {"control", 4}}},
  {"vldmdb r1!,{s0-s1}",      {0xed31, 0x0a02},
   {{"s0", WordAt(-8)}, {"s1", WordAt(-4)}, {"r1", kData - 4}, {"control", 4}}},
  // Two D registers start only two words below the base, and the base ends at the last of them.
  {"vldmdb r1!,{d0-d1}",      {0xed31, 0x0b04},
   {{"s0", WordAt(-8)}, {"s1", WordAt(-4)}, {"s2", WordAt(0)}, {"s3", WordAt(4)},
    {"r1", kData}, {"control", 4}}},
  {"vstmia r1,{s0-s1}",       {0xec81, 0x0a02}, {{"control", 4}},
   {{0, InitialS(0)}, {4, InitialS(1)}}},
  {"vstmia r1!,{d0-d1}",      {0xeca1, 0x0b04}, {{"r1", kData + 16}, {"control", 4}},
   {{0, InitialS(0)}, {4, InitialS(1)}, {8, InitialS(2)}, {12, InitialS(3)}}},
  {"vstmdb r1!,{s0-s1}",      {0xed21, 0x0a02}, {{"r1", kData - 8}, {"control", 4}},
   {{-8, InitialS(0)}, {-4, InitialS(1)}}},
  {"vstmdb r1!,{d0-d1}",      {0xed21, 0x0b04}, {{"r1", kData - 16}, {"control", 4}},
   {{-16, InitialS(0)}, {-12, InitialS(1)}, {-8, InitialS(2)}, {-4, InitialS(3)}}},
  {"it eq; vldmdbeq r1!,{s0-s1}", {0xbf08, 0xed31, 0x0a02}, {}},

  {"push {r0,r2,lr}",         {0xb505}, {{"sp", kData - 12}},
   {{-12, 0x11223344}, {-8, 4}, {-4, kInitialLr}}},
  {"push.w {r8}",             {0xf84d, 0x8d04}, {{"sp", kData - 4}}, {{-4, InitialR(8)}}},
  {"push.w {r3,r12,lr}",      {0xe92d, 0x5008}, {{"sp", kData - 12}},
   {{-12, kInitial3}, {-8, InitialR(12)}, {-4, kInitialLr}}},
  {"pop {r0,r2}",             {0xbc05}, {{"r0", WordAt(0)}, {"r2", WordAt(4)}, {"sp", kData + 8}}},
  {"pop {r0,pc}",             {0xbd01}, {{"r0", WordAt(0)}, {"pc", WordAt(4)}, {"sp", kData + 8}}},
  {"pop.w {r8}",              {0xf85d, 0x8b04}, {{"r8", WordAt(0)}, {"sp", kData + 4}}},
  {"it eq; popeq {r0,pc}",    {0xbf08, 0xbd01}, {}},
  {"it ne; pushne {r0,r2}",   {0xbf18, 0xb405}, {{"sp", kData - 8}}, {{-8, 0x11223344}, {-4, 4}}},
  {"vpush {d0-d1}",           {0xed2d, 0x0b04}, {{"sp", kData - 16}, {"control", 4}},
   {{-16, InitialS(0)}, {-12, InitialS(1)}, {-8, InitialS(2)}, {-4, InitialS(3)}}},
  {"vpop {d0-d1}",            {0xecbd, 0x0b04},
   {{"s0", WordAt(0)}, {"s1", WordAt(4)}, {"s2", WordAt(8)}, {"s3", WordAt(12)},
    {"sp", kData + 16}, {"control", 4}}},
  {"it eq; vpusheq {d0}",     {0xbf08, 0xed2d, 0x0b02}, {}},
};
// clang-format on

class RegisterList : public MemoryTest {};
TEST_P(RegisterList, GivesRegistersMemoryAndBase) { RunAndCompare(); }
INSTANTIATE_TEST_SUITE_P(Table, RegisterList, testing::ValuesIn(kLists), RowName<MemoryCase>);

TEST(RegisterListOfS, CannotBePushedOrPopped) {
  for (const auto& [code, message] :
       {std::pair<Code, std::string>{{0xed2d, 0x0a04}, "Arm instructions: Unsupported vpush"},
        {{0xecbd, 0x0a04}, "Arm instructions: Unsupported vpop"}}) {
    MemoryBench bench;
    try {
      bench.Run(code);
      FAIL() << "no error for " << message;
    } catch (const OrvoError& error) {
      EXPECT_EQ(error.message(), message);
    }
  }
}

TEST(StackInstructions, UseTheSelectedStackAndKeepItsLowestValue) {
  MemoryBench bench;
  Registers& registers = bench.registers();
  registers.init(CoreBench::kCodeAddress, kData);
  registers.word(kPsp) = kData - 32;
  registers.control() = control::kProcessStack;
  registers.TrackStackDepth(true);
  bench.Run({0xb505, 0xbc05});  // push {r0, r2, lr}; pop {r0, r2}
  EXPECT_EQ(registers.word(kPsp), kData - 36);
  EXPECT_EQ(registers.word(kMsp), kData);
  EXPECT_EQ(registers.sp_min(), kData - 44);
}

}  // namespace
}  // namespace orvo
