// The scenario: numbered data generators, which devices of the board refer to by id.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "config/data_generator.h"

namespace orvo {

class ScenarioFileHandler {
 public:
  ScenarioFileHandler() = default;
  explicit ScenarioFileHandler(const std::string& path) { Init(path); }

  // Adds the generators of a file, none if it can't be opened. Throws UserError with file and key
  // for what isn't JSON or has wrong types; with a list of problems, these go there.
  void Init(const std::string& path, ProblemList* problems = nullptr);
  // Adds the generators of an array. Throws UserError for an id that is taken; both as above.
  void LoadJson(const JsonPlace& generators);
  // The generator, which from now on reads the time of the given chip. Throws UserError for an
  // unknown id. Null if a list of problems took what is wrong with it.
  DataGenerator* GetDataGenerator(unsigned id, Mcu* mcu);
  // The recorded files that the generators read.
  const std::vector<std::string>& data_files() const { return data_files_; }
  // A generator of a kind, in any letter case; throws UserError for an unknown one.
  static std::unique_ptr<DataGenerator> dataGeneratorFactoryMethod(const std::string& kind,
                                                                   const JsonPlace& config);

 private:
  static std::unique_ptr<DataGenerator> Make(const JsonPlace& generator);

  std::map<unsigned, std::unique_ptr<DataGenerator>> generators_;
  std::vector<std::string> data_files_;
};

}  // namespace orvo
