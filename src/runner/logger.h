// Stream-style messages: logger::debug("Program") << "Run"; outputs when the object goes.
// Debug goes to .zandor/log.txt only, Info also to standard output, Error also to standard error.
// After 500 lines the file takes errors only. A log file that can't be opened is no error.
#pragma once

#include <atomic>
#include <sstream>
#include <string>

namespace orvo::logger {

inline constexpr char kLogFile[] = ".zandor/log.txt";

class my_logger : public std::stringstream {
 public:
  my_logger(std::string tag, std::string level);
  ~my_logger() override;

  // Lines written so far by this process.
  static std::atomic<unsigned> counter_;
  // The first line of a process removes the file that an earlier run left.
  static std::atomic<bool> delete_log_file_;

 private:
  void PrintToFile() const;
  void PrintToScreen() const;

  std::string tag_;
  std::string level_;
};

class debug : public my_logger {
 public:
  explicit debug(std::string tag) : my_logger(std::move(tag), "Debug") {}
};

class info : public my_logger {
 public:
  explicit info(std::string tag) : my_logger(std::move(tag), "Info") {}
};

class error : public my_logger {
 public:
  explicit error(std::string tag) : my_logger(std::move(tag), "Error") {}
};

}  // namespace orvo::logger
