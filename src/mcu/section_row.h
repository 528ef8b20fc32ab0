// A chip's memory map as rows, and the sections made from them.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <span>

#include "memory/peripheral_memory.h"

namespace orvo {

// A name in the chip's vector table and its number.
struct InterruptRow {
  int number;
  const char* name;
};

// A word that differs from what the register list says, or that a plain section holds.
struct WordRow {
  unsigned offset;
  unsigned value;
};

struct SectionRow {
  using Maker = std::unique_ptr<MemorySection> (*)(Mcu* mcu, const SectionRow& row,
                                                   const InterruptMap& interrupts);

  const char* name;
  unsigned start;
  unsigned size_bytes;
  Maker make;
  // Names of the block's interrupts, separated by spaces. The block gets their numbers by these
  // names, and that of a single one also by the section's name.
  const char* interrupts = "";
  std::span<const WordRow> words = {};
};

// Makers. A register class or handler starts with its reset values.
template <class T>
std::unique_ptr<MemorySection> Make(Mcu* mcu, const SectionRow& row,
                                    const InterruptMap& interrupts) {
  auto section = std::make_unique<T>(mcu, row.name, row.start, row.size_bytes, interrupts,
                                     nlohmann::json::object());
  ResetValues values = T::reset_values();
  for (const WordRow& word : row.words) values[word.offset] = word.value;
  section->SetResetValues(values);
  return section;
}
// Storage that holds the row's words.
std::unique_ptr<MemorySection> Plain(Mcu* mcu, const SectionRow& row, const InterruptMap&);
// A block without a model: an access ends the run.
std::unique_ptr<MemorySection> Unimplemented(Mcu* mcu, const SectionRow& row, const InterruptMap&);

// Adds the sections to the chip's memory in the order of the rows. Throws OrvoError for an
// interrupt name that the vector table doesn't have.
void AddSections(Mcu* mcu, std::span<const SectionRow> rows,
                 std::span<const InterruptRow> vector_table);

}  // namespace orvo
