// Data generators of a component, and the two commands that every peripheral understands.
#include "devices/peripheral.h"

#include <nlohmann/json.hpp>

#include "config/data_generators.h"
#include "config/scenario_file_handler.h"
#include "control/connection_manager.h"
#include "control/protocol.h"
#include "mcu/mcu.h"
#include "runner/errors.h"

namespace orvo {

namespace {

constexpr char kFieldName[] = "field_name";
constexpr char kGetValue[] = "get_value";
constexpr char kSetValue[] = "set_value";

}  // namespace

Peripheral::Peripheral(Mcu* mcu) : mcu_(mcu) {}

Peripheral::Peripheral(Mcu* mcu, const JsonPlace& component) : mcu_(mcu) {
  if (mcu == nullptr || component.value().is_null()) return;
  const bool in_config = !component.Has("generators") && component.Has("config");
  const JsonPlace place = in_config ? component["config"] : component;
  if (!place.Has("generators")) return;
  const JsonPlace generators = place["generators"];
  for (const auto& [field, value] : generators.Object().items()) {
    const JsonPlace id = generators[field];
    const unsigned number = id.Unsigned32();
    if (id.HasProblems()) continue;
    try {
      generators_[field] = mcu->GetScenario().GetDataGenerator(number, mcu);
    } catch (const UserError& error) {
      if (id.problems() == nullptr) throw;
      id.Report(error.message());
    }
  }
}

Peripheral::Peripheral(Mcu* mcu, const nlohmann::json& component)
    : Peripheral(mcu, JsonPlace(component, "board.json")) {}

Peripheral::~Peripheral() = default;

DataGenerator* Peripheral::GetDataGenerator(const std::string& field) { return generators_[field]; }

void Peripheral::DoCommand(const nlohmann::json& command) {
  const JsonPlace place(command, "command");
  const std::string& name = place[kCommand].String();
  if (name == kGetValue) {
    GetValue(place[kFieldName].String());
  } else if (name == kSetValue) {
    SetValue(place[kFieldName].String(), place[kValue].Text());
  }
}

void Peripheral::SendOkResponse() const {
  if (ConnectionManager* connection = mcu_->GetConnectionManager()) {
    connection->SendJsonMessage({{kType, kResponse}, {kResponse, kOk}});
  }
}

// What the device's model read last: asking doesn't advance the generator.
void Peripheral::GetValue(const std::string& field) {
  DataGenerator* generator = GetDataGenerator(field);
  if (generator == nullptr) throw UserError("get_value: no data generator feeds " + field);
  const nlohmann::json reply{{kType, kResponse},
                             {kDescription, kGetValueResponse},
                             {kValue, generator->GetCachedValueStr()}};
  if (ConnectionManager* connection = mcu_->GetConnectionManager()) {
    connection->SendJsonMessage(reply);
  }
}

// The scenario keeps the generator that is replaced: other fields may share it.
void Peripheral::SetValue(const std::string& field, const std::string& text) {
  const nlohmann::json config{{kValue, text}};
  auto constant =
      std::make_unique<ConstantDataGenerator>(JsonPlace(config, "set_value"), "Constant");
  generators_[field] = constant.get();
  constants_[field] = std::move(constant);
}

}  // namespace orvo
