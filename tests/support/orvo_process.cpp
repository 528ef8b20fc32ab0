#include "support/orvo_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "build_paths.h"

namespace orvo {
namespace {

// Appends what is there; closes the descriptor at the end of the stream.
void Drain(int* descriptor, std::string* text) {
  char buffer[65536];
  const ssize_t count = read(*descriptor, buffer, sizeof buffer);
  if (count > 0) {
    text->append(buffer, static_cast<size_t>(count));
  } else {
    close(*descriptor);
    *descriptor = -1;
  }
}

[[noreturn]] void Exec(const std::string& command, const std::vector<std::string>& arguments,
                       const std::filesystem::path& directory, int out, int err) {
  std::vector<char*> argv{const_cast<char*>(command.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const int input = open("/dev/null", O_RDONLY);
  dup2(input, STDIN_FILENO);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  if (chdir(directory.c_str()) != 0) _exit(126);
  execvp(command.c_str(), argv.data());
  _exit(127);
}

}  // namespace

ChildProcess::ChildProcess(const std::string& command, const std::vector<std::string>& arguments,
                           const std::filesystem::path& directory) {
  int out[2], err[2];
  if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) throw std::runtime_error("pipe2");
  id_ = fork();
  if (id_ < 0) throw std::runtime_error("fork");
  if (id_ == 0) Exec(command, arguments, directory, out[1], err[1]);
  close(out[1]);
  close(err[1]);
  out_ = out[0];
  err_ = err[0];
}

ChildProcess::~ChildProcess() {
  if (out_ >= 0) close(out_);
  if (err_ >= 0) close(err_);
  if (id_ > 0) {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
  }
}

bool ChildProcess::Read(std::chrono::steady_clock::time_point deadline) {
  if (out_ < 0 && err_ < 0) return false;
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
      deadline - std::chrono::steady_clock::now());
  if (left.count() <= 0) return false;
  pollfd streams[] = {{out_, POLLIN, 0}, {err_, POLLIN, 0}};
  if (poll(streams, 2, static_cast<int>(left.count())) <= 0) return false;
  if (streams[0].revents != 0) Drain(&out_, &result_.out);
  if (streams[1].revents != 0) Drain(&err_, &result_.err);
  return true;
}

bool ChildProcess::WaitForOutput(const std::string& text, std::chrono::seconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  const auto seen = [&] {
    return result_.out.find(text) != std::string::npos ||
           result_.err.find(text) != std::string::npos;
  };
  while (!seen()) {
    if (!Read(deadline)) return false;
  }
  return true;
}

void ChildProcess::Signal(int number) { kill(id_, number); }

void ChildProcess::CloseOutput() {
  close(out_);
  out_ = -1;
}

ProcessResult ChildProcess::Wait(std::chrono::seconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (Read(deadline)) {
  }
  if (out_ >= 0 || err_ >= 0) {
    result_.timed_out = true;
    kill(id_, SIGKILL);
  }
  int status = 0;
  rusage usage{};
  wait4(id_, &status, 0, &usage);
  result_.peak_resident_kib = usage.ru_maxrss;
  id_ = -1;
  if (WIFEXITED(status)) result_.exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result_.signal = WTERMSIG(status);
  return result_;
}

ProcessResult RunProcess(const std::string& command, const std::vector<std::string>& arguments,
                         const std::filesystem::path& directory, std::chrono::seconds limit) {
  return ChildProcess(command, arguments, directory).Wait(limit);
}

ChildProcess OrvoBench::Start(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), {"--sdk-port", "0"});
  return {kOrvoExecutable, arguments, directory_.path()};
}

ProcessResult OrvoBench::Run(std::vector<std::string> arguments) const {
  return Start(std::move(arguments)).Wait(kRunLimit);
}

ProcessResult OrvoBench::RunFirmware(const std::string& image,
                                     std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), {"-i", FirmwarePath(image), "-p", kFirmwareDone, "-k", "1"});
  arguments.push_back("-u");
  return Run(std::move(arguments));
}

unsigned long OrvoBench::InstructionCount() const {
  const std::string log = directory_.Read(".zandor/log.txt");
  const std::string key = "Num of instructions: ";
  const size_t position = log.rfind(key);
  return position == std::string::npos ? 0 : std::stoul(log.substr(position + key.size()));
}

std::string FirmwarePath(const std::string& name) {
  return std::string(kFirmwareDirectory) + "/" + name;
}

}  // namespace orvo
