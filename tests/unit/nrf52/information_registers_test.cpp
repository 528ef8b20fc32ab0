// FICR and UICR: what a reset does to them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "peripherals/nrf52/ficr_handler.h"
#include "peripherals/nrf52/uicr_handler.h"
#include "support/test_mcu.h"

namespace orvo {
namespace {

template <class T>
T* Add(TestMcu& mcu, const char* name, unsigned start) {
  auto* block = new T(&mcu, name, start, 4096, InterruptMap(), nlohmann::json());
  block->SetResetValues(T::reset_values());
  mcu.memory().AddSection(block);
  return block;
}

TEST(FICRHandler, KeepsAConfiguredAddressOverASoftwareReset) {
  TestMcu mcu;
  auto* ficr = Add<FICRHandler>(mcu, "FICR", 0x10000000);
  mcu.memory().set<false>(0x100000a4, 0x12345678);
  ficr->Reset(kSoftwareReset);
  EXPECT_EQ(mcu.memory().get<true>(0x100000a4), 0x12345678u);
  ficr->Reset(kPowerOnReset);
  EXPECT_EQ(mcu.memory().get<true>(0x100000a4), 0xffffffffu);
}

TEST(UICRHandler, NfcPinsAreGpioAfterAnyReset) {
  TestMcu mcu;
  auto* uicr = Add<UICRHandler>(mcu, "UICR", 0x10001000);
  EXPECT_EQ(uicr->get(Nrf52UICR::NFCPINS), 0xfffffffeu);
  uicr->set(Nrf52UICR::NFCPINS, 0xffffffff);
  uicr->Reset(kSoftwareReset);
  EXPECT_EQ(uicr->get(Nrf52UICR::NFCPINS), 0xfffffffeu);
}

TEST(UICRHandler, KeepsWhatFirmwareWroteOverASoftwareReset) {
  TestMcu mcu;
  auto* uicr = Add<UICRHandler>(mcu, "UICR", 0x10001000);
  uicr->set(Nrf52UICR::PSELRESET, 21);
  uicr->Reset(kSoftwareReset);
  EXPECT_EQ(uicr->get(Nrf52UICR::PSELRESET), 21u);
  uicr->Reset(kPowerOnReset);
  EXPECT_EQ(uicr->get(Nrf52UICR::PSELRESET), 0xffffffffu);
}

}  // namespace
}  // namespace orvo
