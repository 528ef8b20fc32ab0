#include "memory/register_table.h"

#include "runner/errors.h"

namespace orvo {

std::vector<RegisterData> BindRows(std::span<const RegisterRow> rows, PeripheralMemory* section) {
  std::vector<RegisterData> table;
  for (const RegisterRow& row : rows) {
    for (unsigned n = 0; n < row.count; ++n) {
      const unsigned offset = row.offset + n * row.stride;
      table.push_back({offset, row.size_bits, 0, {section, row.getter, row.setter, offset, n}});
    }
  }
  return table;
}

ResetValues ResetValuesOf(std::span<const RegisterRow> rows) {
  ResetValues values;
  for (const RegisterRow& row : rows) {
    for (unsigned n = 0; n < row.count; ++n) {
      values[row.offset + n * row.stride] = row.reset_value;
    }
  }
  return values;
}

void ThrowUnsupportedTask(const char* text) { throw OrvoError(text); }

}  // namespace orvo
