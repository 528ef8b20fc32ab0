// The table of chips. Deliberate: the frequencies and flash bounds stand as they are, the 800 MHz
// of the STM32L4 and the differing bounds included.
#include "mcu/platform.h"

#include <unordered_map>

#include "mcu/nrf52.h"
#include "runner/errors.h"

namespace orvo {

namespace {

template <class Chip>
std::unique_ptr<Mcu> Make(ScenarioFileHandler& scenario, WireManager* wires,
                          ConnectionManager* connection) {
  return std::make_unique<Chip>(scenario, wires, connection);
}

const std::unordered_map<std::string, PlatformDetails>& PlatformsDetails() {
  // clang-format off
  static const std::unordered_map<std::string, PlatformDetails> platforms_details = {
      // name              max frequency  flash bound  ports          model
      {"nrf52832",        {0,             0,           "",            Make<Nrf52832>}},
      {"nrf52840",        {0,             0,           "",            Make<Nrf52840>}},
      {"stm32f401",       {84'000'000,    0x3ffff,     "ABCDEH",      nullptr}},
      {"stm32f407",       {168'000'000,   0xfffff,     "ABCDEFGHI",   nullptr}},
      {"stm32f410",       {100'000'000,   0x1ffff,     "ABCH",        nullptr}},
      {"stm32f411",       {100'000'000,   0x80000,     "ABCDEH",      nullptr}},
      {"stm32f413",       {100'000'000,   0x7ffffff,   "ABCDEFGH",    nullptr}},
      {"stm32f429",       {180'000'000,   0x1fffff,    "ABCDEFGHIJK", nullptr}},
      {"stm32f446",       {180'000'000,   0x1fffff,    "ABCDEFGH",    nullptr}},
      {"stm32l476",       {800'000'000,   0x100000,    "ABCDEGH",     nullptr}},
      {"stm32l475",       {800'000'000,   0x100000,    "ABCDEFGH",    nullptr}},
      {"mk64fn1m0vll12",  {120'000'000,   0x7ffffff,   "ABCDE",       nullptr}},
  };
  // clang-format on
  return platforms_details;
}

}  // namespace

bool IsPlatformSupported(const std::string& name) { return PlatformsDetails().count(name) != 0; }

const PlatformDetails& Platform(const std::string& name) {
  const auto found = PlatformsDetails().find(name);
  if (found == PlatformsDetails().end()) throw UserError("Platform " + name + " not supported");
  return found->second;
}

std::unique_ptr<Mcu> CreateMcu(const std::string& name, ScenarioFileHandler& scenario,
                               WireManager* wires, ConnectionManager* connection) {
  const PlatformDetails& platform = Platform(name);
  if (platform.create == nullptr) {
    throw UserError("Platform " + name + " is known, but its model is not built in");
  }
  std::unique_ptr<Mcu> mcu = platform.create(scenario, wires, connection);
  mcu->start();
  return mcu;
}

}  // namespace orvo
