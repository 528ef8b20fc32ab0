// The scenario: numbered data generators, which devices of the board refer to by id.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "config/data_generator.h"

namespace orvo {

class ScenarioFileHandler {
 public:
  ScenarioFileHandler() = default;
  explicit ScenarioFileHandler(const std::string& path) { Init(path); }

  // Adds the generators of a file, none if it can't be opened. Throws UserError with file and key
  // for what isn't JSON or has wrong types.
  void Init(const std::string& path);
  // Adds the generators of an array. Throws UserError for an id that is taken.
  void LoadJson(const JsonPlace& generators);
  // The generator, which from now on reads the time of the given chip. Throws UserError for an
  // unknown id.
  DataGenerator* GetDataGenerator(unsigned id, Mcu* mcu);
  // A generator of a kind, in any letter case; throws UserError for an unknown one.
  static std::unique_ptr<DataGenerator> dataGeneratorFactoryMethod(const std::string& kind,
                                                                   const JsonPlace& config);

 private:
  std::map<unsigned, std::unique_ptr<DataGenerator>> generators_;
};

}  // namespace orvo
