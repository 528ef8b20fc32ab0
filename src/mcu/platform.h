// The chips that can be simulated, by name.
#pragma once

#include <memory>
#include <string>

#include "mcu/mcu.h"

namespace orvo {

struct PlatformDetails {
  unsigned max_frequency_hz = 0;  // of the core; 0 where no clock tree asks
  unsigned flash_bound = 0;       // last address of the flash alias at 0
  std::string ports;              // letters of the GPIO ports
  // Null for a chip whose model is not built in.
  std::unique_ptr<Mcu> (*create)(ScenarioFileHandler&, WireManager*, ConnectionManager*) = nullptr;
};

bool IsPlatformSupported(const std::string& name);
// Throws UserError "Platform <name> not supported" for an unknown name.
const PlatformDetails& Platform(const std::string& name);
// The chip itself, started. Throws UserError for an unknown name and for a chip whose model is not
// built in.
std::unique_ptr<Mcu> CreateMcu(const std::string& name, ScenarioFileHandler& scenario,
                               WireManager* wires, ConnectionManager* connection);

}  // namespace orvo
