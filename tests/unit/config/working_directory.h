// A directory of its own in which a test runs, and what a call reports.
#pragma once

#include <exception>
#include <filesystem>
#include <string>

#include "runner/errors.h"
#include "support/temporary_directory.h"

namespace orvo {

// Current until the end of the test.
class WorkingDirectory : public TemporaryDirectory {
 public:
  WorkingDirectory() : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(path());
  }
  ~WorkingDirectory() { std::filesystem::current_path(before_); }

 private:
  std::filesystem::path before_;
};

// The message of the UserError or OrvoError that the call throws, with the class before it; empty
// if it throws nothing.
template <class Call>
std::string ErrorOf(Call call) {
  try {
    call();
  } catch (const OrvoError& error) {
    return "OrvoError: " + error.message();
  } catch (const UserError& error) {
    return "UserError: " + error.message();
  } catch (const std::exception& error) {
    return std::string("other: ") + error.what();
  }
  return "";
}

}  // namespace orvo
