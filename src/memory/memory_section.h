// One contiguous address range with its own backing bytes. Plain sections are silent storage;
// peripherals, aliases and protected flash derive from it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>

#include "devices/peripheral.h"
#include "memory/observer.h"
#include "runner/orvo_signals.h"

namespace spdlog {
class logger;
}

namespace orvo {

class Memory;

// 0: the reset of power-on and of SetResetValues; 1: software reset. Sections decide what to keep.
using ResetType = unsigned;
inline constexpr ResetType kPowerOnReset = 0;
inline constexpr ResetType kSoftwareReset = 1;

class MemorySection : public Peripheral {
 public:
  // Covers [start, start + size_bytes). Bytes are 0xFF in a section named "Flash", 0 in any other.
  MemorySection(Mcu* mcu, std::string name, unsigned start, unsigned size_bytes);
  ~MemorySection() override;

  // Offsets are relative to the section's start. Loads and stores are little-endian at any
  // alignment; what lies beyond the end reads 0 and takes no store.
  virtual void wrongAddressAccess(unsigned offset);
  virtual unsigned get(unsigned offset) { return Load<unsigned>(offset); }
  virtual unsigned short getHalfWord(unsigned offset);
  virtual unsigned char getByte(unsigned offset);
  // Host address of the byte at offset; null if there is none.
  virtual unsigned char* GetORVOPtr(unsigned offset) {
    return bytes_ != nullptr && offset < size_ ? bytes_.get() + offset : nullptr;
  }
  // Store and tell the event observer.
  virtual void set(unsigned offset, unsigned value);
  virtual void setHalfWord(unsigned offset, unsigned short value);
  virtual void setByte(unsigned offset, unsigned char value);
  // Store and tell nobody.
  virtual void AssignValue(unsigned offset, unsigned value);
  virtual void AssignHalfWordValue(unsigned offset, unsigned short value);
  virtual void AssignByteValue(unsigned offset, unsigned char value);
  virtual void SignalToPpiIfNeeded(unsigned offset, unsigned value);
  virtual void Reset(ResetType type);
  virtual void Init() {}
  virtual void ApplyConfiguration(const nlohmann::json& configuration);
  virtual unsigned GetRegisterOffset(unsigned offset) { return offset; }
  virtual unsigned GetRegisterSize(unsigned offset);
  // Whether Memory may serve loads or stores from the section's bytes, past the virtual accessors.
  virtual bool LoadsArePlain() const { return false; }
  virtual bool StoresArePlain() const { return false; }
  bool IsPlainStorage() const { return LoadsArePlain() && StoresArePlain(); }

  unsigned start() const { return start_; }
  unsigned end() const { return start_ + size_; }  // one past the last byte
  unsigned size() const { return size_; }
  const std::string& name() const { return name_; }
  unsigned char* bytes() const { return bytes_.get(); }

  // New bytes are 0, in "Flash" too.
  void Resize(unsigned size_bytes);
  void SetSudoMode(bool on) { sudo_ = on; }
  bool sudo() const { return sudo_; }
  // The text form of a memory dump.
  void serializeToFile(std::ostream* stream) const;
  // A bit beyond 31 doesn't exist: nothing happens.
  void TurnOnBitReg(unsigned offset, unsigned bit);
  void TurnOffBitReg(unsigned offset, unsigned bit);

  // Told of every notified access; null for none.
  void SetAccessObserver(Observer<MemoryNotification>* observer);
  Observer<MemoryNotification>* access_observer() const { return access_observer_; }
  // Told of every store through set, setHalfWord and setByte; null for none. Never cleared.
  void SetEventObserver(Observer<MemoryNotification>* observer);
  Observer<MemoryNotification>* event_observer() const { return event_observer_; }

 protected:
  // For the constructor of a class that overrides AssignValue and its siblings: set, setHalfWord
  // and setByte call them then. For all others they store without a virtual call.
  void UseOwnAssign() { own_assign_ = true; }
  // Frees the bytes, for sections that only redirect.
  void DropBytes() { bytes_.reset(); }
  // The section's logger, built when something is first written to it.
  spdlog::logger& log();

 private:
  void SwitchBit(unsigned offset, unsigned bit, bool on);
  // How many bytes of a T at the offset exist.
  template <class T>
  size_t Within(unsigned offset) const {
    if (offset >= size_ || bytes_ == nullptr) return 0;
    return std::min<size_t>(sizeof(T), size_ - offset);
  }
  template <class T>
  T Load(unsigned offset) const {
    T value = 0;
    const size_t length = Within<T>(offset);
    if (length == sizeof(T)) {
      std::memcpy(&value, bytes_.get() + offset, sizeof(T));
    } else if (sizeof(T) > 1 && length != 0) {
      std::memcpy(&value, bytes_.get() + offset, length);
    }
    return value;
  }
  template <class T>
  void Store(unsigned offset, T value) {
    const size_t length = Within<T>(offset);
    if (length == sizeof(T)) {
      std::memcpy(bytes_.get() + offset, &value, sizeof(T));
    } else if (sizeof(T) > 1 && length != 0) {
      std::memcpy(bytes_.get() + offset, &value, length);
    }
  }

  unsigned size_;
  unsigned start_;
  Observer<MemoryNotification>* access_observer_ = nullptr;
  Observer<MemoryNotification>* event_observer_ = nullptr;
  bool sudo_ = false;
  bool own_assign_ = false;
  std::string name_;
  std::unique_ptr<unsigned char[]> bytes_;
  std::shared_ptr<spdlog::logger> logger_;
  Connection<ArgsManager&> options_connection_;
};

// Storage without behaviour: RAM, flash, trace units and the like.
class PlainSection : public MemorySection {
 public:
  using MemorySection::MemorySection;
  bool LoadsArePlain() const override { return true; }
  bool StoresArePlain() const override { return true; }
};

// A block that the chip has and the model deliberately doesn't: any access ends the run.
class UnimplementedSection : public MemorySection {
 public:
  using MemorySection::MemorySection;
  void wrongAddressAccess(unsigned offset) override;
  unsigned get(unsigned offset) override;
  unsigned short getHalfWord(unsigned offset) override;
  unsigned char getByte(unsigned offset) override;
  void set(unsigned offset, unsigned value) override;
  void setHalfWord(unsigned offset, unsigned short value) override;
  void setByte(unsigned offset, unsigned char value) override;
};

}  // namespace orvo
