// The listener interface of memory sections and wires.
#pragma once

#include <vector>

namespace orvo {

template <class T>
class Observer {
 public:
  virtual void Update(std::vector<T>* events) = 0;
  virtual void UpdateOne(T* event) {
    std::vector<T> events{*event};
    Update(&events);
  }
  virtual ~Observer() = default;
};

// An access to memory, or a store that the peripheral interconnect hears of.
struct MemoryNotification {
  unsigned address = 0;   // absolute
  unsigned value = 0;     // masked to the width of the access
  unsigned is_write = 0;  // 1 for a write; 0 for a read and for every store signalled to the PPI
};

}  // namespace orvo
