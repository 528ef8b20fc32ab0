#include "mcu/section_row.h"

#include <algorithm>
#include <sstream>
#include <string>

#include "mcu/mcu.h"
#include "runner/errors.h"

namespace orvo {

namespace {

InterruptMap InterruptsOf(const SectionRow& row, std::span<const InterruptRow> vector_table) {
  InterruptMap interrupts;
  std::istringstream names(row.interrupts);
  for (std::string name; names >> name;) {
    const auto found = std::find_if(vector_table.begin(), vector_table.end(),
                                    [&](const InterruptRow& entry) { return name == entry.name; });
    if (found == vector_table.end()) {
      throw OrvoError("Section " + std::string(row.name) + ": unknown interrupt " + name);
    }
    interrupts[name] = static_cast<unsigned>(found->number);
  }
  if (interrupts.size() == 1) interrupts.emplace(row.name, interrupts.begin()->second);
  return interrupts;
}

}  // namespace

std::unique_ptr<MemorySection> Plain(Mcu* mcu, const SectionRow& row, const InterruptMap&) {
  auto section = std::make_unique<PlainSection>(mcu, row.name, row.start, row.size_bytes);
  for (const WordRow& word : row.words) section->set(word.offset, word.value);
  return section;
}

std::unique_ptr<MemorySection> Unimplemented(Mcu* mcu, const SectionRow& row, const InterruptMap&) {
  return std::make_unique<UnimplementedSection>(mcu, row.name, row.start, row.size_bytes);
}

void AddSections(Mcu* mcu, std::span<const SectionRow> rows,
                 std::span<const InterruptRow> vector_table) {
  for (const SectionRow& row : rows) {
    mcu->memory().AddSection(row.make(mcu, row, InterruptsOf(row, vector_table)).release());
  }
}

}  // namespace orvo
