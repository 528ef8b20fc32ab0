// Branches, from machine code to pc and lr, and the ways out of an exception.

#include <gtest/gtest.h>

#include "core/it_state.h"
#include "runner/errors.h"
#include "support/core_bench.h"

namespace orvo {
namespace {

constexpr unsigned kCode = CoreBench::kCodeAddress;

struct BranchCase {
  const char* name;
  Code code;
  unsigned r1;
  const char* flags;
  unsigned pc;
  unsigned lr;  // 0x2001 before
};

std::ostream& operator<<(std::ostream& out, const BranchCase& c) { return out << c.name; }

class Branch : public testing::TestWithParam<BranchCase> {};

TEST_P(Branch, GivesPcAndLinkRegister) {
  const BranchCase& row = GetParam();
  CoreBench bench;
  bench.r(1) = row.r1;
  bench.registers().lr() = 0x2001;
  bench.SetFlags(row.flags);
  bench.Run(row.code);
  EXPECT_EQ(bench.pc(), row.pc);
  EXPECT_EQ(bench.registers().lr(), row.lr);
  EXPECT_EQ(bench.flags(), row.flags);
}

// clang-format off
const BranchCase kBranches[] = {
  {"b",                {0xe002},         0,      "----", kCode + 8,  0x2001},
  {"b_wide",           {0xf000, 0xb802}, 0,      "----", kCode + 8,  0x2001},
  {"b_backwards",      {0xe7fc},         0,      "----", kCode - 4,  0x2001},
  {"beq_taken",        {0xd002},         0,      "-Z--", kCode + 8,  0x2001},
  {"beq_not_taken",    {0xd002},         0,      "N-CV", kCode + 2,  0x2001},
  {"beq_wide_taken",   {0xf000, 0x8002}, 0,      "-Z--", kCode + 8,  0x2001},
  {"beq_wide_not",     {0xf000, 0x8002}, 0,      "----", kCode + 4,  0x2001},
  {"bgt_not_taken",    {0xdc02},         0,      "N---", kCode + 2,  0x2001},
  {"bl",               {0xf000, 0xf802}, 0,      "----", kCode + 8,  kCode + 5},
  {"it_eq_b",          {0xbf08, 0xe002}, 0,      "-Z--", kCode + 10, 0x2001},
  {"it_eq_bl_skipped", {0xbf08, 0xf000, 0xf802}, 0, "----", kCode + 6, 0x2001},
  {"bx_r1",            {0x4708},         0x3001, "----", 0x3001,     0x2001},
  {"bx_lr",            {0x4770},         0,      "----", 0x2001,     0x2001},
  {"it_ne_bx_skipped", {0xbf18, 0x4770}, 0,      "-Z--", kCode + 4,  0x2001},
  {"blx_r1",           {0x4788},         0x3001, "----", 0x3001,     kCode + 3},
  // The target is read before lr is written.
  {"blx_lr",           {0x47f0},         0,      "----", 0x2001,     kCode + 3},
  // An even target of bx does not fault.
  {"bx_even",          {0x4708},         0x3000, "----", 0x3000,     0x2001},
  {"cbz_taken",        {0xb111},         0,      "----", kCode + 8,  0x2001},
  {"cbz_not_taken",    {0xb111},         1,      "-Z--", kCode + 2,  0x2001},
  {"cbnz_taken",       {0xb911},         1,      "----", kCode + 8,  0x2001},
  {"cbnz_not_taken",   {0xb911},         0,      "----", kCode + 2,  0x2001},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Table, Branch, testing::ValuesIn(kBranches),
                         [](const auto& row) { return row.param.name; });

// Firmware that runs in the alias of flash at 0 goes on at the flash address.
TEST(BranchTargets, AreOredWithTheBaseOfFlash) {
  CoreBench bench;
  flash_address_ = 0x08000000;
  bench.Load({0xf000, 0xf802, 0x4708, 0xb111}, 0x08001000);  // bl; bx r1; cbz r1
  bench.pc() = 0x1000;
  bench.Step();
  EXPECT_EQ(bench.pc(), 0x08001008u);
  EXPECT_EQ(bench.registers().lr(), 0x08001005u);
  bench.pc() = 0x08001004;
  bench.r(1) = 0x3001;
  bench.Step();
  EXPECT_EQ(bench.pc(), 0x08003001u);
  // A target in RAM becomes one above the program.
  bench.pc() = 0x08001004;
  bench.r(1) = 0x20000001;
  bench.Step();
  EXPECT_EQ(bench.pc(), 0x28000001u);
  bench.pc() = 0x1006;
  bench.r(1) = 0;
  bench.Step();
  EXPECT_EQ(bench.pc(), 0x0800100eu);
}

TEST(TableBranch, ReadsBehindTheInstructionAndCountsHalfwords) {
  CoreBench bench;
  MemorySection& flash = *bench.memory().GetSectionByName("Flash");
  flash.setByte(kCode + 4 + 3, 0x21);
  bench.r(1) = 3;
  bench.Run({0xe8df, 0xf001});  // tbb [pc, r1]
  EXPECT_EQ(bench.pc(), kCode + 4 + 2 * 0x21);
  flash.setHalfWord(kCode + 4 + 6, 0x1234);
  bench.Run({0xe8df, 0xf011});  // tbh [pc, r1, lsl #1]
  EXPECT_EQ(bench.pc(), kCode + 4 + 2 * 0x1234);
  // From an address that is no multiple of 4 the table still starts right behind.
  flash.setByte(kCode + 2 + 4 + 3, 5);
  bench.Run({0xe8df, 0xf001}, kCode + 2);
  EXPECT_EQ(bench.pc(), kCode + 2 + 4 + 10);
}

// The 4 bytes count with any base.
TEST(TableBranch, ReadsAnyOtherTableFourBytesTooHigh) {
  CoreBench bench;
  bench.r(1) = TestMcu::kRamStart;
  bench.r(2) = 2;
  bench.memory().setByte<false>(TestMcu::kRamStart + 6, 7);
  bench.Run({0xe8d1, 0xf002});  // tbb [r1, r2]
  EXPECT_EQ(bench.pc(), kCode + 4 + 14);
  bench.memory().setHalfWord<false>(TestMcu::kRamStart + 8, 9);
  bench.Run({0xe8d1, 0xf012});  // tbh [r1, r2, lsl #1]
  EXPECT_EQ(bench.pc(), kCode + 4 + 18);
}

TEST(TableBranch, InABlockHasNoFunction) {
  CoreBench bench;
  EXPECT_THROW(bench.Run({0xbf08, 0xe8df, 0xf001}), UnimplementedInstructionError);
}

TEST(LoadOfPc, GoesToOddAddressesAndFaultsAtEvenOnes) {
  CoreBench bench;
  bench.registers().set_xpsr(bench.registers().xpsr() | xpsr::kThumb);
  bench.r(1) = TestMcu::kRamStart;
  bench.memory().set<false>(TestMcu::kRamStart, 0x3001);
  bench.Run({0xf8d1, 0xf000});  // ldr.w pc, [r1]
  EXPECT_EQ(bench.pc(), 0x3001u);
  EXPECT_EQ(*bench.interrupts().pending_empty(), true);
  bench.memory().set<false>(TestMcu::kRamStart, 0x3000);
  bench.Run({0xf8d1, 0xf000});
  EXPECT_EQ(bench.pc(), 0x3000u);
  EXPECT_EQ(bench.registers().xpsr() & xpsr::kThumb, 0u);
  EXPECT_TRUE(bench.interrupts().IsPending(kHardFault));  // UsageFault is not enabled
}

// A handler is left by a return value in pc, whatever puts it there.
class ExceptionReturn : public testing::Test {
 protected:
  static constexpr unsigned kHandler = 0x1101;
  static constexpr unsigned kVectorOfSvc = 44;

  ExceptionReturn() {
    bench.memory().GetSectionByName("Flash")->set(kVectorOfSvc, kHandler);
    bench.r(0) = 7;
    bench.Run({0xdf03});  // svc 3
    bench.interrupts().ExecuteInterruptIfNeeded();
    EXPECT_EQ(bench.pc(), kHandler);
    EXPECT_EQ(Interrupts::mode_, kHandlerMode);
    EXPECT_EQ(bench.registers().lr(), 0xfffffff9u);
    bench.r(0) = 8;
  }
  void ExpectReturned() {
    EXPECT_EQ(Interrupts::mode_, kThreadMode);
    EXPECT_EQ(bench.pc(), kCode + 2);
    EXPECT_EQ(bench.r(0), 7u);
    EXPECT_EQ(bench.registers().sp(), TestMcu::kRamStart + TestMcu::kRamSizeBytes);
  }

  CoreBench bench;
};

TEST_F(ExceptionReturn, ByBx) {
  bench.Run({0x4770}, kHandler - 1);  // bx lr
  ExpectReturned();
}

TEST_F(ExceptionReturn, ByBlxOfAnotherRegister) {
  bench.r(1) = bench.registers().lr();
  bench.Run({0x4788}, kHandler - 1);  // blx r1
  ExpectReturned();
}

TEST_F(ExceptionReturn, ByPop) {
  bench.Run({0xb510, 0xbd10}, kHandler - 1);  // push {r4, lr}; pop {r4, pc}
  ExpectReturned();
}

TEST_F(ExceptionReturn, ByLoadOfPc) {
  bench.Run({0xf84d, 0xed04, 0xf85d, 0xfb04}, kHandler - 1);  // push.w {lr}; ldr.w pc, [sp], #4
  ExpectReturned();
}

TEST(ReturnValue, InThreadModeEndsTheRun) {
  CoreBench bench;
  bench.registers().lr() = 0xfffffff9;
  EXPECT_THROW(bench.Run({0x4770}), OrvoError);
}

}  // namespace
}  // namespace orvo
