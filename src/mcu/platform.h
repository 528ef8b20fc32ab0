// The chips that can be simulated, by name.
#pragma once

#include <memory>
#include <string>

#include "mcu/mcu.h"

namespace orvo {

struct PlatformDetails {
  unsigned max_frequency_hz = 0;
  unsigned flash_bound = 0;
  std::string ports;  // letters of the GPIO ports
  // Null for a chip whose model is not built in.
  std::unique_ptr<Mcu> (*create)(ScenarioFileHandler&, WireManager*, ConnectionManager*) = nullptr;
};

bool IsPlatformSupported(const std::string& name);
// Throws UserError "Platform <name> not supported" for an unknown name.
const PlatformDetails& Platform(const std::string& name);

}  // namespace orvo
