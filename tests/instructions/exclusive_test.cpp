// Exclusive loads and stores, from machine code to status, registers and memory.

#include <gtest/gtest.h>

#include "support/core_bench.h"

namespace orvo {
namespace {

class Exclusive : public testing::Test {
 protected:
  static constexpr unsigned kPlace = TestMcu::kRamStart + 0x44;

  Exclusive() {
    bench.memory().set<false>(kPlace, 0x8899aabb);
    bench.r(0) = 5;
    bench.r(1) = kPlace;
    bench.r(2) = 99;
  }
  unsigned Place() { return bench.memory().get<false>(kPlace); }

  CoreBench bench;
};

TEST_F(Exclusive, PairStoresAndReportsSuccessOnce) {
  bench.Run({0xe851, 0x3f00});  // ldrex r3, [r1]
  EXPECT_EQ(bench.r(3), 0x8899aabbu);
  bench.Run({0xe841, 0x0200});  // strex r2, r0, [r1]
  EXPECT_EQ(bench.r(2), 0u);
  EXPECT_EQ(Place(), 5u);
  bench.Run({0xe841, 0x0200});
  EXPECT_EQ(bench.r(2), 1u);
}

TEST_F(Exclusive, OffsetCounts) {
  bench.r(1) = kPlace - 4;
  bench.Run({0xe851, 0x3f01, 0xe841, 0x0201});  // ldrex r3, [r1, #4]; strex r2, r0, [r1, #4]
  EXPECT_EQ(bench.r(2), 0u);
  EXPECT_EQ(Place(), 5u);
}

TEST_F(Exclusive, StoreWithoutLoadOrAfterClrexFails) {
  bench.Run({0xe841, 0x0200});
  EXPECT_EQ(bench.r(2), 1u);
  bench.Run({0xe851, 0x3f00, 0xf3bf, 0x8f2f, 0xe841, 0x0200});  // ldrex; clrex; strex
  EXPECT_EQ(bench.r(2), 1u);
  EXPECT_EQ(Place(), 0x8899aabbu);
}

TEST_F(Exclusive, NarrowPairsTouchTheirBytesOnly) {
  bench.Run({0xe8d1, 0x3f4f, 0xe8c1, 0x0f42});  // ldrexb r3, [r1]; strexb r2, r0, [r1]
  EXPECT_EQ(bench.r(3), 0xbbu);
  EXPECT_EQ(Place(), 0x8899aa05u);
  bench.r(0) = 0x123456;
  bench.Run({0xe8d1, 0x3f5f, 0xe8c1, 0x0f52});  // ldrexh, strexh
  EXPECT_EQ(bench.r(3), 0xaa05u);
  EXPECT_EQ(Place(), 0x88993456u);
}

TEST_F(Exclusive, SkippedPairLeavesStatusAndMemory) {
  bench.SetFlags("----");
  bench.Run({0xbf04, 0xe851, 0x3f00, 0xe841, 0x0200});  // itt eq; ldrexeq; strexeq
  EXPECT_EQ(bench.r(2), 99u);
  EXPECT_EQ(Place(), 0x8899aabbu);
}

}  // namespace
}  // namespace orvo
