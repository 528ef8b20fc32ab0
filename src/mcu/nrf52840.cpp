// nRF52840. Source: nRF52840 Product Specification, "Memory", "Instantiation".
// Not modelled: the second UARTE, QSPI, SPIM3, PWM3 and CryptoCell.
#include "control/sudo_handler.h"
#include "mcu/nrf52.h"
#include "peripherals/nrf52/aar_handler.h"
#include "peripherals/nrf52/ccm_handler.h"
#include "peripherals/nrf52/ecb_handler.h"
#include "peripherals/nrf52/ficr_handler.h"
#include "peripherals/nrf52/gpio_handler.h"
#include "peripherals/nrf52/gpiote_handler.h"
#include "peripherals/nrf52/mwu_handler.h"
#include "peripherals/nrf52/power_clock_handler.h"
#include "peripherals/nrf52/ppi_handler.h"
#include "peripherals/nrf52/registers/nrf52_lpcomp.h"
#include "peripherals/nrf52/registers/nrf52_nvmc.h"
#include "peripherals/nrf52/registers/nrf52_pwm.h"
#include "peripherals/nrf52/registers/nrf52_qdec.h"
#include "peripherals/nrf52/registers/nrf52_radio.h"
#include "peripherals/nrf52/registers/nrf52_saadc.h"
#include "peripherals/nrf52/registers/nrf52_usbd.h"
#include "peripherals/nrf52/rng_handler.h"
#include "peripherals/nrf52/rtc_handler.h"
#include "peripherals/nrf52/spim_twim_handler.h"
#include "peripherals/nrf52/temp_handler.h"
#include "peripherals/nrf52/timer_handler.h"
#include "peripherals/nrf52/uart_handler.h"
#include "peripherals/nrf52/uicr_handler.h"
#include "peripherals/nrf52/wdt_handler.h"
#include "time/system_control_block_handler.h"

namespace orvo {

namespace {

// clang-format off

// What the factory wrote. Device identifier and address are this simulator's.
// Start-up code tests family and revision, to work around errata of early revisions; some of those
// touch blocks without a model.
constexpr WordRow kFicrValues[] = {
    {Nrf52FICR::CODESIZE, 0x100},  // pages
    {Nrf52FICR::DEVICEID, 0x6F3A91C4},
    {Nrf52FICR::DEVICEID + 4, 0x2B70D85E},
    {Nrf52FICR::DEVICEADDRTYPE, 1},  // random
    {Nrf52FICR::DEVICEADDR, 0x52A7E13C},
    {Nrf52FICR::DEVICEADDR + 4, 0x0000C9D4},
    {Nrf52FICR::INFO_PART, 0x00052840},
    {Nrf52FICR::INFO_VARIANT, 0x41414630},  // "AAF0"
    {Nrf52FICR::INFO_PACKAGE, 0x00002004},  // QIxx, aQFN73
    {Nrf52FICR::INFO_RAM, 0x100},  // KB
    {Nrf52FICR::INFO_FLASH, 0x400},  // KB
    {Nrf52FICR::INFO_FAMILY, 0x08},
    {Nrf52FICR::INFO_REVISION, 0x03},  // revision 3
    {Nrf52FICR::TEMP_A0, 0x326}, {Nrf52FICR::TEMP_A1, 0x348}, {Nrf52FICR::TEMP_A2, 0x3aa},
    {Nrf52FICR::TEMP_A3, 0x40e}, {Nrf52FICR::TEMP_A4, 0x4bd}, {Nrf52FICR::TEMP_A5, 0x5a3},
    {Nrf52FICR::TEMP_B0, 0x3fef}, {Nrf52FICR::TEMP_B1, 0x3fbe}, {Nrf52FICR::TEMP_B2, 0x3fbe},
    {Nrf52FICR::TEMP_B3, 0x12}, {Nrf52FICR::TEMP_B4, 0x124}, {Nrf52FICR::TEMP_B5, 0x27c},
    {Nrf52FICR::TEMP_T0, 0xe2}, {Nrf52FICR::TEMP_T1, 0x0}, {Nrf52FICR::TEMP_T2, 0x19},
    {Nrf52FICR::TEMP_T3, 0x3c}, {Nrf52FICR::TEMP_T4, 0x50},
};

constexpr WordRow kTempValues[] = {
    {Nrf52TEMP::A0, 0x326}, {Nrf52TEMP::A1, 0x348}, {Nrf52TEMP::A2, 0x3aa},
    {Nrf52TEMP::A3, 0x40e}, {Nrf52TEMP::A4, 0x4bd}, {Nrf52TEMP::A5, 0x5a3},
    {Nrf52TEMP::B0, 0x3fef}, {Nrf52TEMP::B1, 0x3fbe}, {Nrf52TEMP::B2, 0x3fbe},
    {Nrf52TEMP::B3, 0x12}, {Nrf52TEMP::B4, 0x124}, {Nrf52TEMP::B5, 0x27c},
    {Nrf52TEMP::T0, 0xe2}, {Nrf52TEMP::T1, 0x0}, {Nrf52TEMP::T2, 0x19},
    {Nrf52TEMP::T3, 0x3c}, {Nrf52TEMP::T4, 0x50},
};

// P1's first register is at 0x50000804, but its section starts inside P0's page. The search takes
// the section with the lowest last byte at or above the address: P0 ends at 0x50000800, behind its
// last register and before P1's first, and so neither hides the other.
// In order of addition: of two sections with one last byte the later is found, so that
// CCM is reached by its name only.
constexpr SectionRow kSections[] = {
    {"Flash",              0x00000000, 0x100000, Plain},
    {"Data RAM",           0x20000000,  0x40000, Plain},
    {"External RAM",       0x60000000,        0, Plain},
    {"ITM",                0xE0000000,     4096, Plain},
    {"DWT",                0xE0001000,     4096, Plain},  // SystemControlBlock is found instead
    {"FPB",                0xE0002000,     4096, Plain},  // likewise
    {"TPIU",               0xE0040000,     4096, Plain},
    {"ETM",                0xE0041000,     4096, Plain},
    {"System",             0xF0000000,     4096, Plain,                    "", kRomTableId},
    {"SystemControlBlock", 0xE0001000,    57152, Make<SystemControlBlockHandler>},
    {"FICR",               0x10000000,     4096, Make<FICRHandler>,        "", kFicrValues},
    {"UICR",               0x10001000,     4096, Make<UICRHandler>},
    {"P0",                 0x50000000,    0x800, Make<Nrf52GPIOHandler>},
    {"P1",                 0x50000300,    0xD00, Make<Nrf52GPIOHandler>},
    {"POWER_CLOCK",        0x40000000,     4096, Make<PowerClockHandler>,  "POWER_CLOCK"},
    {"RADIO",              0x40001000,     4096, Make<Nrf52RADIO>,         "RADIO"},
    {"UARTE",              0x40002000,     4096, Make<UartHandler>,        "UARTE0_UART0"},
    {"SPIM_TWIM0",         0x40003000,     4096, Make<SpimTwimHandler>,    kSerial0},
    {"SPIM_TWIM1",         0x40004000,     4096, Make<SpimTwimHandler>,    kSerial1},
    {"NFCT",               0x40005000,     4096, Unimplemented},
    {"GPIOTE",             0x40006000,     4096, Make<GPIOTEHandler>,      "GPIOTE"},
    {"SAADC",              0x40007000,     4096, Make<Nrf52SAADC>,         "SAADC"},
    {"TIMER0",             0x40008000,     4096, Make<TimerHandler>,       "TIMER0"},
    {"TIMER1",             0x40009000,     4096, Make<TimerHandler>,       "TIMER1"},
    {"TIMER2",             0x4000A000,     4096, Make<TimerHandler>,       "TIMER2"},
    {"RTC0",               0x4000B000,     4096, Make<RTCHandler>,         "RTC0"},
    {"TEMP",               0x4000C000,     4096, Make<TEMPHandler>,        "TEMP", kTempValues},
    {"RNG",                0x4000D000,     4096, Make<RNGHandler>,         "RNG"},
    {"ECB",                0x4000E000,     4096, Make<ECBHandler>,         "ECB"},
    {"CCM",                0x4000F000,     4096, Make<CCMHandler>,         "CCM_AAR"},
    {"CCM_AAR",            0x4000F000,     4096, Make<AARHandler>,         "CCM_AAR"},
    {"WDT",                0x40010000,     4096, Make<WDTHandler>,         "WDT"},
    {"RTC1",               0x40011000,     4096, Make<RTCHandler>,         "RTC1"},
    {"QDEC",               0x40012000,     4096, Make<Nrf52QDEC>,          "QDEC"},
    {"LPCOMP",             0x40013000,     4096, Make<Nrf52LPCOMP>,        "COMP_LPCOMP"},
    {"SWI0",               0x40014000,     4096, Unimplemented},
    {"SWI1",               0x40015000,     4096, Unimplemented},
    {"SWI2",               0x40016000,     4096, Unimplemented},
    {"SWI3",               0x40017000,     4096, Unimplemented},
    {"SWI4",               0x40018000,     4096, Unimplemented},
    {"SWI5",               0x40019000,     4096, Unimplemented},
    {"TIMER3",             0x4001A000,     4096, Make<TimerHandler>,       "TIMER3"},
    {"TIMER4",             0x4001B000,     4096, Make<TimerHandler>,       "TIMER4"},
    {"PWM0",               0x4001C000,     4096, Make<Nrf52PWM>,           "PWM0"},
    {"PDM",                0x4001D000,     4096, Unimplemented},
    {"NVMC",               0x4001E000,     4096, Make<Nrf52NVMC>},
    {"PPI",                0x4001F000,     4096, Make<PPIHandler>},
    {"MWU",                0x40020000,     4096, Make<MWUHandler>,         "MWU"},
    {"PWM1",               0x40021000,     4096, Make<Nrf52PWM>,           "PWM1"},
    {"PWM2",               0x40022000,     4096, Make<Nrf52PWM>,           "PWM2"},
    {"SPIM_TWIM2",         0x40023000,     4096, Make<SpimTwimHandler>,    kSerial2},
    {"RTC2",               0x40024000,     4096, Make<RTCHandler>,         "RTC2"},
    {"I2S",                0x40025000,     4096, Unimplemented},
    {"FPU",                0x40026000,     4096, Unimplemented},
    {"USBD",               0x40027000,     4096, Make<Nrf52USBD>,          "USBD"},
    {"UARTE1",             0x40028000,     4096, Unimplemented},
    {"QSPI",               0x40029000,     4096, Unimplemented},
    {"SPIM3",              0x4002B000,     4096, Unimplemented},
    {"PWM3",               0x4002D000,     4096, Unimplemented},
    {"SUDO",               0xA0000000,     4096, Make<SudoHandler>},
};

// clang-format on

}  // namespace

void Nrf52840::CreateMemorySections() { AddSections(this, kSections, Nrf52Interrupts::rows()); }

}  // namespace orvo
