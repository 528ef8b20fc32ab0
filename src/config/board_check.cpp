#include "config/board_check.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <vector>

#include "config/configuration_file_handler.h"
#include "config/scenario_file_handler.h"
#include "mcu/mcu.h"
#include "mcu/platform.h"
#include "runner/errors.h"
#include "wires/wire_manager.h"

namespace orvo {

namespace {

constexpr char kScenarioFile[] = "scenario.json";

// What the readers can't collect because it has no value to go on with ends a step.
template <class Step>
void Collect(ProblemList& problems, const std::string& file, Step step) {
  try {
    step();
  } catch (const UserError& error) {
    problems.Add(file, file, error.message());
  }
}

}  // namespace

bool CheckBoard(const std::string& platform, const std::string& executable_path,
                std::ostream& out) {
  ProblemList problems;
  ScenarioFileHandler scenario;
  ConfigurationFileHandler& board = ConfigurationFileHandler::Get();
  board.Init(platform, &scenario, executable_path, &problems);
  const std::string& file = board.file();
  Collect(problems, kScenarioFile, [&] { scenario.Init(kScenarioFile, &problems); });
  WireManager wires(nullptr, WireManager::kWiresOfBoard, false, true);
  std::unique_ptr<Mcu> mcu;
  Collect(problems, file, [&] { mcu = CreateMcu(platform, scenario, &wires, nullptr); });
  if (mcu != nullptr) {
    board.WarnOfOtherPins(wires);
    Collect(problems, file, [&] {
      board.AggregatePeripheralsFromJson(mcu.get(), wires, board.GetInternalsPeripherals(),
                                         ComponentKind::kInternal);
    });
    Collect(problems, file, [&] {
      board.AggregatePeripheralsFromJson(mcu.get(), wires, board.GetComponents(),
                                         ComponentKind::kExternal);
    });
    Collect(problems, file, [&] { board.ConnectPeripheralsForNrf52(mcu.get()); });
  }
  std::vector<std::string> lines = problems.lines();
  std::stable_partition(lines.begin(), lines.end(),
                        [&](const std::string& line) { return line.starts_with(file); });
  for (const std::string& line : lines) out << line << '\n';
  if (lines.empty()) {
    out << "No problems in " << file
        << (std::ifstream(kScenarioFile) ? " and scenario.json" : "; there is no scenario.json")
        << '\n';
  }
  out.flush();
  return lines.empty();
}

}  // namespace orvo
