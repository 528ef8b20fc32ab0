// What all kinds of data generator share: steps, the cached value, and errors.
#include "config/data_generator.h"

#include <cstdlib>
#include <map>
#include <utility>

#include "mcu/mcu.h"
#include "runner/errors.h"

namespace orvo {

namespace {

constexpr unsigned long kNsPerSecond = 1'000'000'000;

// Any other text means nanoseconds.
unsigned long UnitNs(const std::string& unit) {
  static const std::map<std::string, unsigned long> units{
      {"s", kNsPerSecond}, {"ms", 1'000'000}, {"us", 1'000}};
  const auto found = units.find(unit);
  return found == units.end() ? 1 : found->second;
}

}  // namespace

DataGenerator::DataGenerator(const JsonPlace& config, std::string kind) : kind_(std::move(kind)) {
  if (!config.Has("timing")) return;
  const JsonPlace timing = config["timing"];
  has_timing_ = true;
  interval_ns_ =
      UnitNs(timing["changeIntervalUnit"].String()) * timing["changeInterval"].Unsigned32();
}

int DataGenerator::DoGetNextInt32(unsigned long) {
  throw OrvoError("Int32 not supported in this data generator: " + kind_);
}

double DataGenerator::DoGetNextDouble(unsigned long) {
  throw OrvoError("Double not supported in this data generator: " + kind_);
}

short DataGenerator::DoGetNextInt16(unsigned long) {
  throw OrvoError("Int16 not supported in this data generator: " + kind_);
}

unsigned char DataGenerator::DoGetNextUInt8(unsigned long) {
  throw OrvoError("Uint8 not supported in this data generator: " + kind_);
}

std::string DataGenerator::DoGetNextString(unsigned long) {
  throw OrvoError("string not supported in this data generator: " + kind_);
}

int DataGenerator::GetNextInt32() {
  const int value = DoGetNextInt32(GetCurrentCount());
  cached_value_ = std::to_string(value);
  return value;
}

double DataGenerator::GetNextDouble() {
  const double value = DoGetNextDouble(GetCurrentCount());
  cached_value_ = std::to_string(value);
  return value;
}

short DataGenerator::GetNextInt16() {
  const short value = DoGetNextInt16(GetCurrentCount());
  cached_value_ = std::to_string(value);
  return value;
}

unsigned char DataGenerator::GetNextUInt8() {
  const unsigned char value = DoGetNextUInt8(GetCurrentCount());
  cached_value_ = std::to_string(value);
  return value;
}

std::string DataGenerator::GetNextString() {
  cached_value_ = DoGetNextString(GetCurrentCount());
  return cached_value_;
}

double DataGenerator::GetCachedValue() {
  double value = 0;
  if (!ParseDouble(cached_value_, &value)) {
    throw UserError("DataGenerator::GetCachedValue - invalid argument");
  }
  return value;
}

unsigned long DataGenerator::GetCurrentCount() {
  if (interval_ns_ == 0) return calls_++;
  const unsigned long ticks = TickCount();
  const unsigned long hz = FrequencyHz();
  if (hz == 0) return 0;  // a stopped clock stays at the first step
  const double rest_ns = static_cast<double>(ticks % hz) / static_cast<double>(hz) * 1e9;
  return (ticks / hz * kNsPerSecond + static_cast<unsigned long>(rest_ns)) / interval_ns_;
}

unsigned long DataGenerator::TickCount() const { return mcu().clock().TickCount(); }

unsigned long DataGenerator::FrequencyHz() const { return mcu().clock().GetFrequency(); }

Mcu& DataGenerator::mcu() const {
  if (mcu_ == nullptr) throw OrvoError("Data generator " + kind_ + " has no clock to read");
  return *mcu_;
}

JsonPlace DataGenerator::Required(const JsonPlace& config, const std::string& key,
                                  const std::string& missing, const std::string& advice) const {
  const bool may_have_keys = config.value().is_object() || config.value().is_null();
  if (may_have_keys && !config.Has(key)) return config.Missing(key, missing + kind_ + advice);
  return config[key];
}

template <class T>
T DataGenerator::Truncate(double value) const {
  // Both bounds are exact in a double; a NaN fails the comparison.
  if (!(value > -0x1p63 && value < 0x1p63)) {
    throw UserError("Data generator " + kind_ + ": " + std::to_string(value) +
                    " can't be read as an integer");
  }
  return static_cast<T>(static_cast<long>(value));
}

template int DataGenerator::Truncate(double) const;
template short DataGenerator::Truncate(double) const;
template unsigned char DataGenerator::Truncate(double) const;

bool ParseDouble(const std::string& text, double* value) {
  char* end = nullptr;
  *value = std::strtod(text.c_str(), &end);
  if (end == text.c_str()) return false;
  return text.find_first_not_of(" \t\r\n", end - text.c_str()) == std::string::npos;
}

}  // namespace orvo
