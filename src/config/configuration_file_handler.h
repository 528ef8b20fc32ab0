// The board: the chip's default board file, overlaid by board.json or bsp.json of the current
// directory. One merged JSON document, and the questions that the rest of the system asks of it.
// All errors about a file's contents are UserErrors that name file, key and what was expected; with
// a list of problems, mistakes in the user's file go there instead, and the rest is read on.
#pragma once

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "config/json_place.h"
#include "devices/peripheral_factory.h"
#include "runner/singleton.h"

namespace orvo {

class Mcu;
class Peripheral;
class ScenarioFileHandler;
class WireManager;

class ConfigurationFileHandler {
 public:
  static ConfigurationFileHandler& Get() {
    return ISingelton<ConfigurationFileHandler>::GetInstance();
  }

  // Loads the configuration of a platform; what was loaded before is forgotten. The path of the
  // executable leads to the default boards. The scenario, which may be null, gets the data
  // generators of the user's file. The list of problems, if there is one, must outlive the use of
  // this object.
  void Init(const std::string& platform, ScenarioFileHandler* scenario,
            const std::string& executable_path, ProblemList* problems = nullptr);
  void InitConfigFromDefault(const std::string& platform, const std::string& executable_path);
  void InitConfigFromBoardDotJson(const std::string& file, ScenarioFileHandler* scenario);

  // ---- Files (sdk_path.cpp) ----

  // The SDK's directory, with a slash at its end; a find beside the executable is also printed on
  // standard error. Throws OrvoError if no candidate holds an SDK.
  static std::string GetSdkPath(const std::string& executable_path);
  // Whether the directory, given with a slash at its end, holds zandor/__version__.py.
  static bool IsSdkPathExist(const std::string& candidate);
  static std::string GetBoardJsonPath(const std::string& platform,
                                      const std::string& executable_path);
  // The shared object of a device class in the current directory: NAME.so, or NAME_linux.so.
  static std::string GetDefaultSoFileName(const std::string& name);

  // ---- Components (board_components.cpp) ----

  // The array of components, the chip's own included.
  const nlohmann::json& GetComponents() const;
  void AddComponent(const JsonPlace& component);
  // Whether the class of the component is the name of a platform, in any letter case.
  static bool IsMcuComponent(const JsonPlace& component);
  // The name, empty if there is none; throws for a name that was asked for before, and for a
  // component with a class and without a name.
  std::string GetComponentName(const JsonPlace& component);
  // Removes all components but the chip.
  void RemoveDefaultComponents();
  // Merges or adds the components of a user's file.
  void InitComponents(const JsonPlace& board);
  void InitDataGenerators(const JsonPlace& board, ScenarioFileHandler* scenario);
  // Builds the devices of a list and enters them by name; entries that describe the chip are left
  // out. The list is an array, or an object whose members are the entries.
  std::map<std::string, Peripheral*> AggregatePeripheralsFromJson(Mcu* mcu, WireManager& wires,
                                                                  const nlohmann::json& list,
                                                                  ComponentKind kind);
  Peripheral* GetPeripheralFromFile(const JsonPlace& component, Mcu* mcu, WireManager& wires);
  Peripheral* GetPeripheralWhichHasClassField(const JsonPlace& component, Mcu* mcu,
                                              WireManager& wires, ComponentKind kind);
  // Both search the "networks" of the components of class "ATWINC1500".
  bool IsSsidExist(const std::string& ssid) const;
  bool IsSsidAndPassCorrect(const std::string& ssid, const std::string& password) const;

  // ---- Configuration of the chip (mcu_configuration.cpp) ----

  const nlohmann::json& GetMcuConfig() const;
  // The file that was read last.
  const std::string& file() const { return file_; }
  // The chip's configuration with the words that errors use for it; null if nothing was loaded.
  JsonPlace McuConfigPlace() const;
  // -1, as all ones, if the key is absent or nothing was loaded. A negative value of the file is
  // its two's complement; callers test for negative.
  unsigned GetIntFromMcuConfig(const std::string& key) const;
  // Pin name to wire, or to the name of another pin.
  const nlohmann::json& GetConfigPins() const;
  // In a check of the board warns of the pins of the user's file that no port has taken.
  void WarnOfOtherPins(const WireManager& wires) const;
  const nlohmann::json& GetInternalsPeripherals() const;
  unsigned GetHSEFrequency() const;  // hertz
  // What makes the random blocks of the chip repeat, if the board says it.
  std::optional<unsigned> GetSeed() const;
  bool CheckIfLoadBle() const;
  // Overwrites the keys of the chip's configuration that the component's config names.
  void MergeMcuConfigFromFile(const JsonPlace& component);
  // Throws UserError for a key of the chip's configuration that has another type than it must have,
  // whether this chip asks for it or not.
  void CheckMcuConfig() const;
  // Default pins: each pin of the chip on the wire of its running number.
  void InitPinsConfig(const std::string& platform);

  // ---- Values for a started chip (memory_values.cpp) ----

  // Stores the "load_<name>_regs" of the configuration.
  void SetMcuMemoryValues(Mcu* mcu, const std::string& name) const;
  // Stores the device address of "ficr".
  void SetFicrValues(Mcu* mcu) const;
  // Does nothing on other chips than the nRF52's. The RADIO hears of its configuration only if
  // there is one.
  void ConnectPeripheralsForNrf52(Mcu* mcu) const;

 private:
  void InitNrf52PinsConfig();
  void InitStm32PinsConfig(const std::string& platform);
  void InitMk64PinsConfig(const std::string& platform);
  void InitPortPins(const std::string& ports);
  // The place of the chip's entry in "components".
  size_t McuIndex() const;
  nlohmann::json& McuConfigForUpdate();
  std::vector<JsonPlace> EntriesOf(const nlohmann::json& list, ComponentKind kind) const;
  Peripheral* MakeComponent(const JsonPlace& component, Mcu* mcu, WireManager& wires,
                            ComponentKind kind);
  bool FindNetwork(const std::function<bool(const JsonPlace&)>& matches) const;

  nlohmann::json document_;
  std::string file_;  // what was read last, for errors
  std::set<std::string> names_;
  std::vector<std::string> paths_;  // of the components, each in the file that it comes from
  bool names_pins_ = false;         // the user's file has a pin table of the chip
  ProblemList* problems_ = nullptr;
};

}  // namespace orvo
