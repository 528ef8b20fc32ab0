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
std::unique_ptr<DataGenerator> Make(const JsonPlace& config, const std::string& kind) {
  return std::make_unique<T>(config, kind);
}

struct Kind {
  const char* name;
  std::unique_ptr<DataGenerator> (*make)(const JsonPlace& config, const std::string& kind);
};

// clang-format off
const Kind kKinds[] = {
    {"FILE",      Make<FileDataGenerator>},
    {"RANDOM",    Make<RandomDataGenerator>},
    {"CONSTANT",  Make<ConstantDataGenerator>},
    {"INCREMENT", Make<IncrementDataGenerator>},
    {"VALUES",    Make<ValuesDataGenerator>},
    {"SIN",       Make<SinDataGenerator>},
};
// clang-format on

}  // namespace

void ScenarioFileHandler::Init(const std::string& path) {
  if (!std::ifstream(path)) return;
  const nlohmann::json scenario = ReadJsonFile(path);
  const JsonPlace root(scenario, path);
  root.Object();
  if (root.Has("DataGenerators")) LoadJson(root["DataGenerators"]);
}

void ScenarioFileHandler::LoadJson(const JsonPlace& generators) {
  generators.Array();
  for (const JsonPlace& generator : generators.Elements()) {
    const unsigned id = generator["id"].Unsigned32();
    if (generators_.contains(id)) {
      throw UserError("Duplicate generator id: " + std::to_string(id));
    }
    if (!generator.Has("type")) {
      throw UserError("Missing 'type' key in data generator: " + std::to_string(id));
    }
    // Without a config the kind reports the key that it misses first.
    static const nlohmann::json no_config;
    const bool has_config = generator.Has("config");
    const JsonPlace config =
        has_config ? generator["config"] : JsonPlace(no_config, generators.document());
    generators_[id] = dataGeneratorFactoryMethod(generator["type"].String(), config);
  }
}

DataGenerator* ScenarioFileHandler::GetDataGenerator(unsigned id, Mcu* mcu) {
  const auto found = generators_.find(id);
  if (found == generators_.end()) {
    throw UserError("Data generator id " + std::to_string(id) +
                    " doesn't exist (check your scenario.json file)");
  }
  found->second->SetMcu(mcu);
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
