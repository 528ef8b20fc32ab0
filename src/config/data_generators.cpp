// The kinds of data generator: constant, random, increment, values and sine.
#include "config/data_generators.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>

#include "runner/errors.h"

namespace orvo {

namespace {

constexpr char kMissingMin[] = "Missing min value in data generator ";
constexpr char kMissingMax[] = "Missing max value in data generator ";

// What the C library's rand() gives that nobody has seeded. Apart from it, since a chip's random
// number generator may seed that from the host's time.
int UnseededRand() {
  struct Generator {
    Generator() { initstate_r(1, table, sizeof(table), &data); }
    char table[128]{};
    random_data data{};
  };
  static Generator generator;
  int value = 0;
  random_r(&generator.data, &value);
  return value;
}

}  // namespace

// ---- Constant ----

ConstantDataGenerator::ConstantDataGenerator(const JsonPlace& config, std::string kind)
    : DataGenerator(config, std::move(kind)),
      text_(Required(config, "value", "Missing 'value' key in constant data generator ").Text()) {}

int ConstantDataGenerator::DoGetNextInt32(unsigned long step) {
  return Truncate<int>(DoGetNextDouble(step));
}

double ConstantDataGenerator::DoGetNextDouble(unsigned long) {
  double value = 0;
  if (!ParseDouble(text_, &value)) {
    throw UserError("ConstantDataGenerator - got invalid argument");
  }
  return value;
}

short ConstantDataGenerator::DoGetNextInt16(unsigned long step) {
  return Truncate<short>(DoGetNextDouble(step));
}

unsigned char ConstantDataGenerator::DoGetNextUInt8(unsigned long step) {
  return Truncate<unsigned char>(DoGetNextDouble(step));
}

std::string ConstantDataGenerator::DoGetNextString(unsigned long) { return text_; }

// ---- Random ----

RandomDataGenerator::RandomDataGenerator(const JsonPlace& config, std::string name)
    : DataGenerator(config, std::move(name)),
      min_(Required(config, "min", "Missing min value in random generator ").Int32()) {
  const long max = Required(config, "max", "Missing max value in random generator ").Int32();
  const long range = max - min_;
  if (config.HasProblems()) return;
  if (range < 1 || range > std::numeric_limits<int>::max()) {
    config["max"].ReportExpected("a value above min by 1 to 2147483647");
  }
  range_ = static_cast<int>(range);
}

bool RandomDataGenerator::Holds(unsigned long step) {
  if (has_timing() && step == last_step_) return true;
  last_step_ = step;
  return false;
}

int RandomDataGenerator::DoGetNextInt32(unsigned long step) {
  if (!Holds(step)) last_int_ = UnseededRand() % range_ + min_;
  return last_int_;
}

double RandomDataGenerator::DoGetNextDouble(unsigned long step) {
  if (!Holds(step)) {
    // Deliberate: the divisor is an integer, so that the largest value lies a little above max.
    last_double_ = UnseededRand() / static_cast<double>(0x7FFFFFFF / range_) + min_;
  }
  return last_double_;
}

// ---- Increment ----

IncrementDataGenerator::IncrementDataGenerator(const JsonPlace& config, std::string kind)
    : DataGenerator(config, std::move(kind)),
      min_(Required(config, "min", kMissingMin).Number()),
      step_(Required(config, "step", "Missing step value in data generator ",
                     ".Please check your scenario.json file")
                .Number()) {
  const double max = Required(config, "max", kMissingMax).Number();
  if (config.HasProblems()) return;
  const double count = (max - min_) / step_ + 1;
  // A step of 0 gives an infinite count or none at all.
  if (!(count >= 1 && count < 0x1p63)) {
    config["step"].ReportExpected("a step that leads from min to max");
    return;
  }
  count_ = static_cast<unsigned long>(count);
}

double IncrementDataGenerator::DoGetNextDouble(unsigned long step) {
  return static_cast<double>(step % count_) * step_ + min_;
}

int IncrementDataGenerator::DoGetNextInt32(unsigned long step) {
  return Truncate<int>(std::round(DoGetNextDouble(step)));
}

// ---- Values ----

ValuesDataGenerator::ValuesDataGenerator(const JsonPlace& config, std::string kind)
    : DataGenerator(config, std::move(kind)) {
  const JsonPlace values =
      Required(config, "validValues", "Missing validValues value in values generator ");
  values.Array();
  if (values.value().is_object()) return;  // reported
  for (const JsonPlace& value : values.Elements()) values_.push_back(value.Number());
  if (values_.empty() && !values.HasProblems()) {
    values.ReportExpected("an array of at least one number");
  }
}

double ValuesDataGenerator::DoGetNextDouble(unsigned long step) {
  return values_[step % values_.size()];
}

int ValuesDataGenerator::DoGetNextInt32(unsigned long step) {
  return Truncate<int>(DoGetNextDouble(step));
}

short ValuesDataGenerator::DoGetNextInt16(unsigned long step) {
  return Truncate<short>(DoGetNextDouble(step));
}

unsigned char ValuesDataGenerator::DoGetNextUInt8(unsigned long step) {
  return Truncate<unsigned char>(DoGetNextDouble(step));
}

// ---- Sine ----

SinDataGenerator::SinDataGenerator(const JsonPlace& config, std::string kind)
    : DataGenerator(config, std::move(kind)) {
  const double min = Required(config, "min", "Missing min value in sine generator.").Number();
  const double max = Required(config, "max", "Missing max value in sine generator ").Number();
  const double hz =
      Required(config, "sinFrequency", "Missing sinFrequency value in sine generator ").Number();
  amplitude_ = (max - min) * 0.5;
  offset_ = (max + min) * 0.5;
  omega_ = hz * 6.283185307179586;
}

double SinDataGenerator::DoGetNextDouble(unsigned long) {
  const auto ticks = static_cast<double>(TickCount());
  const auto clock_hz = static_cast<double>(FrequencyHz());
  return std::sin(ticks * omega_ / clock_hz) * amplitude_ + offset_;
}

}  // namespace orvo
