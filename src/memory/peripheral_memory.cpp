#include "memory/peripheral_memory.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "mcu/mcu.h"
#include "runner/errors.h"
#include "runner/text.h"

namespace orvo {

namespace {

template <class T>
constexpr unsigned kBits = 8 * sizeof(T);

constexpr unsigned WordOf(unsigned offset) { return offset & ~3u; }
constexpr unsigned HalfWordOf(unsigned offset) { return offset & ~1u; }

}  // namespace

int InterruptNumberOf(const InterruptMap& interrupts, const std::string& name) {
  const auto found = interrupts.find(name);
  if (found == interrupts.end()) throw OrvoError("No interrupt number for " + name);
  return static_cast<int>(found->second);
}

PeripheralMemory::PeripheralMemory(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes)
    : MemorySection(mcu, std::move(name), start, size_bytes) {}

// --- Table ---------------------------------------------------------------------------------------

void PeripheralMemory::SetRegisters(std::vector<RegisterData>& rows, unsigned table_length) {
  std::sort(rows.begin(), rows.end(),
            [](const RegisterData& a, const RegisterData& b) { return a.offset < b.offset; });
  std::vector<unsigned short> row_at(table_length, 0);
  for (size_t n = 0; n < rows.size(); ++n) {
    const unsigned offset = rows[n].offset;
    if (offset >= table_length || row_at[offset] != 0) {
      throw OrvoError("Register table of " + name() + ": offset 0x" + IntToHex(offset) +
                      (offset < table_length ? " has two registers" : " is beyond the table"));
    }
    row_at[offset] = static_cast<unsigned short>(n + 1);
  }
  rows_.swap(rows);
  row_at_.swap(row_at);
  rows.clear();
}

void PeripheralMemory::SetResetValues(const ResetValues& values) {
  for (const auto& [offset, value] : values) {
    if (offset < row_at_.size() && row_at_[offset] != 0) {
      rows_[row_at_[offset] - 1].reset_value = value;
    }
  }
  Reset(kPowerOnReset);
}

const RegisterData* PeripheralMemory::Row(unsigned offset) const {
  if (offset >= row_at_.size() || row_at_[offset] == 0) return nullptr;
  return &rows_[row_at_[offset] - 1];
}

unsigned PeripheralMemory::GetRegisterOffset(unsigned offset) {
  return offset - GetByteNumber(offset);
}

unsigned PeripheralMemory::GetRegisterSize(unsigned offset) {
  const RegisterData* row = Row(offset);
  if (row == nullptr) {
    throw OrvoError("PeripheralMemory::GetRegisterSize - no register in this offset");
  }
  return row->size_bits;
}

unsigned PeripheralMemory::GetByteNumber(unsigned offset) const {
  for (unsigned n = 0; n < sizeof(unsigned); ++n) {
    if (IsByteNumber(offset, n)) return n;
  }
  throw OrvoError("PeripheralMemory::GetRegisterOffset - no register offset found");
}

bool PeripheralMemory::IsByteNumber(unsigned offset, unsigned byte_number) const {
  if (offset < byte_number) return false;
  const RegisterData* row = Row(offset - byte_number);
  return row != nullptr && row->size_bits >= (byte_number + 1) * 8;
}

void PeripheralMemory::Reset(ResetType) {
  for (const RegisterData& row : rows_) {
    if (row.offset >= size()) break;
    switch (row.size_bits) {
      case 8:
        MemorySection::setByte(row.offset, static_cast<unsigned char>(row.reset_value));
        break;
      case 16:
        MemorySection::setHalfWord(row.offset, static_cast<unsigned short>(row.reset_value));
        break;
      case 32:
        MemorySection::set(row.offset, row.reset_value);
        break;
      default:
        throw OrvoError("Unsupported size: " + std::to_string(row.size_bits) +
                        " of a reset address: " + std::to_string(row.offset) +
                        " in peripheral: " + name());
    }
  }
}

// --- Accesses ------------------------------------------------------------------------------------
// An access of exactly the register's width runs its operation, and from then on Memory calls that
// operation without coming here. Any other goes to the next wider access, or to raw storage.

template <class T>
const RegisterData* PeripheralMemory::ReadableRow(unsigned offset) {
  const RegisterData* row = Row(offset);
  if (row == nullptr || row->size_bits != kBits<T> || row->accessor.getter == nullptr) {
    return nullptr;
  }
  mcu_->memory().AddReadShortcut<T>(start() + offset, row->accessor);
  return row;
}

template <class T>
const RegisterData* PeripheralMemory::WritableRow(unsigned offset) {
  const RegisterData* row = Row(offset);
  if (row == nullptr || row->size_bits != kBits<T> || row->accessor.setter == nullptr) {
    return nullptr;
  }
  mcu_->memory().AddWriteShortcut<T>(start() + offset, row->accessor);
  return row;
}

bool PeripheralMemory::IsReadOnly(unsigned offset, unsigned size_bits) const {
  const RegisterData* row = Row(offset);
  return row != nullptr && row->size_bits == size_bits && row->accessor.setter == nullptr;
}

unsigned PeripheralMemory::get(unsigned offset) {
  if (const RegisterData* row = ReadableRow<unsigned>(offset)) return row->accessor.Get();
  return MemorySection::get(offset);
}

unsigned short PeripheralMemory::getHalfWord(unsigned offset) {
  if (const RegisterData* row = ReadableRow<unsigned short>(offset)) {
    return static_cast<unsigned short>(row->accessor.Get());
  }
  return static_cast<unsigned short>(get(WordOf(offset)) >> (8 * (offset % 4)));
}

unsigned char PeripheralMemory::getByte(unsigned offset) {
  if (const RegisterData* row = ReadableRow<unsigned char>(offset)) {
    return static_cast<unsigned char>(row->accessor.Get());
  }
  return static_cast<unsigned char>(getHalfWord(HalfWordOf(offset)) >> (8 * (offset % 2)));
}

// Deliberate: a word store is never refused. On a read-only register it overwrites what is stored,
// on a narrower one it stores past the setter.
void PeripheralMemory::set(unsigned offset, unsigned value) {
  if (const RegisterData* row = WritableRow<unsigned>(offset)) {
    row->accessor.Set(value);
  } else {
    MemorySection::set(offset, value);
  }
}

void PeripheralMemory::setHalfWord(unsigned offset, unsigned short value) {
  if (const RegisterData* row = WritableRow<unsigned short>(offset)) {
    row->accessor.Set(value);
    return;
  }
  if (IsReadOnly(offset, 16)) {
    if (sudo()) {
      MemorySection::setHalfWord(offset, value);
    } else {
      std::cerr << "cannot setHalfWord read-only register offset: " << offset << " of " << name()
                << std::endl;
    }
    return;
  }
  const unsigned shift = 8 * (offset % 4);
  if (shift == 24) throw OrvoError("Case of offset 3 is currently not supported");
  // The merge takes the stored word, not what a getter would make of it.
  const unsigned word = MemorySection::get(WordOf(offset));
  set(WordOf(offset), (word & ~(0xffffu << shift)) | static_cast<unsigned>(value) << shift);
}

void PeripheralMemory::setByte(unsigned offset, unsigned char value) {
  if (const RegisterData* row = WritableRow<unsigned char>(offset)) {
    row->accessor.Set(value);
    return;
  }
  if (IsReadOnly(offset, 8)) {
    if (sudo()) {
      MemorySection::setByte(offset, value);
    } else {
      std::cerr << "cannot setByte read-only register offset: " << offset << " of " << name()
                << std::endl;
    }
    return;
  }
  const unsigned shift = 8 * (offset % 2);
  const unsigned half = MemorySection::getHalfWord(HalfWordOf(offset));
  const unsigned merged = (half & ~(0xffu << shift)) | static_cast<unsigned>(value) << shift;
  setHalfWord(HalfWordOf(offset), static_cast<unsigned short>(merged));
}

}  // namespace orvo
