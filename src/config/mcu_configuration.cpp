// The chip's entry of the board: its configuration, and the default pins.
#include "config/configuration_file_handler.h"
#include "mcu/platform.h"
#include "runner/errors.h"
#include "wires/wire_manager.h"

namespace orvo {

namespace {

constexpr unsigned kDefaultHseHz = 8'000'000;
constexpr unsigned kNrf52PinsPerPort = 32;
constexpr unsigned kPinsPerLetter = 16;

// The keys of the chip's configuration, and the reader that refuses other types.
struct KnownKey {
  const char* name;
  void (*read)(const JsonPlace&);
};
void ReadInteger(const JsonPlace& place) { place.Int32(); }
void ReadUnsigned(const JsonPlace& place) { place.Unsigned32(); }
void ReadObject(const JsonPlace& place) { place.Object(); }
void ReadArray(const JsonPlace& place) { place.Array(); }
// clang-format off
constexpr KnownKey kKnownKeys[] = {
    {"ram_size",               ReadInteger},
    {"flash_size",             ReadInteger},
    {"external_ram_size",      ReadInteger},
    {"HSE",                    ReadUnsigned},
    {"seed",                   ReadUnsigned},
    {"load_ble_memory_values", [](const JsonPlace& place) { place.Bool(); }},
    {"pins",                   ReadObject},
    {"radio",                  ReadObject},
    {"ficr",                   ReadObject},
    {"load_ficr_regs",         ReadArray},
    {"load_temp_regs",         ReadArray},
    {"load_errate_regs",       ReadArray},
    {"internal_peripherals",   [](const JsonPlace&) {}},  // read when the chip is built
};
// clang-format on

}  // namespace

size_t ConfigurationFileHandler::McuIndex() const {
  size_t index = 0;
  for (const JsonPlace& component : JsonPlace(GetComponents(), file_, "components").Elements()) {
    if (IsMcuComponent(component)) return index;
    ++index;
  }
  throw UserError("board.json: Mcu component not exists");
}

const nlohmann::json& ConfigurationFileHandler::GetMcuConfig() const {
  const JsonPlace component(GetComponents()[McuIndex()], file_, "Mcu");
  if (!component.Has("config")) throw UserError("board.json: Mcu config not exists");
  return component["config"].Object();
}

JsonPlace ConfigurationFileHandler::McuConfigPlace() const {
  static const nlohmann::json nothing;
  const bool loaded = !document_.is_null();
  return JsonPlace(loaded ? GetMcuConfig() : nothing, file_, "Mcu config", problems_);
}

nlohmann::json& ConfigurationFileHandler::McuConfigForUpdate() {
  nlohmann::json& config = document_["components"][McuIndex()]["config"];
  if (config.is_null()) config = nlohmann::json::object();
  JsonPlace(config, file_, "Mcu config").Object();
  return config;
}

unsigned ConfigurationFileHandler::GetIntFromMcuConfig(const std::string& key) const {
  const JsonPlace config = McuConfigPlace();
  return config.Has(key) ? static_cast<unsigned>(config[key].Int32()) : ~0u;
}

const nlohmann::json& ConfigurationFileHandler::GetConfigPins() const {
  const JsonPlace config = McuConfigPlace();
  if (!config.Has("pins")) throw UserError("board.json: Mcu pins not exists");
  return config["pins"].Object();
}

// Of the default pins a chip with fewer ports leaves some.
void ConfigurationFileHandler::WarnOfOtherPins(const WireManager& wires) const {
  if (!names_pins_) return;
  std::vector<std::string_view> known;
  for (const auto& [name, wire] : wires.pin_names()) known.push_back(name);
  McuConfigPlace()["pins"].WarnOfOtherKeys(known);
}

const nlohmann::json& ConfigurationFileHandler::GetInternalsPeripherals() const {
  const JsonPlace config = McuConfigPlace();
  if (!config.Has("internal_peripherals")) {
    throw UserError("board.json: Mcu internal_peripherals not exists");
  }
  return config["internal_peripherals"].value();
}

unsigned ConfigurationFileHandler::GetHSEFrequency() const {
  const JsonPlace config = McuConfigPlace();
  return config.Has("HSE") ? config["HSE"].Unsigned32() : kDefaultHseHz;
}

std::optional<unsigned> ConfigurationFileHandler::GetSeed() const {
  const JsonPlace config = McuConfigPlace();
  if (!config.Has("seed")) return std::nullopt;
  return config["seed"].Unsigned32();
}

bool ConfigurationFileHandler::CheckIfLoadBle() const {
  const JsonPlace config = McuConfigPlace();
  return config.Has("load_ble_memory_values") && config["load_ble_memory_values"].Bool();
}

void ConfigurationFileHandler::MergeMcuConfigFromFile(const JsonPlace& component) {
  if (!component.Has("config")) return;
  const JsonPlace config = component["config"];
  McuConfigForUpdate().update(config.Object());
  names_pins_ = names_pins_ || config.Has("pins");
}

void ConfigurationFileHandler::CheckMcuConfig() const {
  const JsonPlace config = McuConfigPlace();
  std::vector<std::string_view> names;
  for (const KnownKey& key : kKnownKeys) {
    if (config.Has(key.name)) key.read(config[key.name]);
    names.push_back(key.name);
  }
  config.WarnOfOtherKeys(names);
}

// ---- Default pins ----

void ConfigurationFileHandler::InitPinsConfig(const std::string& platform) {
  const auto holds = [&platform](const char* family) {
    return platform.find(family) != std::string::npos;
  };
  if (holds("nrf52")) {
    InitNrf52PinsConfig();
  } else if (holds("stm32")) {
    InitStm32PinsConfig(platform);
  } else if (holds("mk64")) {
    InitMk64PinsConfig(platform);
  }
}

void ConfigurationFileHandler::InitNrf52PinsConfig() {
  nlohmann::json& pins = McuConfigForUpdate()["pins"];
  for (unsigned pin = 0; pin < kNrf52PinsPerPort; ++pin) {
    pins["P0_" + std::to_string(pin)] = pin;
    pins["P1_" + std::to_string(pin)] = pin + kNrf52PinsPerPort;
  }
}

void ConfigurationFileHandler::InitStm32PinsConfig(const std::string& platform) {
  InitPortPins(Platform(platform).ports);
}

void ConfigurationFileHandler::InitMk64PinsConfig(const std::string& platform) {
  InitPortPins(Platform(platform).ports);
}

void ConfigurationFileHandler::InitPortPins(const std::string& ports) {
  nlohmann::json& pins = McuConfigForUpdate()["pins"];
  unsigned wire = 0;
  for (const char letter : ports) {
    for (unsigned pin = 0; pin < kPinsPerLetter; ++pin) {
      pins[letter + std::to_string(pin)] = wire++;
    }
  }
}

}  // namespace orvo
