// The root of everything that the control connection can address: chip blocks and board devices.
#pragma once

#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace orvo {

class DataGenerator;
class JsonPlace;
class Mcu;

class Peripheral {
 public:
  explicit Peripheral(Mcu* mcu);
  // Takes the data generators that the component's "generators" names, field by field; these may
  // also stand in its "config". Throws UserError for an id that the scenario doesn't have. Nothing
  // happens without a chip or for null.
  Peripheral(Mcu* mcu, const JsonPlace& component);
  Peripheral(Mcu* mcu, const nlohmann::json& component);
  Peripheral(const Peripheral&) = delete;
  Peripheral& operator=(const Peripheral&) = delete;
  virtual ~Peripheral();

  // Carries out a command of the control connection: "get_value" and "set_value" here, anything
  // else is ignored. Throws UserError for a malformed command.
  virtual void DoCommand(const nlohmann::json& command);

  Mcu* GetMcu() const { return mcu_; }
  // The generator of a field, or null if the board didn't name one.
  DataGenerator* GetDataGenerator(const std::string& field);

 protected:
  // The plain answer to a command that was carried out.
  void SendOkResponse() const;

  Mcu* mcu_;

 private:
  void GetValue(const std::string& field);
  void SetValue(const std::string& field, const std::string& text);

  std::map<std::string, DataGenerator*> generators_;
  // The generators of "set_value", by field.
  std::map<std::string, std::unique_ptr<DataGenerator>> constants_;
};

}  // namespace orvo
