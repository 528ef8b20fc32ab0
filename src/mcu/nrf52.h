// The nRF52 family. Source: nRF52832 and nRF52840 Product Specification, "Memory", "Interrupts".
#pragma once

#include <span>

#include "mcu/mcu.h"
#include "mcu/section_row.h"

namespace orvo {

// The vector table's names of the serial blocks that share an address.
inline constexpr char kSerial0[] = "SPIM0_SPIS0_TWIM0_TWIS0_SPI0_TWI0";
inline constexpr char kSerial1[] = "SPIM1_SPIS1_TWIM1_TWIS1_SPI1_TWI1";
inline constexpr char kSerial2[] = "SPIM2_SPIS2_SPI2";

// Peripheral identification of the ROM table, from 0xF0000FE0: part 6, revision 2.
inline constexpr WordRow kRomTableId[] = {{0xFE0, 6}, {0xFE4, 64}, {0xFE8, 92}};

class Nrf52Interrupts : public Interrupts {
 public:
  explicit Nrf52Interrupts(Mcu* mcu);

  void LoadInterrupts(unsigned vector_table_base) override;
  // One vector table for all chips of the family. Lines 30, 31 and 44 don't exist.
  static std::span<const InterruptRow> rows();
};

class Nrf52 : public Mcu {
 public:
  Nrf52(ScenarioFileHandler& scenario, WireManager* wires, ConnectionManager* connection);

  // The core always runs at 64 MHz.
  void SetFrequency() override;
  unsigned GetFlashOffset() const override { return 0; }
  unsigned GetSudoStartAddress() const override { return kSudoStart; }
  // Takes the size of "External RAM" from the board, where it is "external_ram_size", and the
  // "seed" of RNG and TEMP.
  void start() override;

  static constexpr unsigned kSudoStart = 0xa0000000;
};

class Nrf52832 : public Nrf52 {
 public:
  using Nrf52::Nrf52;
  void CreateMemorySections() override;
};

class Nrf52840 : public Nrf52 {
 public:
  using Nrf52::Nrf52;
  void CreateMemorySections() override;
};

}  // namespace orvo
