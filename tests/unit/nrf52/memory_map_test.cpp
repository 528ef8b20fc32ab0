// The maps of the nRF52832 and the nRF52840 as data: where everything is, and what it is.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "config/configuration_file_handler.h"
#include "control/sudo_handler.h"
#include "mcu/nrf52.h"
#include "peripherals/nrf52/ficr_handler.h"
#include "peripherals/nrf52/power_clock_handler.h"
#include "peripherals/nrf52/registers/nrf52_gpio.h"
#include "peripherals/nrf52/registers/nrf52_nvmc.h"
#include "peripherals/nrf52/registers/nrf52_timer.h"
#include "time/system_control_block_handler.h"
#include "unit/nrf52/chip_bench.h"

namespace orvo {
namespace {

struct Place {
  const char* name;
  unsigned start;
  unsigned size_bytes;
};

template <class Chip>
void ExpectSection(ChipBench<Chip>& bench, const Place& place) {
  MemorySection* section = bench.mcu.memory().GetSectionByName(place.name);
  EXPECT_EQ(section->start(), place.start) << place.name;
  EXPECT_EQ(section->size(), place.size_bytes) << place.name;
}

// clang-format off
constexpr Place kCommonPlaces[] = {
    {"External RAM", 0x60000000, 0},       {"ITM", 0xe0000000, 4096},
    {"DWT", 0xe0001000, 4096},             {"FPB", 0xe0002000, 4096},
    {"TPIU", 0xe0040000, 4096},            {"ETM", 0xe0041000, 4096},
    {"System", 0xf0000000, 4096},          {"SystemControlBlock", 0xe0001000, 57152},
    {"FICR", 0x10000000, 4096},            {"UICR", 0x10001000, 4096},
    {"POWER_CLOCK", 0x40000000, 4096},     {"RADIO", 0x40001000, 4096},
    {"UARTE", 0x40002000, 4096},           {"SPIM_TWIM0", 0x40003000, 4096},
    {"SPIM_TWIM1", 0x40004000, 4096},      {"NFCT", 0x40005000, 4096},
    {"GPIOTE", 0x40006000, 4096},          {"SAADC", 0x40007000, 4096},
    {"TIMER0", 0x40008000, 4096},          {"TIMER1", 0x40009000, 4096},
    {"TIMER2", 0x4000a000, 4096},          {"RTC0", 0x4000b000, 4096},
    {"TEMP", 0x4000c000, 4096},            {"RNG", 0x4000d000, 4096},
    {"ECB", 0x4000e000, 4096},             {"CCM", 0x4000f000, 4096},
    {"CCM_AAR", 0x4000f000, 4096},         {"WDT", 0x40010000, 4096},
    {"RTC1", 0x40011000, 4096},            {"QDEC", 0x40012000, 4096},
    {"LPCOMP", 0x40013000, 4096},          {"SWI0", 0x40014000, 4096},
    {"SWI5", 0x40019000, 4096},            {"TIMER3", 0x4001a000, 4096},
    {"TIMER4", 0x4001b000, 4096},          {"PWM0", 0x4001c000, 4096},
    {"PDM", 0x4001d000, 4096},             {"NVMC", 0x4001e000, 4096},
    {"PPI", 0x4001f000, 4096},             {"MWU", 0x40020000, 4096},
    {"PWM1", 0x40021000, 4096},            {"PWM2", 0x40022000, 4096},
    {"SPIM_TWIM2", 0x40023000, 4096},      {"RTC2", 0x40024000, 4096},
    {"I2S", 0x40025000, 4096},             {"FPU", 0x40026000, 4096},
    {"SUDO", 0xa0000000, 4096},
};
// clang-format on

TEST(Nrf52832, SectionsStandWhereTheManualHasThem) {
  Bench832 bench;
  for (const Place& place : kCommonPlaces) ExpectSection(bench, place);
  ExpectSection(bench, {"Flash", 0, 0x80000});
  ExpectSection(bench, {"Data RAM", 0x20000000, 0x10000});
  ExpectSection(bench, {"P0", 0x50000000, 4096});
  EXPECT_FALSE(bench.mcu.memory().HasSection("P1"));
  EXPECT_EQ(bench.mcu.memory().GetSections().size(), std::size(kCommonPlaces) + 3 + 4);
}

TEST(Nrf52840, SectionsStandWhereTheManualHasThem) {
  Bench840 bench;
  for (const Place& place : kCommonPlaces) ExpectSection(bench, place);
  ExpectSection(bench, {"Flash", 0, 0x100000});
  ExpectSection(bench, {"Data RAM", 0x20000000, 0x40000});
  ExpectSection(bench, {"USBD", 0x40027000, 4096});
  EXPECT_EQ(bench.SectionAt(0x40028000), "UARTE1");
  EXPECT_EQ(bench.SectionAt(0x40029000), "QSPI");
  EXPECT_EQ(bench.SectionAt(0x4002b000), "SPIM3");
  EXPECT_EQ(bench.SectionAt(0x4002d000), "PWM3");
}

// Every section is found at its first and last byte, but for those that another hides on purpose.
template <class Chip>
void ExpectAllReachable(const std::set<std::string>& hidden) {
  ChipBench<Chip> bench;
  std::set<std::string> names;
  for (const MemorySection* section : bench.mcu.memory().GetSections()) {
    EXPECT_TRUE(names.insert(section->name()).second) << section->name() << " twice";
    if (section->size() == 0 || hidden.count(section->name()) != 0) continue;
    EXPECT_EQ(bench.SectionAt(section->end() - 1), section->name());
    if (section->name() != "P1") {
      EXPECT_EQ(bench.SectionAt(section->start()), section->name());
    }
  }
  for (const std::string& name : hidden) {
    const MemorySection* section = bench.mcu.memory().GetSectionByName(name);
    EXPECT_NE(bench.SectionAt(section->start()), name);
  }
}

TEST(Nrf52832, EverySectionIsReached) { ExpectAllReachable<Nrf52832>({"DWT", "FPB", "CCM"}); }
TEST(Nrf52840, EverySectionIsReached) { ExpectAllReachable<Nrf52840>({"DWT", "FPB", "CCM"}); }

TEST(Nrf52840, BothPortsAreReachedAtAllTheirRegisters) {
  Bench840 bench;
  constexpr unsigned kLastPin = Nrf52GPIO::PIN_CNF + 4 * 31;
  for (unsigned offset = Nrf52GPIO::OUT; offset <= kLastPin; offset += 4) {
    EXPECT_EQ(bench.SectionAt(0x50000000 + offset), "P0") << offset;
    EXPECT_EQ(bench.SectionAt(0x50000300 + offset), "P1") << offset;
  }
}

TEST(Nrf52832, BlocksWithoutAModelEndTheRun) {
  Bench832 bench;
  for (const char* name :
       {"NFCT", "SWI0", "SWI1", "SWI2", "SWI3", "SWI4", "SWI5", "PDM", "I2S", "FPU"}) {
    const unsigned start = bench.mcu.memory().GetSectionByName(name)->start();
    EXPECT_THROW(bench.Get(start + 0x304), UnimplementedSectionError) << name;
  }
}

TEST(Nrf52832, RomTableIdentifiesThePart) {
  Bench832 bench;
  EXPECT_EQ(bench.Get(0xf0000fe0), 6u);
  EXPECT_EQ(bench.Get(0xf0000fe4), 64u);
  EXPECT_EQ(bench.Get(0xf0000fe8), 92u);
}

// --- Reset values --------------------------------------------------------------------------------

struct Fact {
  const char* what;
  unsigned address;
  unsigned nrf52832;
  unsigned nrf52840;
};

TEST(Nrf52, RegistersHoldTheirResetValuesFromTheStart) {
  const Fact facts[] = {
      {"FICR.CODEPAGESIZE", 0x10000010, 0x1000, 0x1000},
      {"FICR.CODESIZE", 0x10000014, 0x80, 0x100},
      {"FICR.INFO.PART", 0x10000100, 0x52832, 0x52840},
      {"FICR.INFO.RAM", 0x1000010c, 0x40, 0x100},
      {"FICR.INFO.FLASH", 0x10000110, 0x200, 0x400},
      {"family, for errata", 0x10000130, 6, 8},
      {"revision, for errata", 0x10000134, 5, 3},
      {"FICR.TEMP.A0", 0x10000404, 0x320, 0x326},
      {"UICR.NRFFW[0]", 0x10001014, 0xffffffff, 0xffffffff},
      {"TEMP.A5", 0x4000c534, 0x37b, 0x5a3},
      {"NVMC.READY", 0x4001e400, 1, 1},
      {"TIMER4.PRESCALER", 0x4001b510, 4, 4},
      {"GPIO.PIN_CNF[31]", 0x5000077c, 2, 2},
      {"UARTE.PSEL.TXD", 0x4000250c, 0xffffffff, 0xffffffff},
      {"WDT.CRV", 0x40010504, 0xffffffff, 0xffffffff},
      {"SAADC.CH[7].LIMIT", 0x4000758c, 0x7fff8000, 0x7fff8000},
      {"SCB.CPUID", 0xe000ed00, 0x410fc241, 0x410fc241},
  };
  Bench832 small;
  Bench840 large;
  for (const Fact& fact : facts) {
    EXPECT_EQ(small.Get(fact.address), fact.nrf52832) << fact.what;
    EXPECT_EQ(large.Get(fact.address), fact.nrf52840) << fact.what;
  }
}

TEST(Nrf52NVMC, IsStorageThatIsAlwaysReady) {
  Bench832 bench;
  bench.mcu.memory().set<true>(0x4001e504, 2);       // CONFIG: erase enabled
  bench.mcu.memory().set<true>(0x4001e508, 0x1000);  // ERASEPAGE
  bench.mcu.memory().set<true>(0x1000, 0x1234);
  EXPECT_EQ(bench.Get(0x4001e400), 1u);
  EXPECT_EQ(bench.Get(0x4001e504), 2u);
  EXPECT_EQ(bench.Get(0x1000), 0x1234u);
}

TEST(Nrf52, TasksWithoutHandlerNameThemselves) {
  struct Case {
    unsigned address;
    const char* task;
  };
  const Case cases[] = {
      {0x4002704c, "Nrf52USBD::set_TASKS_EP0RCVOUT"}, {0x40007004, "Nrf52SAADC::set_TASKS_SAMPLE"},
      {0x40012000, "Nrf52QDEC::set_TASKS_START"},     {0x40013008, "Nrf52LPCOMP::set_TASKS_SAMPLE"},
      {0x4001c00c, "Nrf52PWM::set_TASKS_SEQSTART"},
  };
  Bench840 bench;
  for (const Case& test : cases) {
    try {
      bench.Set(test.address, 1);
      ADD_FAILURE() << "no error: " << test.task;
    } catch (const OrvoError& error) {
      EXPECT_EQ(error.message(), std::string(test.task) + ": unsupported task");
    }
  }
}

// --- Interrupts and clock ------------------------------------------------------------------------

TEST(Nrf52Interrupts, LinesHaveNamesAndVectors) {
  Bench832 bench;
  bench.mcu.interrupts().LoadInterrupts(0x1000);
  bench.mcu.memory().setBuffer(0x1000 + 64 + 4 * 45,
                               reinterpret_cast<const unsigned char*>("\x41\x02\0\0"), 4);
  EXPECT_EQ(bench.mcu.interrupts().GetInterruptName(16 + 2), "UARTE0_UART0");
  EXPECT_EQ(bench.mcu.interrupts().GetInterruptName(16 + 3), "SPIM0_SPIS0_TWIM0_TWIS0_SPI0_TWI0");
  EXPECT_EQ(bench.mcu.interrupts().GetInterruptName(16 + 30), "");
  EXPECT_EQ(bench.mcu.interrupts().GetInterruptName(16 + 43), "SPIM3");
  EXPECT_EQ(bench.mcu.interrupts().GetAddress(45), 0x241u);
  EXPECT_EQ(bench.mcu.interrupts().external_count(), 45);
}

TEST(Nrf52Interrupts, EachLineAndEachNameOnce) {
  std::set<int> numbers;
  std::set<std::string> names;
  for (const InterruptRow& row : Nrf52Interrupts::rows()) {
    EXPECT_TRUE(numbers.insert(row.number).second) << row.number;
    EXPECT_TRUE(names.insert(row.name).second) << row.name;
  }
  EXPECT_EQ(numbers.size(), 43u);
}

TEST(Nrf52, RunsAt64MegahertzFromFlashAtZero) {
  Bench832 bench;
  EXPECT_EQ(bench.mcu.clock().GetFrequency(), 64'000'000u);
  EXPECT_EQ(bench.mcu.GetFlashOffset(), 0u);
  EXPECT_EQ(bench.mcu.GetSudoStartAddress(), 0xa0000000u);
}

TEST(Nrf52, StartRefusesSizesThatReachIntoTheNextSection) {
  for (const auto& [key, next] : {std::pair{"ram_size", "POWER_CLOCK at 0x40000000"},
                                  {"external_ram_size", "SUDO at 0xa0000000"}}) {
    ISingelton<ConfigurationFileHandler>::ReleaseInstance();
    const nlohmann::json component{
        {"class", "nrf52832"},
        {"config", {{key, 2147483647}, {"pins", nlohmann::json::object()}}}};
    ConfigurationFileHandler::Get().AddComponent(JsonPlace(component, "board.json"));
    ScenarioFileHandler scenario;
    WireManager wires(nullptr, 200, false, true);
    Nrf52832 mcu(scenario, &wires, nullptr);
    try {
      mcu.start();
      FAIL() << "no error";
    } catch (const UserError& error) {
      EXPECT_THAT(error.message(), testing::HasSubstr(std::string("Mcu config.") + key + ": "));
      EXPECT_THAT(error.message(), testing::EndsWith(std::string(next) + ", found 2147483647"));
    }
  }
  ISingelton<ConfigurationFileHandler>::ReleaseInstance();
}

TEST(Nrf52, StartGivesExternalRamTheSizeOfTheBoard) {
  struct Case {
    const char* config;
    unsigned size_bytes;
  };
  const Case cases[] = {
      {R"({"pins": {}})", 0},
      {R"({"pins": {}, "external_ram_size": -1})", 0},
      {R"({"pins": {}, "external_ram_size": 4096})", 4096}};
  for (const Case& test : cases) {
    ISingelton<ConfigurationFileHandler>::ReleaseInstance();
    const nlohmann::json component{{"class", "nrf52832"},
                                   {"config", nlohmann::json::parse(test.config)}};
    ConfigurationFileHandler::Get().AddComponent(JsonPlace(component, "board.json"));
    ScenarioFileHandler scenario;
    WireManager wires(nullptr, 200, false, true);
    Nrf52832 mcu(scenario, &wires, nullptr);
    mcu.start();
    EXPECT_EQ(mcu.memory().GetSectionByName("External RAM")->size(), test.size_bytes)
        << test.config;
  }
  ISingelton<ConfigurationFileHandler>::ReleaseInstance();
}

// --- Rows ----------------------------------------------------------------------------------------

TEST(SectionRow, BlockGetsItsNumbersByInterruptAndBySectionName) {
  Bench832 bench;
  static InterruptMap given;
  const auto maker = [](Mcu* mcu, const SectionRow& row, const InterruptMap& interrupts) {
    given = interrupts;
    return Plain(mcu, row, interrupts);
  };
  const SectionRow one[] = {{"ONE", 0x70000000, 16, maker, "UARTE0_UART0"}};
  AddSections(&bench.mcu, one, Nrf52Interrupts::rows());
  EXPECT_EQ(given, (InterruptMap{{"ONE", 2}, {"UARTE0_UART0", 2}}));
  const SectionRow two[] = {{"TWO", 0x70001000, 16, maker, "RTC0 RTC1"}};
  AddSections(&bench.mcu, two, Nrf52Interrupts::rows());
  EXPECT_EQ(given, (InterruptMap{{"RTC0", 11}, {"RTC1", 17}}));
  const SectionRow wrong[] = {{"WRONG", 0x70002000, 16, maker, "RTC9"}};
  EXPECT_THROW(AddSections(&bench.mcu, wrong, Nrf52Interrupts::rows()), OrvoError);
}

}  // namespace
}  // namespace orvo
