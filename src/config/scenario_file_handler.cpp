// Reading scenario.json and making its data generators.
#include "config/scenario_file_handler.h"

#include <algorithm>
#include <cctype>
#include <fstream>

#include "config/data_generators.h"
#include "config/file_data_generator.h"
#include "runner/errors.h"

namespace orvo {

namespace {

template <class T>
std::unique_ptr<DataGenerator> New(const JsonPlace& config, const std::string& kind) {
  return std::make_unique<T>(config, kind);
}

struct Kind {
  const char* name;
  std::unique_ptr<DataGenerator> (*make)(const JsonPlace& config, const std::string& kind);
};

// clang-format off
const Kind kKinds[] = {
    {"FILE",      New<FileDataGenerator>},
    {"RANDOM",    New<RandomDataGenerator>},
    {"CONSTANT",  New<ConstantDataGenerator>},
    {"INCREMENT", New<IncrementDataGenerator>},
    {"VALUES",    New<ValuesDataGenerator>},
    {"SIN",       New<SinDataGenerator>},
};
// clang-format on

}  // namespace

void ScenarioFileHandler::Init(const std::string& path, ProblemList* problems) {
  if (!std::ifstream(path)) return;
  const nlohmann::json scenario = ReadJsonFile(path, problems);
  const JsonPlace root(scenario, path, "", problems);
  if (root.HasProblems() && scenario.is_null()) return;  // can't be read at all
  root.Object();
  root.WarnOfOtherKeys({"DataGenerators"});
  if (root.Has("DataGenerators")) LoadJson(root["DataGenerators"]);
}

void ScenarioFileHandler::LoadJson(const JsonPlace& generators) {
  generators.Array();
  if (!generators.value().is_array()) return;
  for (const JsonPlace& generator : generators.Elements()) {
    generator.Object();
    if (!generator.value().is_object()) continue;
    const JsonPlace place = generator["id"];
    const unsigned id = place.Unsigned32();
    const bool has_id = generator.Has("id") && !place.HasProblems();
    if (has_id && generators_.contains(id)) {
      place.Report("Duplicate generator id: " + std::to_string(id));
    }
    std::unique_ptr<DataGenerator> made;
    if (generator.Has("type")) {
      made = Make(generator);
    } else {
      generator.Report("Missing 'type' key in data generator: " + std::to_string(id));
    }
    if (const auto* file = dynamic_cast<FileDataGenerator*>(made.get())) {
      data_files_.push_back(file->path());
    }
    if (has_id) generators_.emplace(id, std::move(made));
  }
}

std::unique_ptr<DataGenerator> ScenarioFileHandler::Make(const JsonPlace& generator) {
  generator.WarnOfOtherKeys({"id", "type", "config"});
  const JsonPlace type = generator["type"];
  const std::string& kind = type.String();
  if (type.HasProblems()) return nullptr;
  // Without a config the kind reports the key that it misses first.
  static const nlohmann::json no_config;
  const JsonPlace config = generator.Has("config")
                               ? generator["config"]
                               : JsonPlace(no_config, generator.document(),
                                           generator.path() + ".config", generator.problems());
  config.WarnOfOtherKeys(
      {"value", "min", "max", "step", "validValues", "sinFrequency", "path", "timing"});
  try {
    return dataGeneratorFactoryMethod(kind, config);
  } catch (const UserError& error) {
    if (type.problems() == nullptr) throw;
    type.Report(error.message());
  }
  return nullptr;
}

DataGenerator* ScenarioFileHandler::GetDataGenerator(unsigned id, Mcu* mcu) {
  const auto found = generators_.find(id);
  if (found == generators_.end()) {
    throw UserError("Data generator id " + std::to_string(id) +
                    " doesn't exist (check your scenario.json file)");
  }
  if (found->second != nullptr) found->second->SetMcu(mcu);
  return found->second.get();
}

std::unique_ptr<DataGenerator> ScenarioFileHandler::dataGeneratorFactoryMethod(
    const std::string& kind, const JsonPlace& config) {
  std::string name = kind;
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  std::string supported;
  for (const Kind& row : kKinds) {
    if (name == row.name) return row.make(config, name);
    supported += supported.empty() ? row.name : std::string(", ") + row.name;
  }
  throw UserError("Unsupported data generator: " + name +
                  ". The documentation of scenarios describes the supported ones: " + supported);
}

}  // namespace orvo
