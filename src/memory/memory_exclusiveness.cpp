#include "memory/memory_exclusiveness.h"

#include "mcu/mcu.h"

namespace orvo {

MemoryExclusiveness::Key MemoryExclusiveness::KeyOf(unsigned address) const {
  return {mcu_->registers().status() & xpsr::kExceptionNumber, address};
}

void MemoryExclusiveness::WriteRegister(unsigned id, unsigned value) {
  if (id == kSp) {
    mcu_->registers().SetSP(value);
  } else {
    mcu_->registers().word(id) = value;
  }
}

template <class T>
void MemoryExclusiveness::Load(unsigned register_id, unsigned address) {
  const T value = mcu_->memory().Read<T, false>(address).value;
  seen_[KeyOf(address)] = value;
  WriteRegister(register_id, value);
}

template <class T>
void MemoryExclusiveness::Store(unsigned status_id, T value, unsigned address) {
  const auto seen = seen_.find(KeyOf(address));
  if (seen == seen_.end() || seen->second != mcu_->memory().Read<T, false>(address).value) {
    WriteRegister(status_id, 1);
    return;
  }
  mcu_->memory().Write<T, true>(address, value);
  seen_.erase(seen);
  WriteRegister(status_id, 0);
}

void MemoryExclusiveness::Ldrex(unsigned register_id, unsigned address) {
  Load<unsigned>(register_id, address);
}

void MemoryExclusiveness::Ldrexh(unsigned register_id, unsigned address) {
  Load<unsigned short>(register_id, address);
}

void MemoryExclusiveness::Ldrexb(unsigned register_id, unsigned address) {
  Load<unsigned char>(register_id, address);
}

void MemoryExclusiveness::Strex(unsigned status_id, unsigned value, unsigned address) {
  Store<unsigned>(status_id, value, address);
}

void MemoryExclusiveness::Strexh(unsigned status_id, unsigned short value, unsigned address) {
  Store<unsigned short>(status_id, value, address);
}

void MemoryExclusiveness::Strexb(unsigned status_id, unsigned char value, unsigned address) {
  Store<unsigned char>(status_id, value, address);
}

}  // namespace orvo
