// Entry point: signals, options, the objects of a run in their order, and the exit status.
// 0: the run finished, was ended by SIGINT or SIGTERM, or the help was printed; 1: --check-board
// found problems; 255: a failure before or around the run loop; a signal's number: a fatal signal;
// otherwise the code that came over the termination channel.
#include <fcntl.h>

#include <filesystem>
#include <iostream>
#include <memory>

#include "analysis/vcd_writer.h"
#include "config/board_check.h"
#include "config/configuration_file_handler.h"
#include "config/scenario_file_handler.h"
#include "control/connection_manager.h"
#include "mcu/platform.h"
#include "runner/args_manager.h"
#include "runner/logger.h"
#include "runner/orvo_signals.h"
#include "runner/output_files.h"
#include "runner/program.h"
#include "runner/signal_handler.h"
#include "wires/wire_manager.h"

namespace orvo {
namespace {

constexpr int kProblemsFound = 1;

// The real path of this executable, next to which the SDK is looked for; argv[0] may be a bare
// name that the shell found.
std::string ExecutablePath(const std::string& argv0) {
  std::error_code error;
  const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? argv0 : path.string();
}

// The objects of one run. They go in a fixed order, whether the run ended well or a constructor
// threw half-way.
class Simulation {
 public:
  Simulation() = default;
  Simulation(const Simulation&) = delete;
  Simulation& operator=(const Simulation&) = delete;
  ~Simulation() {
    program_.reset();
    vcd_.reset();
    mcu_.reset();
    wires_.reset();
    connection_.reset();
    scenario_.reset();
  }

  void Run() {
    ArgsManager& args = ArgsManager::Get();
    scenario_ = std::make_unique<ScenarioFileHandler>();
    ConfigurationFileHandler::Get().Init(args.mcu, scenario_.get(), ExecutablePath(args.argv0));
    connection_ = std::make_unique<ConnectionManager>();
    wires_ = std::make_unique<WireManager>(connection_.get(), WireManager::kWiresOfBoard, args.gpio,
                                           false);
    scenario_->Init("scenario.json");
    for (const std::string& path : scenario_->data_files()) {
      RefuseToOverwrite(args, {{"a data file of the scenario", path}});
    }
    args.EmptyTraceFile();
    mcu_ = CreateMcu(args.mcu, *scenario_, wires_.get(), connection_.get());
    if (!args.vcd.empty()) vcd_ = std::make_unique<VcdWriter>(args.vcd, *mcu_);
    // A run that was ended before the connection listened must not wait for a client.
    const bool wait = args.wait_for_connection && !OrvoSignals::Get().terminate.WasEmitted();
    connection_->Start(args.sdk_port, wait);
    program_ = std::make_unique<Program>(*mcu_, args.argv0, args.image);
    OrvoSignals::Get().options_parsed.emit(args);
    logger::debug("main") << "Program is running...";
    program_->Run();
  }

 private:
  std::unique_ptr<ScenarioFileHandler> scenario_;
  std::unique_ptr<ConnectionManager> connection_;
  std::unique_ptr<WireManager> wires_;
  std::unique_ptr<Mcu> mcu_;
  std::unique_ptr<VcdWriter> vcd_;
  std::unique_ptr<Program> program_;
};

// A closed standard stream would lend its number to the next file that is opened. /dev/null in the
// wrong direction keeps the number, and makes every use of the stream fail.
void OccupyClosedStandardStreams() {
  for (int fd = 0; fd <= 2; ++fd) {
    if (::fcntl(fd, F_GETFD) < 0 && ::open("/dev/null", fd == 0 ? O_WRONLY : O_RDONLY) != fd)
      return;
  }
}

int Main(int argc, char** argv) {
  OccupyClosedStandardStreams();
  InstallSignalHandlers();
  OrvoSignals::Get().terminate.Connect([](int code) { exit_code = code; });
  const SignalWatcher watcher;
  try {
    const ArgsManager& args = ArgsManager::Get();
    if (!ArgsManager::Get().Parse(argc, argv)) return 0;
    if (args.check_board) {
      return CheckBoard(args.mcu, ExecutablePath(args.argv0), std::cout) ? 0 : kProblemsFound;
    }
    Simulation().Run();
  } catch (const std::exception& error) {
    logger::error("Main") << error.what();
    return -1;
  }
  return exit_code;
}

}  // namespace
}  // namespace orvo

int main(int argc, char** argv) {
  const int status = orvo::Main(argc, argv);
  orvo::ISingelton<orvo::OrvoSignals>::ReleaseInstance();
  orvo::ISingelton<orvo::ConfigurationFileHandler>::ReleaseInstance();
  orvo::ISingelton<orvo::ArgsManager>::ReleaseInstance();  // flushes the trace file
  return status;
}
