// The rows of a register list, as a register class holds them at compile time, and how they become
// the table of a PeripheralMemory. register_class.h makes both from a list.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "memory/peripheral_memory.h"

namespace orvo {

// One register, or an array of equal ones.
struct RegisterRow {
  unsigned offset;                  // of the first element, in bytes
  unsigned count;                   // elements, 1 for a single register
  unsigned stride;                  // bytes between elements
  unsigned size_bits;               // 8, 16 or 32
  unsigned reset_value;             // of every element
  RegisterAccessor::Getter getter;  // null for a write-only register
  RegisterAccessor::Setter setter;  // null for a read-only register
};

// Whether all registers lie inside the table and no two of them at one offset.
template <unsigned table_length, size_t row_count>
constexpr bool EachOffsetOnce(const RegisterRow (&rows)[row_count]) {
  std::array<bool, table_length> taken{};
  for (const RegisterRow& row : rows) {
    for (unsigned n = 0; n < row.count; ++n) {
      const unsigned offset = row.offset + n * row.stride;
      if (offset >= table_length || taken[offset]) return false;
      taken[offset] = true;
    }
  }
  return true;
}

// One RegisterData per element, bound to the section.
std::vector<RegisterData> BindRows(std::span<const RegisterRow> rows, PeripheralMemory* section);
// The reset value of every element.
ResetValues ResetValuesOf(std::span<const RegisterRow> rows);
// Throws OrvoError with the text.
[[noreturn]] void ThrowUnsupportedTask(const char* text);

}  // namespace orvo
