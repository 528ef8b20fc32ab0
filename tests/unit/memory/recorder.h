// An observer that writes down what it hears.
#pragma once

#include <string>
#include <vector>

#include "memory/observer.h"
#include "runner/text.h"

namespace orvo {

struct Recorder : Observer<MemoryNotification> {
  // "address value r" or "... w", numbers in hexadecimal.
  void Update(std::vector<MemoryNotification>* events) override {
    for (const MemoryNotification& event : *events) {
      seen.push_back(IntToHex(event.address) + ' ' + IntToHex(event.value) +
                     (event.is_write != 0 ? " w" : " r"));
    }
  }
  std::vector<std::string> seen;
};

}  // namespace orvo
