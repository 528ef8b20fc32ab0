// Runs the built executable as a user would: in a directory of its own, with its output captured.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

#include "support/temporary_directory.h"

namespace orvo {

struct ProcessResult {
  std::string out;
  std::string err;
  int exit_status = -1;  // -1 if the process did not exit by itself
  int signal = 0;        // the signal that ended it, 0 if none
  bool timed_out = false;
  long peak_resident_kib = 0;  // at least that of the test, of which the child is a copy at first
};

// A running child process. Its standard output and error go to pipes that Wait and WaitForOutput
// read; its standard input is empty.
class ChildProcess {
 public:
  // `command` is looked up through PATH if it holds no '/'.
  ChildProcess(const std::string& command, const std::vector<std::string>& arguments,
               const std::filesystem::path& directory);
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess();  // kills the process if it still runs

  // Reads until standard output or error holds the text; false when the time is over first or the
  // process ends without it.
  bool WaitForOutput(const std::string& text, std::chrono::seconds limit);
  // What WaitForOutput has read of standard output and error.
  const std::string& out() const { return result_.out; }
  const std::string& err() const { return result_.err; }
  void Signal(int number);
  // Closes our end of its standard output: its next write there fails.
  void CloseOutput();
  // Reads to the end. When the time is over the process is killed.
  ProcessResult Wait(std::chrono::seconds limit);
  pid_t id() const { return id_; }

 private:
  // Waits for output of the child; false at the end of both streams or of the time.
  bool Read(std::chrono::steady_clock::time_point deadline);

  pid_t id_ = -1;
  int out_ = -1;
  int err_ = -1;
  ProcessResult result_;
};

// The time within which every run of a test must end, wide enough for the sanitisers.
inline constexpr std::chrono::seconds kRunLimit{120};

ProcessResult RunProcess(const std::string& command, const std::vector<std::string>& arguments,
                         const std::filesystem::path& directory,
                         std::chrono::seconds limit = kRunLimit);

// A directory in which `orvo` runs, always with a free port for the control connection.
class OrvoBench {
 public:
  ProcessResult Run(std::vector<std::string> arguments) const;
  // Starts without waiting.
  ChildProcess Start(std::vector<std::string> arguments) const;
  // Runs an image of the test firmware until it is done (see kFirmwareDone), printing its UART.
  ProcessResult RunFirmware(const std::string& image,
                            std::vector<std::string> arguments = {}) const;

  const TemporaryDirectory& directory() const { return directory_; }
  // The number that the log gives as the run's instructions; 0 if there is none.
  unsigned long InstructionCount() const;

 private:
  TemporaryDirectory directory_;
};

// Where every image of firmware/ stays when it is done, as the option -p wants it.
inline constexpr char kFirmwareDone[] = "256";

// The path of an image of the test firmware: "integers-O2.bin".
std::string FirmwarePath(const std::string& name);

}  // namespace orvo
