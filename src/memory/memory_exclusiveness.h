// The monitor of the exclusive loads and stores (ARMv7-M ARM, A3.4). Unlike the chip's it watches
// no addresses: a store succeeds if memory still holds the value that the load saw. Another
// store of the same value in between goes unnoticed. Entries belong to an exception level, so that
// a load in an interrupt handler doesn't serve a store in thread mode.
#pragma once

#include <map>
#include <utility>

namespace orvo {

class Mcu;

class MemoryExclusiveness {
 public:
  explicit MemoryExclusiveness(Mcu* mcu) : mcu_(mcu) {}

  // Loads the word, half-word or byte at the address into the register of an id (core/registers.h).
  void Ldrex(unsigned register_id, unsigned address);
  void Ldrexh(unsigned register_id, unsigned address);
  void Ldrexb(unsigned register_id, unsigned address);

  // Stores the value if the pair is intact; the status register gets 0 for done, 1 for refused.
  void Strex(unsigned status_id, unsigned value, unsigned address);
  void Strexh(unsigned status_id, unsigned short value, unsigned address);
  void Strexb(unsigned status_id, unsigned char value, unsigned address);

  // Forgets all loads.
  void Clrex() { seen_.clear(); }

 private:
  using Key = std::pair<unsigned, unsigned>;  // exception number, address

  Key KeyOf(unsigned address) const;
  template <class T>
  void Load(unsigned register_id, unsigned address);
  template <class T>
  void Store(unsigned status_id, T value, unsigned address);
  void WriteRegister(unsigned id, unsigned value);

  Mcu* mcu_;
  std::map<Key, unsigned> seen_;
};

}  // namespace orvo
