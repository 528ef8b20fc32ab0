#include "peripherals/nrf52/mwu_handler.h"

#include <gtest/gtest.h>

#include "unit/nrf52/chip_bench.h"

namespace orvo {
namespace {

using M = Nrf52MWU;

struct MwuBench : Bench832 {
  static constexpr unsigned kStart = 0x40020000;
  static constexpr int kInterrupt = 32;

  unsigned GetRegister(unsigned offset) { return Get(kStart + offset); }
  void SetRegister(unsigned offset, unsigned value) { Set(kStart + offset, value); }
  bool Observed(const char* section) {
    return mcu.memory().GetSectionByName(section)->access_observer() != nullptr;
  }
};

struct AccessCase {
  unsigned address;
  bool is_write;
  unsigned event;  // the one that is expected, 0 for none
};

// Region 1 reports stores, region 2 loads; the bounds belong to a region.
TEST(MWUHandler, RegionsReportTheAccessesOfTheirKind) {
  const AccessCase cases[] = {
      {0x20000100, true, M::EVENTS_REGION_WA + 8},
      {0x200001ff, true, M::EVENTS_REGION_WA + 8},
      {0x200000fc, true, 0},
      {0x20000200, true, 0},
      {0x20000100, false, 0},
      {0x00000400, false, M::EVENTS_REGION_RA + 16},
      {0x00000400, true, 0},
  };
  for (const AccessCase& access : cases) {
    MwuBench bench;
    bench.SetRegister(M::REGION_START + 16, 0x20000100);
    bench.SetRegister(M::REGION_END + 16, 0x200001ff);
    bench.SetRegister(M::REGION_START + 32, 0x400);
    bench.SetRegister(M::REGION_END + 32, 0x403);
    bench.SetRegister(M::REGIONENSET, InterruptBit(M::EVENTS_REGION_WA + 8) |
                                          InterruptBit(M::EVENTS_REGION_RA + 16));
    if (access.is_write) {
      bench.Set(access.address, 7);
    } else {
      bench.Get(access.address);
    }
    for (unsigned event = M::EVENTS_REGION_WA; event < M::EVENTS_REGION_WA + 32; event += 4) {
      EXPECT_EQ(bench.GetRegister(event), event == access.event ? 1u : 0u)
          << std::hex << access.address << (access.is_write ? " w " : " r ") << event;
    }
  }
}

TEST(MWUHandler, RaisesItsInterruptOrTheNonMaskableOneByTheirEnables) {
  MwuBench bench;
  bench.SetRegister(M::REGION_START, 0x20000000);
  bench.SetRegister(M::REGION_END, 0x20000003);
  bench.SetRegister(M::REGIONEN, 3);
  bench.SetRegister(M::INTEN, 1);
  bench.SetRegister(M::NMIENSET, 2);
  bench.mcu.memory().set<false>(0x20000000, 7);  // not by an instruction
  EXPECT_FALSE(bench.mcu.isPending(MwuBench::kInterrupt));
  bench.Set(0x20000000, 7);
  EXPECT_TRUE(bench.mcu.isPending(MwuBench::kInterrupt));
  EXPECT_FALSE(bench.mcu.isPending(kNmi));
  bench.SetRegister(M::INTENCLR, 1);
  bench.Get(0x20000000);
  EXPECT_TRUE(bench.mcu.isPending(kNmi));
  EXPECT_EQ(bench.GetRegister(M::INTEN), 0u);
  EXPECT_EQ(bench.GetRegister(M::NMIENCLR), 2u);
}

TEST(MWUHandler, ObservesSectionsOnlyWhileAnEnabledRegionTouchesThem) {
  MwuBench bench;
  bench.SetRegister(M::REGION_END, 0x2000ffff);
  bench.SetRegister(M::REGIONEN, 1);  // from 0: flash, FICR, RAM
  EXPECT_TRUE(bench.Observed("Flash"));
  EXPECT_TRUE(bench.Observed("Data RAM"));
  EXPECT_FALSE(bench.Observed("TIMER0"));
  bench.SetRegister(M::REGION_START, 0x2000fffc);
  EXPECT_FALSE(bench.Observed("Flash"));
  bench.SetRegister(M::REGIONENCLR, 1);
  EXPECT_FALSE(bench.Observed("Data RAM"));
  bench.SetRegister(M::REGIONENSET, 1);
  bench.mcu.memory().ResetMemory(kSoftwareReset);
  EXPECT_FALSE(bench.Observed("Data RAM"));
}

}  // namespace
}  // namespace orvo
