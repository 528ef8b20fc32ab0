// The 32-bit address space of the chip: a flat collection of sections.
// RAM and flash accesses take two range comparisons; a register that was accessed before takes one
// hash look-up and a call of its accessor; only the rest searches the sections.
#pragma once

#include <cstring>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <unordered_map>
#include <vector>

#include "memory/memory_section.h"
#include "runner/errors.h"

namespace orvo {

class PeripheralMemory;

// A register accessor bound to its section: offset and element number are settled at table time.
struct RegisterAccessor {
  using Getter = unsigned (*)(PeripheralMemory*, unsigned offset, unsigned index);
  using Setter = void (*)(PeripheralMemory*, unsigned offset, unsigned index, unsigned value);

  PeripheralMemory* section = nullptr;
  Getter getter = nullptr;
  Setter setter = nullptr;
  unsigned offset = 0;
  unsigned index = 0;

  unsigned Get() const { return getter(section, offset, index); }
  void Set(unsigned value) const { setter(section, offset, index, value); }
};

class Memory : public Observer<MemoryNotification> {
 public:
  explicit Memory(Mcu* mcu) : mcu_(mcu) {}
  Memory(const Memory&) = delete;
  Memory& operator=(const Memory&) = delete;
  ~Memory() override;

  // Sized accesses at any alignment. `notify` tells the section's access observer: true for what
  // the firmware's instructions do, false for what the simulator does on its own behalf. Outside
  // all sections a read gives 0, a store is dropped, and MemManage is raised.
  template <bool notify>
  unsigned get(unsigned address) {
    return Read<unsigned, notify>(address).value;
  }
  template <bool notify>
  unsigned short getHalfWord(unsigned address) {
    return Read<unsigned short, notify>(address).value;
  }
  template <bool notify>
  unsigned char getByte(unsigned address) {
    return Read<unsigned char, notify>(address).value;
  }
  template <bool notify>
  void set(unsigned address, unsigned value) {
    Write<unsigned, notify>(address, value);
  }
  template <bool notify>
  void setHalfWord(unsigned address, unsigned short value) {
    Write<unsigned short, notify>(address, value);
  }
  template <bool notify>
  void setByte(unsigned address, unsigned char value) {
    Write<unsigned char, notify>(address, value);
  }

  // A read that says whether the address was in a section: single loads write no register if not.
  template <class T>
  struct Loaded {
    T value;
    bool ok;
  };
  template <class T, bool notify>
  Loaded<T> Read(unsigned address) {
    if (ram_.Holds<T>(address)) return {ram_.Load<T>(address), true};
    if (flash_.Holds<T>(address)) return {flash_.Load<T>(address), true};
    return ReadElsewhere<T, notify>(address);
  }
  template <class T, bool notify>
  void Write(unsigned address, T value) {
    if (ram_.Holds<T>(address)) {
      ram_.Store<T>(address, value);
    } else {
      WriteElsewhere<T, notify>(address, value);
    }
  }

  // Host address of a range of RAM that is served straight from its bytes, null if the range isn't
  // all there: for register lists.
  unsigned char* RamBytes(unsigned address, unsigned length_bytes) const {
    return ram_.HoldsBytes(address, length_bytes) ? ram_.bytes + (address - ram_.start) : nullptr;
  }

  // Stores bytes one at a time, without notification.
  void setBuffer(unsigned address, const unsigned char* bytes, unsigned long length);

  // Takes ownership. Throws OrvoError from the 256th section on.
  void AddSection(MemorySection* section);
  // Called by MemorySection::Resize.
  void UpdateSectionSize(unsigned old_end, unsigned new_end, MemorySection* section);
  // Called by sections that get an observer.
  void UpdateWindows();
  // The section that holds the address, or null after raising MemManage.
  MemorySection* FindSection(unsigned address);
  // The same without a fault: for debuggers and dumps.
  MemorySection* LookUpSection(unsigned address) const;
  // Throws OrvoError for a name that no section has, or whose section isn't a T.
  template <class T = MemorySection>
  T* GetSectionByName(const std::string& name) const {
    MemorySection* section = SectionByName(name);
    if (section == nullptr) throw OrvoError("Unknown section : " + name + " in memory section");
    T* handler = dynamic_cast<T*>(section);
    if (handler == nullptr) throw OrvoError("Section " + name + " has another class than expected");
    return handler;
  }
  bool HasSection(const std::string& name) const { return by_name_.count(name) != 0; }
  const std::vector<MemorySection*>& GetSections() const { return sections_; }
  MemorySection* GetBackSection() const { return sections_.back(); }

  void Init();
  void ResetMemory(ResetType type);
  // Prepares three flash pages of a Bluetooth stack's persistent store, if the board asks for it.
  void loadBLEAppTemplate();
  void serializeToFile(std::ostream* stream) const;

  // Entered by PeripheralMemory at the first access of exactly the register's width, which T gives.
  // Not for a section that is reached by name only, behind another one of the same place.
  template <class T>
  void AddReadShortcut(unsigned address, const RegisterAccessor& accessor) {
    AddShortcut(ReadShortcuts<T>(), address, accessor);
  }
  template <class T>
  void AddWriteShortcut(unsigned address, const RegisterAccessor& accessor) {
    AddShortcut(WriteShortcuts<T>(), address, accessor);
  }

  // Nothing relies on notifications to Memory itself.
  void Update(std::vector<MemoryNotification>*) override {}

 private:
  using Shortcuts = std::unordered_map<unsigned, RegisterAccessor>;

  // A section that is served straight from its bytes: no range at all while somebody observes what
  // the window serves, or the section isn't plain storage for it.
  struct Window {
    unsigned start = 0;
    unsigned long size = 0;
    unsigned char* bytes = nullptr;

    bool HoldsBytes(unsigned address, unsigned length_bytes) const {
      return static_cast<unsigned long>(address - start) + length_bytes <= size;
    }
    template <class T>
    bool Holds(unsigned address) const {
      return HoldsBytes(address, sizeof(T));
    }
    template <class T>
    T Load(unsigned address) const {
      T value;
      std::memcpy(&value, bytes + (address - start), sizeof(T));
      return value;
    }
    template <class T>
    void Store(unsigned address, T value) const {
      std::memcpy(bytes + (address - start), &value, sizeof(T));
    }
  };

  template <class T, bool notify>
  Loaded<T> ReadElsewhere(unsigned address);
  template <class T, bool notify>
  void WriteElsewhere(unsigned address, T value);
  MemorySection* SectionByName(const std::string& name) const;
  void AddShortcut(Shortcuts& shortcuts, unsigned address, const RegisterAccessor& accessor);
  static Window WindowOf(const MemorySection* section, bool open);
  // The section "Data RAM" or "Flash" if the address lies in it, otherwise null.
  MemorySection* RamOrFlash(unsigned address) const;
  template <class T>
  Shortcuts& ReadShortcuts() {
    if constexpr (sizeof(T) == sizeof(unsigned)) return read_word_;
    if constexpr (sizeof(T) == sizeof(unsigned short)) return read_half_word_;
    if constexpr (sizeof(T) == sizeof(unsigned char)) return read_byte_;
  }
  template <class T>
  Shortcuts& WriteShortcuts() {
    if constexpr (sizeof(T) == sizeof(unsigned)) return write_word_;
    if constexpr (sizeof(T) == sizeof(unsigned short)) return write_half_word_;
    if constexpr (sizeof(T) == sizeof(unsigned char)) return write_byte_;
  }

  Window ram_;    // loads and stores
  Window flash_;  // loads
  MemorySection* data_ram_section_ = nullptr;
  MemorySection* flash_section_ = nullptr;
  MemorySection* system_control_block_ = nullptr;
  Shortcuts read_word_, read_half_word_, read_byte_;
  Shortcuts write_word_, write_half_word_, write_byte_;
  std::map<unsigned, MemorySection*> by_last_address_;
  std::vector<MemorySection*> sections_;
  std::unordered_map<std::string, MemorySection*> by_name_;
  Mcu* mcu_;
};

}  // namespace orvo
