// Register lists and the stack, from machine code to registers and memory.

#include "instructions/memory_case.h"
#include "runner/errors.h"

namespace orvo {
namespace {

constexpr unsigned kInitial3 = InitialR(3);

// clang-format off
const MemoryCase kLists[] = {
  {"ldm r1,{r0,r1,r2}",       {0xc907},
   {{"r0", WordAt(0)}, {"r1", WordAt(4)}, {"r2", WordAt(8)}}},
  // pc in the list takes the word, and the size comes on top of it: no branch.
  {"ldm.w r1,{r0,pc}",        {0xe891, 0x8001}, {{"r0", WordAt(0)}, {"pc", WordAt(4) + 4}}},
  // A base in its own list: the decrementing form has moved it before the stores.
  {"stm r1!,{r1,r2}",         {0xc106}, {{"r1", kData + 8}}, {{0, kData}, {4, 4}}},
  {"stmdb r1!,{r1,r2}",       {0xe921, 0x0006}, {{"r1", kData - 8}}, {{-8, kData - 8}, {-4, 4}}},

  {"vldmdb r1!,{s0-s1}",      {0xed31, 0x0a02},
   {{"s0", WordAt(-8)}, {"s1", WordAt(-4)}, {"r1", kData - 4}, {"control", 4}}},
  // Two D registers start only two words below the base, and the base ends at the last of them.
  {"vldmdb r1!,{d0-d1}",      {0xed31, 0x0b04},
   {{"s0", WordAt(-8)}, {"s1", WordAt(-4)}, {"s2", WordAt(0)}, {"s3", WordAt(4)},
    {"r1", kData}, {"control", 4}}},
  {"it eq; vldmdbeq r1!,{s0-s1}", {0xbf08, 0xed31, 0x0a02}, {}},

  {"pop {r0,pc}",             {0xbd01}, {{"r0", WordAt(0)}, {"pc", WordAt(4)}, {"sp", kData + 8}}},
  {"it eq; popeq {r0,pc}",    {0xbf08, 0xbd01}, {}},
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
