// What ends a run, what a reset takes away, and settings that no board reaches: two blocks of an
// nRF52832, the first a master on pin 26, the second a slave there. Transfers as firmware sees them
// are in tests/system/nrf52_serial_test.cpp.
#include "peripherals/nrf52/spim_twim_handler.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "support/error_of.h"
#include "unit/nrf52/chip_bench.h"
#include "unit/wires/wire_listener.h"

namespace orvo {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

using S = Nrf52SPIM_TWIM;

constexpr unsigned kMaster = 0x40003000, kSlave = 0x40004000;
constexpr unsigned kTwi = 5, kTwim = 6, kSpim = 7, kTwis = 9;  // ENABLE
constexpr unsigned kRam = 0x20000100, kAddress = 0x29, kNobody = 0x55;
constexpr unsigned kLastRxStartTx = 1 << 10, kLastRxStop = 1 << 12;  // SHORTS
constexpr int kBitTicks = 256;                                       // as after a reset

struct Bench : Bench832 {
  explicit Bench(unsigned master = kTwim) {
    for (const unsigned block : {kMaster, kSlave}) {
      Set(block + S::PSEL_SDA, 26);
      Set(block + S::ADDRESS, kAddress);
      Set(block + S::RXD_PTR, kRam);
      Set(block + S::TXD_PTR, kRam);
      Set(block + S::RXD_MAXCNT, 2);
      Set(block + S::TXD_MAXCNT, 2);
    }
    Set(kMaster + S::ENABLE, master);
    Set(kSlave + S::ENABLE, kTwis);
  }
  // What ends the run within the next 40 bits.
  std::string Run(unsigned task) {
    return ErrorOf([&] {
      Set(kMaster + task, 1);
      Advance(40 * kBitTicks);
    });
  }
};

TEST(SpimTwimHandler, EndsTheRunWhereItHasNoModel) {
  const struct {
    unsigned enable, offset, value;
    const char* message;
  } kCases[] = {
      {0, S::ENABLE, 2, "SPIS Peripheral is currently unsupported"},
      {0, S::TASKS_ACQUIRE, 1, "Nrf52SPIM_TWIM::set_TASKS_ACQUIRE: unsupported task"},
      {0, S::TASKS_RELEASE, 1, "Nrf52SPIM_TWIM::set_TASKS_RELEASE: unsupported task"},
      {kTwi, S::FREQUENCY, 5, "Illegal frequency value: 5 in SpimTwimHandler::GetFrequency"},
      {kTwim, S::PSEL_SDA, 1u << 31,
       "Illegal call to STAR RX/TX while pin is disconnected (bit 31 in register twi0 pselsda)"},
      {kSpim, S::RXD_MAXCNT, 0x10000,
       "SpimTwimHandler: MAXCNT of 65536 in SPIM_TWIM0, at most 65535"}};
  for (const auto& c : kCases) {
    Bench bench(c.enable);
    EXPECT_EQ(ErrorOf([&] {
                bench.Set(kMaster + c.offset, c.value);
                for (const unsigned task : {S::TASKS_START, S::TASKS_STARTRX, S::TASKS_STARTTX}) {
                  bench.Set(kMaster + task, 1);
                }
              }),
              std::string("OrvoError: ") + c.message);
  }
}

TEST(SpimTwimHandler, TransfersThatTheBusCannotEndEndTheRun) {
  EXPECT_EQ(Bench().Run(S::TASKS_STARTRX),
            "OrvoError: Incorrect state in OnAckOrNAckSent, STOP should have been dispatched");
  Bench nobody;
  nobody.Set(kMaster + S::ADDRESS, kNobody);
  EXPECT_EQ(
      nobody.Run(S::TASKS_STARTRX),
      "OrvoError: Incorrect state, expected kPacketTypeByteFromSlave, got byte from master in "
      "I2cMasterWireLevel");
  EXPECT_EQ(nobody.Get(kMaster + S::ERRORSRC), 2u);
  // The last byte is acknowledged, and the slave is sending when the start comes.
  Bench read_write;
  read_write.Set(kMaster + S::SHORTS, kLastRxStartTx);
  EXPECT_THAT(read_write.Run(S::TASKS_STARTRX), HasSubstr("in I2cSlaveBase::Update"));
  Bench off;
  off.Set(kSlave + S::ENABLE, 0);
  EXPECT_EQ(off.Run(S::TASKS_STARTTX),
            "OrvoError: SpimTwimHandler::OnMasterWrite is called when twis is disableD");
  EXPECT_EQ(Bench().Run(S::TASKS_STOP), "");
}

TEST(SpimTwimHandler, SlaveBufferOutsideRamIsWarnedOf) {
  Bench bench;
  bench.Set(kSlave + S::RXD_PTR, 0x1000);
  bench.Set(kMaster + S::SHORTS, 1 << 9);  // LASTTX_STOP
  testing::internal::CaptureStderr();
  bench.Run(S::TASKS_STARTTX);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              StartsWith("Warning: SpimTwimHandler::rxd_ptr points to area which is not RAM: "
                         "1000\n"));
}

TEST(SpimTwimHandler, ResetEndsTheTransferAndTakesTheSlaveOffTheBus) {
  Bench bench;
  bench.Set(kMaster + S::SHORTS, kLastRxStop);
  bench.Set(kMaster + S::TASKS_STARTRX, 1);
  bench.Advance(20 * kBitTicks);
  bench.mcu.memory().ResetMemory(kSoftwareReset);
  DataListener wire;
  bench.wires.ConnectToWireData(&wire, 26, 0);
  bench.Advance(40 * kBitTicks);
  EXPECT_THAT(wire.heard(), testing::IsEmpty());
  EXPECT_EQ(bench.Get(kMaster + S::EVENTS_STOPPED), 0u);
  bench.Set(kMaster + S::PSEL_SDA, 26);
  bench.Set(kMaster + S::ADDRESS, kAddress);
  bench.Set(kMaster + S::TXD_PTR, kRam);
  bench.Set(kMaster + S::TXD_MAXCNT, 2);
  bench.Set(kMaster + S::ENABLE, kTwim);
  EXPECT_EQ(bench.Run(S::TASKS_STARTTX), "");
  EXPECT_EQ(bench.Get(kMaster + S::EVENTS_ERROR), 1u);
}

TEST(SpimTwimHandler, BlockWithoutTwiIgnoresItsStart) {
  for (const bool enabled : {true, false}) {
    Bench832 bench;
    SpimTwimHandler block(&bench.mcu, "SPIM_TWIM9", 0x40050000, 4096, {{"SPIM_TWIM9", 3}},
                          {{"twiEnable", enabled}});
    block.set_PSEL_SDA(S::PSEL_SDA, 26);
    block.MemorySection::set(S::FREQUENCY, 0x04000000);
    block.set_ENABLE(S::ENABLE, kTwim);
    block.set_TASKS_STARTTX(S::TASKS_STARTTX, 1);
    EXPECT_EQ(block.MemorySection::get(S::EVENTS_TXSTARTED), enabled ? 1u : 0u);
  }
}

}  // namespace
}  // namespace orvo
