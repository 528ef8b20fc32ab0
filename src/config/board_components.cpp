// The list of components: merging the user's into the default board's, and building the devices.
#include <algorithm>
#include <cctype>

#include "config/configuration_file_handler.h"
#include "config/scenario_file_handler.h"
#include "mcu/platform.h"
#include "runner/errors.h"
#include "wires/device_pin.h"

namespace orvo {

namespace {

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// What every entry may have, whether its class asks for it or not.
void CheckKeys(const JsonPlace& component) {
  for (const char* key : {"class", "file", "name", "type"}) {
    if (component.Has(key)) component[key].String();
  }
  for (const char* key : {"config", "generators", "pins"}) {
    if (component.Has(key)) component[key].Object();
  }
  component.WarnOfOtherKeys({"class", "file", "name", "type", "config", "generators", "pins"});
  if (!component.Has("type")) return;
  const JsonPlace type = component["type"];
  const std::string lower_case = LowerCase(type.String());
  if (lower_case != "peripheral" && lower_case != "mcu" && !type.HasProblems()) {
    type.Report("Unsupported type : " + type.String() + ". Type should be Peripheral or Mcu");
  }
}

void ReportDuplicate(const JsonPlace& name) {
  name.Report("board.json: Duplicate peripheral: " + name.String() +
              " . Each peripheral must have a unique name");
}

}  // namespace

const nlohmann::json& ConfigurationFileHandler::GetComponents() const {
  const JsonPlace board(document_, file_);
  if (!board.Has("components")) throw UserError("board.json: components not exists");
  return board["components"].Array();
}

void ConfigurationFileHandler::AddComponent(const JsonPlace& component) {
  document_["components"].push_back(component.value());
  paths_.push_back(component.path());
}

bool ConfigurationFileHandler::IsMcuComponent(const JsonPlace& component) {
  const bool has_class = component.Has("class") && component["class"].value().is_string();
  return has_class && IsPlatformSupported(LowerCase(component["class"].String()));
}

std::string ConfigurationFileHandler::GetComponentName(const JsonPlace& component) {
  if (!component.Has("name")) {
    if (component.Has("class")) {
      component.Report("board.json: Missing name field in one of the peripherals");
    }
    return "";
  }
  const JsonPlace name = component["name"];
  if (!names_.insert(name.String()).second) ReportDuplicate(name);
  return name.String();
}

void ConfigurationFileHandler::RemoveDefaultComponents() {
  const nlohmann::json components = GetComponents();
  document_["components"] = nlohmann::json::array();
  paths_.clear();
  for (const JsonPlace& component : JsonPlace(components, file_, "components").Elements()) {
    if (IsMcuComponent(component)) AddComponent(component);
  }
}

void ConfigurationFileHandler::InitComponents(const JsonPlace& board) {
  if (!board.Has("components")) return;
  const JsonPlace components = board["components"];
  components.Array();
  if (!components.value().is_array()) return;  // reported
  for (const JsonPlace& component : components.Elements()) {
    component.Object();
    if (!component.value().is_object()) continue;  // reported
    if (IsMcuComponent(component)) {
      CheckKeys(component);
      const std::string& chip = GetComponents()[McuIndex()]["class"].get_ref<const std::string&>();
      if (LowerCase(component["class"].String()) != chip) {
        component["class"].Warn("changes the " + chip + " of this run all the same");
      }
      MergeMcuConfigFromFile(component);
    } else {
      GetComponentName(component);
      AddComponent(component);
    }
  }
}

void ConfigurationFileHandler::InitDataGenerators(const JsonPlace& board,
                                                  ScenarioFileHandler* scenario) {
  if (!board.Has("DataGenerators")) return;
  const JsonPlace generators = board["DataGenerators"];
  nlohmann::json list = nlohmann::json::array();
  for (const JsonPlace& generator : generators.Elements()) {
    // With a list of problems LoadJson() tells of it.
    if (problems_ == nullptr && !generator.Has("type")) {
      throw UserError("Missing 'type' key in data generator. Please check your scenario.json file");
    }
    list.push_back(generator.value());
  }
  if (scenario != nullptr) {
    scenario->LoadJson(JsonPlace(list, file_, "DataGenerators", problems_));
  }
}

// A merged component by its name, if it has one, and otherwise where it stands in its own file.
std::vector<JsonPlace> ConfigurationFileHandler::EntriesOf(const nlohmann::json& list,
                                                           ComponentKind kind) const {
  const bool internal = kind == ComponentKind::kInternal;
  const JsonPlace whole(list, file_, internal ? "Mcu config.internal_peripherals" : "components",
                        problems_);
  std::vector<JsonPlace> entries;
  for (const JsonPlace& element : whole.Elements()) {
    element.Object();
    if (!element.value().is_object()) continue;  // reported
    std::string path = element.path();
    const bool named = element.value().contains("name") && element.value()["name"].is_string();
    if (!internal && entries.size() < paths_.size()) path = paths_[entries.size()];
    if (!internal && named) path = "component \"" + element["name"].String() + "\"";
    entries.emplace_back(element.value(), file_, path, problems_);
  }
  return entries;
}

std::map<std::string, Peripheral*> ConfigurationFileHandler::AggregatePeripheralsFromJson(
    Mcu* mcu, WireManager& wires, const nlohmann::json& list, ComponentKind kind) {
  std::map<std::string, Peripheral*> peripherals;
  for (const JsonPlace& component : EntriesOf(list, kind)) {
    CheckKeys(component);
    if (IsMcuComponent(component)) continue;
    Peripheral* peripheral = nullptr;
    try {
      peripheral = MakeComponent(component, mcu, wires, kind);
    } catch (const UserError& error) {
      if (problems_ == nullptr) throw;
      component.Report(error.message());
    }
    // When the file was read, devices of a class without a name were reported, and names used
    // twice.
    const bool external = kind == ComponentKind::kExternal;
    if (!component.Has("name")) {
      if (problems_ == nullptr || !external || !component.Has("class")) component["name"].String();
      continue;
    }
    const JsonPlace name = component["name"];
    const bool reported = external && names_.contains(name.String());
    if (external && peripheral != nullptr && !component.HasProblems()) {
      WarnOfOtherDevicePins(wires, component);
    }
    if (!peripherals.emplace(name.String(), peripheral).second && !reported) ReportDuplicate(name);
  }
  return peripherals;
}

Peripheral* ConfigurationFileHandler::MakeComponent(const JsonPlace& component, Mcu* mcu,
                                                    WireManager& wires, ComponentKind kind) {
  if (component.Has("class")) return GetPeripheralWhichHasClassField(component, mcu, wires, kind);
  if (component.Has("file")) return GetPeripheralFromFile(component, mcu, wires);
  component.Report(
      "board.json: One of the fields \"class\" or \"file\" should be assigned for peripheral. "
      "\"file\" is the path of a plug-in, a shared object that models the device");
  return nullptr;
}

Peripheral* ConfigurationFileHandler::GetPeripheralFromFile(const JsonPlace& component, Mcu*,
                                                            WireManager&) {
  const JsonPlace file = component["file"];
  file.Report(file_ + ": the plug-in " + file.String() +
              " can't be loaded: support for plug-ins is not built in");
  return nullptr;
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
