// The kinds of data generator that a scenario can name, apart from recorded files.
#pragma once

#include <string>
#include <vector>

#include "config/data_generator.h"

namespace orvo {

// "CONSTANT": one value, kept as text.
class ConstantDataGenerator : public DataGenerator {
 public:
  ConstantDataGenerator(const JsonPlace& config, std::string kind);

 protected:
  int DoGetNextInt32(unsigned long step) override;
  double DoGetNextDouble(unsigned long step) override;
  short DoGetNextInt16(unsigned long step) override;
  unsigned char DoGetNextUInt8(unsigned long step) override;
  std::string DoGetNextString(unsigned long step) override;

 private:
  std::string text_;
};

// "RANDOM": integers from min to max - 1, doubles from min to about max. The C library's
// generator, never seeded, so that runs repeat. All generators of the process take from it in turn.
class RandomDataGenerator : public DataGenerator {
 public:
  // Throws UserError unless max is above min by at most 2147483647.
  RandomDataGenerator(const JsonPlace& config, std::string kind);

 protected:
  int DoGetNextInt32(unsigned long step) override;
  double DoGetNextDouble(unsigned long step) override;

 private:
  // Whether the last results still hold. Deliberate: one step count serves integers and doubles,
  // so that the first double of a step whose integer was read repeats the double before.
  bool Holds(unsigned long step);

  int min_;
  int range_ = 1;
  unsigned long last_step_ = ~0ul;
  int last_int_ = 0;
  double last_double_ = 0;
};

// "INCREMENT": a sawtooth from min in steps of step, up to max if the step divides the range.
class IncrementDataGenerator : public DataGenerator {
 public:
  // Throws UserError if no number of steps leads from min to max.
  IncrementDataGenerator(const JsonPlace& config, std::string kind);

 protected:
  int DoGetNextInt32(unsigned long step) override;
  double DoGetNextDouble(unsigned long step) override;

 private:
  double min_;
  double step_;
  unsigned long count_ = 1;
};

// "VALUES": the listed values in turn.
class ValuesDataGenerator : public DataGenerator {
 public:
  // Throws UserError for an empty list.
  ValuesDataGenerator(const JsonPlace& config, std::string kind);

 protected:
  int DoGetNextInt32(unsigned long step) override;
  double DoGetNextDouble(unsigned long step) override;
  short DoGetNextInt16(unsigned long step) override;
  unsigned char DoGetNextUInt8(unsigned long step) override;

 private:
  std::vector<double> values_;
};

// "SIN": a sine over virtual time, between min and max. Timing has no effect on it.
class SinDataGenerator : public DataGenerator {
 public:
  SinDataGenerator(const JsonPlace& config, std::string kind);

 protected:
  double DoGetNextDouble(unsigned long step) override;

 private:
  double amplitude_;
  double offset_;
  double omega_;  // radians per second
};

}  // namespace orvo
