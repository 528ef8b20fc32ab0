#include "runner/logger.h"

#include <filesystem>
#include <fstream>
#include <iostream>

namespace orvo::logger {
namespace {

constexpr unsigned kMaxLines = 500;

}  // namespace

std::atomic<unsigned> my_logger::counter_{0};
std::atomic<bool> my_logger::delete_log_file_{true};

my_logger::my_logger(std::string tag, std::string level)
    : tag_(std::move(tag)), level_(std::move(level)) {}

my_logger::~my_logger() {
  PrintToFile();
  if (level_ == "Info" || level_ == "Error") PrintToScreen();
}

void my_logger::PrintToFile() const {
  if (counter_ > kMaxLines && level_ != "Error") return;
  if (delete_log_file_.exchange(false)) {
    std::error_code ignored;
    std::filesystem::remove(kLogFile, ignored);
  }
  std::ofstream file(kLogFile, std::ios::app);
  if (!file) return;
  file << "[" + tag_ + "] " + level_ + ": " + str() + "\n";
  ++counter_;
}

void my_logger::PrintToScreen() const {
  (level_ == "Info" ? std::cout : std::cerr) << str() << std::endl;
}

}  // namespace orvo::logger
