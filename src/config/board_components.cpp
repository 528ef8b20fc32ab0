// The list of components: merging the user's into the default board's, and building the devices.
#include <algorithm>
#include <cctype>

#include "config/configuration_file_handler.h"
#include "config/scenario_file_handler.h"
#include "mcu/platform.h"
#include "runner/errors.h"

namespace orvo {

namespace {

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

void CheckType(const JsonPlace& component) {
  if (!component.Has("type")) return;
  const std::string& type = component["type"].String();
  const std::string lower_case = LowerCase(type);
  if (lower_case != "peripheral" && lower_case != "mcu") {
    throw UserError("Unsupported type : " + type + ". Type should be Peripheral or Mcu");
  }
}

// A merged component by its name, if it has one: its number isn't the one in the user's file.
JsonPlace ByName(const JsonPlace& component) {
  if (!component.Has("name")) return component;
  return JsonPlace(component.value(), component.document(),
                   "component \"" + component["name"].String() + "\"");
}

[[noreturn]] void ReportDuplicate(const std::string& name) {
  throw UserError("board.json: Duplicate peripheral: " + name +
                  " . Each peripheral must have a unique name");
}

}  // namespace

const nlohmann::json& ConfigurationFileHandler::GetComponents() const {
  const JsonPlace board(document_, file_);
  if (!board.Has("components")) throw UserError("board.json: components not exists");
  return board["components"].Array();
}

void ConfigurationFileHandler::AddComponent(const nlohmann::json& component) {
  document_["components"].push_back(component);
}

bool ConfigurationFileHandler::IsMcuComponent(const JsonPlace& component) {
  return component.Has("class") && IsPlatformSupported(LowerCase(component["class"].String()));
}

std::string ConfigurationFileHandler::GetComponentName(const JsonPlace& component) {
  if (!component.Has("name")) {
    if (component.Has("class")) {
      throw UserError("board.json: Missing name field in one of the peripherals");
    }
    return "";
  }
  const std::string& name = component["name"].String();
  if (!names_.insert(name).second) ReportDuplicate(name);
  return name;
}

void ConfigurationFileHandler::RemoveDefaultComponents() {
  const nlohmann::json components = GetComponents();
  nlohmann::json kept = nlohmann::json::array();
  for (const JsonPlace& component : JsonPlace(components, file_, "components").Elements()) {
    if (IsMcuComponent(component)) kept.push_back(component.value());
  }
  document_["components"] = kept;
}

void ConfigurationFileHandler::InitComponents(const JsonPlace& board) {
  if (!board.Has("components")) return;
  const JsonPlace components = board["components"];
  components.Array();
  for (const JsonPlace& component : components.Elements()) {
    component.Object();
    if (IsMcuComponent(component)) {
      MergeMcuConfigFromFile(component);
    } else {
      GetComponentName(component);
      AddComponent(component.value());
    }
  }
}

void ConfigurationFileHandler::InitDataGenerators(const JsonPlace& board,
                                                  ScenarioFileHandler* scenario) {
  if (!board.Has("DataGenerators")) return;
  const JsonPlace generators = board["DataGenerators"];
  nlohmann::json list = nlohmann::json::array();
  for (const JsonPlace& generator : generators.Elements()) {
    if (!generator.Has("type")) {
      throw UserError("Missing 'type' key in data generator. Please check your scenario.json file");
    }
    list.push_back(generator.value());
  }
  if (scenario != nullptr) scenario->LoadJson(JsonPlace(list, file_, "DataGenerators"));
}

std::map<std::string, Peripheral*> ConfigurationFileHandler::AggregatePeripheralsFromJson(
    Mcu* mcu, WireManager& wires, const nlohmann::json& list, ComponentKind kind) {
  std::map<std::string, Peripheral*> peripherals;
  const char* path = kind == ComponentKind::kInternal ? "internal_peripherals" : "components";
  for (const JsonPlace& element : JsonPlace(list, file_, path).Elements()) {
    const JsonPlace component = ByName(element);
    CheckType(component);
    if (IsMcuComponent(component)) continue;
    Peripheral* peripheral = nullptr;
    if (component.Has("class")) {
      peripheral = GetPeripheralWhichHasClassField(component, mcu, wires, kind);
    } else if (component.Has("file")) {
      peripheral = GetPeripheralFromFile(component, mcu, wires);
    } else {
      throw UserError(
          "board.json: One of the fields \"class\" or \"file\" should be assigned for peripheral. "
          "\"file\" is the path of a plug-in, a shared object that models the device");
    }
    const std::string& name = component["name"].String();
    if (!peripherals.emplace(name, peripheral).second) ReportDuplicate(name);
  }
  return peripherals;
}

Peripheral* ConfigurationFileHandler::GetPeripheralFromFile(const JsonPlace& component, Mcu*,
                                                            WireManager&) {
  throw UserError(file_ + ": the plug-in " + component["file"].String() +
                  " can't be loaded: support for plug-ins is not built in");
}

Peripheral* ConfigurationFileHandler::GetPeripheralWhichHasClassField(const JsonPlace& component,
                                                                      Mcu* mcu, WireManager& wires,
                                                                      ComponentKind kind) {
  return MakePeripheral(component, mcu, wires, kind);
}

bool ConfigurationFileHandler::IsSsidExist(const std::string& ssid) const {
  return FindNetwork([&](const JsonPlace& network) { return network["ssid"].String() == ssid; });
}

bool ConfigurationFileHandler::IsSsidAndPassCorrect(const std::string& ssid,
                                                    const std::string& password) const {
  return FindNetwork([&](const JsonPlace& network) {
    return network["ssid"].String() == ssid && network["password"].String() == password;
  });
}

bool ConfigurationFileHandler::FindNetwork(
    const std::function<bool(const JsonPlace&)>& matches) const {
  for (const JsonPlace& component : JsonPlace(GetComponents(), file_, "components").Elements()) {
    if (!component.Has("class") || component["class"].String() != "ATWINC1500") continue;
    if (!component.Has("config") || !component["config"].Has("networks")) continue;
    for (const JsonPlace& network : component["config"]["networks"].Elements()) {
      if (matches(network)) return true;
    }
  }
  return false;
}

}  // namespace orvo
