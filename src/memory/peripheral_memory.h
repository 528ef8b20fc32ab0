// The engine under every register block: a table with a row per register that leads a sized access
// to the register's own get_NAME or set_NAME operation, and everything else to raw storage.
#pragma once

#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "memory/memory.h"
#include "memory/memory_section.h"

namespace orvo {

// One row. The accessor's getter is null for a write-only register, its setter for a read-only one.
struct RegisterData {
  unsigned offset = 0;
  unsigned size_bits = 32;  // 8, 16 or 32
  unsigned reset_value = 0;
  RegisterAccessor accessor;
};

// Numbers of a block's interrupts by name.
using InterruptMap = std::map<std::string, unsigned>;
// Throws OrvoError for a name that the map doesn't have: a mistake in the chip's map.
int InterruptNumberOf(const InterruptMap& interrupts, const std::string& name);
// Byte offset to value after reset.
using ResetValues = std::map<unsigned, unsigned>;

class PeripheralMemory : public MemorySection {
 public:
  PeripheralMemory(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes);

  unsigned get(unsigned offset) override;
  unsigned short getHalfWord(unsigned offset) override;
  unsigned char getByte(unsigned offset) override;
  void set(unsigned offset, unsigned value) override;
  void setHalfWord(unsigned offset, unsigned short value) override;
  void setByte(unsigned offset, unsigned char value) override;
  // Stores every register's reset value, past the setters but not past the event observer.
  void Reset(ResetType type) override;

  // Takes over the table. `table_length` is the number of byte offsets that may hold a register;
  // throws OrvoError when two rows stand at one offset.
  void SetRegisters(std::vector<RegisterData>& rows, unsigned table_length);
  // Values at offsets without a register have no effect. Runs a Reset of type 0.
  void SetResetValues(const ResetValues& values);

  unsigned GetRegisterOffset(unsigned offset) override;
  unsigned GetRegisterSize(unsigned offset) override;
  // Which byte of a register stands at the offset, 0 to 3; throws OrvoError where none does.
  unsigned GetByteNumber(unsigned offset) const;
  bool IsByteNumber(unsigned offset, unsigned byte_number) const;

 private:
  const RegisterData* Row(unsigned offset) const;
  template <class T>
  const RegisterData* ReadableRow(unsigned offset);
  template <class T>
  const RegisterData* WritableRow(unsigned offset);
  bool IsReadOnly(unsigned offset, unsigned size_bits) const;

  std::vector<RegisterData> rows_;
  // Number of the row at each byte offset plus 1, 0 for none.
  std::vector<unsigned short> row_at_;
};

}  // namespace orvo
