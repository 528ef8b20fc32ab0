#include "memory/memory.h"

#include <iostream>

#include "mcu/mcu.h"
#include "memory/peripheral_memory.h"
#include "runner/text.h"
#include "time/scb_bits.h"
#include "time/system_control_block.h"

namespace orvo {

namespace {

constexpr size_t kMaxSections = 255;

bool Covers(const MemorySection* section, unsigned address) {
  return section != nullptr && address - section->start() < section->size();
}

template <class T>
T Load(MemorySection& section, unsigned offset) {
  if constexpr (sizeof(T) == sizeof(unsigned)) {
    return section.get(offset);
  } else if constexpr (sizeof(T) == sizeof(unsigned short)) {
    return section.getHalfWord(offset);
  } else {
    return section.getByte(offset);
  }
}

template <class T>
void Store(MemorySection& section, unsigned offset, T value) {
  if constexpr (sizeof(T) == sizeof(unsigned)) {
    section.set(offset, value);
  } else if constexpr (sizeof(T) == sizeof(unsigned short)) {
    section.setHalfWord(offset, value);
  } else {
    section.setByte(offset, value);
  }
}

void Notify(const MemorySection& section, unsigned address, unsigned value, unsigned is_write) {
  if (section.access_observer() == nullptr) return;
  MemoryNotification event{address, value, is_write};
  section.access_observer()->UpdateOne(&event);
}

}  // namespace

Memory::~Memory() {
  // An observer may be a section that goes before the one that it observes.
  for (MemorySection* section : sections_) {
    if (section->access_observer() != nullptr) section->SetAccessObserver(nullptr);
    if (section->event_observer() != nullptr) section->SetEventObserver(nullptr);
  }
  // Later sections may refer to earlier ones.
  while (!sections_.empty()) {
    delete sections_.back();
    sections_.pop_back();
  }
}

// --- Sized accesses ------------------------------------------------------------------------------
// RAM first, then flash, then the registers that were accessed before, then the search. Only the
// first byte of an access decides which section it belongs to.

template <class T, bool notify>
Memory::Loaded<T> Memory::ReadElsewhere(unsigned address) {
  T value;
  const MemorySection* used;
  if (MemorySection* storage = RamOrFlash(address); storage != nullptr) {
    used = storage;
    value = orvo::Load<T>(*storage, address - storage->start());
  } else if (const auto found = ReadShortcuts<T>().find(address);
             found != ReadShortcuts<T>().end()) {
    const RegisterAccessor& accessor = found->second;
    used = accessor.section;
    value = static_cast<T>(accessor.Get());
  } else {
    MemorySection* section = FindSection(address);
    if (section == nullptr) return {0, false};
    used = section;
    value = orvo::Load<T>(*section, address - section->start());
  }
  if constexpr (notify) Notify(*used, address, value, 0);
  return {value, true};
}

template <class T, bool notify>
void Memory::WriteElsewhere(unsigned address, T value) {
  const MemorySection* used;
  if (MemorySection* storage = RamOrFlash(address); storage != nullptr) {
    used = storage;
    orvo::Store<T>(*storage, address - storage->start(), value);
  } else if (const auto found = WriteShortcuts<T>().find(address);
             found != WriteShortcuts<T>().end()) {
    const RegisterAccessor& accessor = found->second;
    used = accessor.section;
    accessor.Set(value);
  } else {
    MemorySection* section = FindSection(address);
    if (section == nullptr) return;
    used = section;
    orvo::Store<T>(*section, address - section->start(), value);
  }
  if constexpr (notify) Notify(*used, address, value, 1);
}

template Memory::Loaded<unsigned> Memory::ReadElsewhere<unsigned, true>(unsigned);
template Memory::Loaded<unsigned> Memory::ReadElsewhere<unsigned, false>(unsigned);
template Memory::Loaded<unsigned short> Memory::ReadElsewhere<unsigned short, true>(unsigned);
template Memory::Loaded<unsigned short> Memory::ReadElsewhere<unsigned short, false>(unsigned);
template Memory::Loaded<unsigned char> Memory::ReadElsewhere<unsigned char, true>(unsigned);
template Memory::Loaded<unsigned char> Memory::ReadElsewhere<unsigned char, false>(unsigned);
template void Memory::WriteElsewhere<unsigned, true>(unsigned, unsigned);
template void Memory::WriteElsewhere<unsigned, false>(unsigned, unsigned);
template void Memory::WriteElsewhere<unsigned short, true>(unsigned, unsigned short);
template void Memory::WriteElsewhere<unsigned short, false>(unsigned, unsigned short);
template void Memory::WriteElsewhere<unsigned char, true>(unsigned, unsigned char);
template void Memory::WriteElsewhere<unsigned char, false>(unsigned, unsigned char);

MemorySection* Memory::RamOrFlash(unsigned address) const {
  if (Covers(data_ram_section_, address)) return data_ram_section_;
  if (Covers(flash_section_, address)) return flash_section_;
  return nullptr;
}

void Memory::setBuffer(unsigned address, const unsigned char* bytes, unsigned long length) {
  for (unsigned long n = 0; n < length; ++n) {
    setByte<false>(address + static_cast<unsigned>(n), bytes[n]);
  }
}

// --- Sections ------------------------------------------------------------------------------------

void Memory::AddSection(MemorySection* section) {
  std::unique_ptr<MemorySection> owned(section);
  if (sections_.size() >= kMaxSections) {
    throw OrvoError("Too many memory sections in generated memory mapping");
  }
  if (section->name() == "Flash") flash_section_ = section;
  if (section->name() == "Data RAM") data_ram_section_ = section;
  if (section->name() == "SystemControlBlock") system_control_block_ = section;
  by_name_[section->name()] = section;
  // Of two sections with one last byte the later is found; the other keeps its name.
  if (section->size() != 0) by_last_address_[section->end() - 1] = section;
  sections_.push_back(owned.release());
  UpdateWindows();
}

void Memory::UpdateSectionSize(unsigned old_end, unsigned new_end, MemorySection* section) {
  const auto old = by_last_address_.find(old_end - 1);
  if (old != by_last_address_.end() && old->second == section) by_last_address_.erase(old);
  if (section->size() != 0) by_last_address_[new_end - 1] = section;
  UpdateWindows();
}

// An event observer hears of stores only: a PPI channel that names address 0, as one does that
// firmware has cleared, leaves flash as fast as it was.
void Memory::UpdateWindows() {
  const MemorySection* ram = data_ram_section_;
  ram_ = WindowOf(ram, ram != nullptr && ram->StoresArePlain() && ram->event_observer() == nullptr);
  flash_ = WindowOf(flash_section_, true);
}

Memory::Window Memory::WindowOf(const MemorySection* section, bool open) {
  if (!open || section == nullptr || !section->LoadsArePlain() ||
      section->access_observer() != nullptr) {
    return {};
  }
  return {section->start(), section->size(), section->bytes()};
}

// The shortcut is looked for first: handlers that reach a register through its section pass here
// each time.
void Memory::AddShortcut(Shortcuts& shortcuts, unsigned address, const RegisterAccessor& accessor) {
  if (shortcuts.count(address) != 0 || LookUpSection(address) != accessor.section) return;
  shortcuts.emplace(address, accessor);
}

MemorySection* Memory::LookUpSection(unsigned address) const {
  // First because every exception-related register lies there, and because the plain sections of
  // debug units may lie inside its range.
  if (Covers(system_control_block_, address)) return system_control_block_;
  const auto found = by_last_address_.lower_bound(address);
  if (found == by_last_address_.end() || !Covers(found->second, address)) return nullptr;
  return found->second;
}

MemorySection* Memory::FindSection(unsigned address) {
  if (MemorySection* section = LookUpSection(address); section != nullptr) return section;
  std::cerr << "Warning: Unknown address 0x" << IntToHex(address) << ". Raising memory manage fault"
            << std::endl;
  if (system_control_block_ != nullptr) {
    constexpr unsigned kMmfar = Cm4SystemControlBlock::MMFAR;
    constexpr unsigned kCfsr = Cm4SystemControlBlock::CFSR;
    system_control_block_->set(kMmfar, address);
    system_control_block_->set(kCfsr, system_control_block_->get(kCfsr) | scb::kMmarValid);
  }
  OrvoSignals::Get().raise_interrupt.emit(kMemManage);
  return nullptr;
}

MemorySection* Memory::SectionByName(const std::string& name) const {
  const auto found = by_name_.find(name);
  return found == by_name_.end() ? nullptr : found->second;
}

void Memory::Init() {
  for (MemorySection* section : sections_) section->Init();
}

void Memory::ResetMemory(ResetType type) {
  for (MemorySection* section : sections_) section->Reset(type);
}

void Memory::serializeToFile(std::ostream* stream) const {
  for (const MemorySection* section : sections_) section->serializeToFile(stream);
}

}  // namespace orvo
