#include "mcu/nrf52.h"

#include <memory>

#include "config/configuration_file_handler.h"
#include "peripherals/nrf52/rng_handler.h"
#include "peripherals/nrf52/temp_handler.h"

namespace orvo {

namespace {

constexpr int kExternalInterrupts = 45;
constexpr unsigned long kCoreFrequencyHz = 64'000'000;

constexpr InterruptRow kVectorTable[] = {
    {0, "POWER_CLOCK"},
    {1, "RADIO"},
    {2, "UARTE0_UART0"},
    {3, kSerial0},
    {4, kSerial1},
    {5, "NFCT"},
    {6, "GPIOTE"},
    {7, "SAADC"},
    {8, "TIMER0"},
    {9, "TIMER1"},
    {10, "TIMER2"},
    {11, "RTC0"},
    {12, "TEMP"},
    {13, "RNG"},
    {14, "ECB"},
    {15, "CCM_AAR"},
    {16, "WDT"},
    {17, "RTC1"},
    {18, "QDEC"},
    {19, "COMP_LPCOMP"},
    {20, "SWI0_EGU0"},
    {21, "SWI1_EGU1"},
    {22, "SWI2_EGU2"},
    {23, "SWI3_EGU3"},
    {24, "SWI4_EGU4"},
    {25, "SWI5_EGU5"},
    {26, "TIMER3"},
    {27, "TIMER4"},
    {28, "PWM0"},
    {29, "PDM"},
    {32, "MWU"},
    {33, "PWM1"},
    {34, "PWM2"},
    {35, kSerial2},
    {36, "RTC2"},
    {37, "I2S"},
    {38, "FPU"},
    {39, "USBD"},
    {40, "UARTE1"},
    {41, "QSPI"},
    {42, "CRYPTOCELL"},
    // Deliberate: the number and the address of SPIM3 are those of the nRF52840's first revisions.
    {43, "SPIM3"},
    {45, "PWM3"},
};

}  // namespace

Nrf52Interrupts::Nrf52Interrupts(Mcu* mcu) : Interrupts(mcu, kExternalInterrupts) {}

std::span<const InterruptRow> Nrf52Interrupts::rows() { return kVectorTable; }

void Nrf52Interrupts::LoadInterrupts(unsigned vector_table_base) {
  Interrupts::LoadInterrupts(vector_table_base);
  for (const InterruptRow& row : kVectorTable) AddExternal(row.number, row.name);
}

Nrf52::Nrf52(ScenarioFileHandler& scenario, WireManager* wires, ConnectionManager* connection)
    : Mcu(scenario, wires, connection) {
  SetInterrupts(std::make_unique<Nrf52Interrupts>(this));
}

void Nrf52::SetFrequency() { clock().SetFrequency(kCoreFrequencyHz); }

void Nrf52::start() {
  Mcu::start();
  ResizeFromConfiguration("External RAM", "external_ram_size");
  if (const std::optional<unsigned> seed = ConfigurationFileHandler::Get().GetSeed()) {
    memory().GetSectionByName<RNGHandler>("RNG")->Seed(*seed);
    memory().GetSectionByName<TEMPHandler>("TEMP")->Seed(*seed);
  }
}

}  // namespace orvo
